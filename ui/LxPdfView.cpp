#include "ui/LxPdfView.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "ui/LxApp.h"
#include "ui/LxWindow.h"

namespace Lx {
namespace {

constexpr int kBarWidth = 12;
constexpr int kMinThumb = 24;
constexpr int kLine = 40;  // one arrow key, one notch of the wheel
constexpr int kMaxRasterWidth = 6000;

// A repaint waits this long for a page, so that most appear without anything in between; then it looks again later.
constexpr int kPatienceMs = 150;
constexpr unsigned kPollMs = 30;

}  // namespace

CPdfView::CPdfView() = default;

CPdfView::~CPdfView() {
    delete document;
}

bool CPdfView::LoadDocument(const std::string& file) {
    std::string error;
    Pdf::IDocument* const opened = Pdf::Open(file, error);
    delete std::exchange(document, opened);
    if (opened) {
        path = file;
        currentPage = 0;
        lastError.clear();
    } else {
        path.clear();
        lastError = error.empty() ? "No se pudo abrir el PDF." : error;
    }
    Reset();
    Invalidate(nullptr);
    FirePageChanged();
    return opened != nullptr;
}

void CPdfView::CloseDocument() {
    if (!document) return;
    delete std::exchange(document, nullptr);
    path.clear();
    lastError.clear();
    Reset();
    Invalidate(nullptr);
    FirePageChanged();
}

void CPdfView::Reset() {
    pageCount = document ? document->GetPageCount() : 0;
    if (currentPage >= pageCount) currentPage = 0;
    scrollY = 0;
    DropRaster();
}

void CPdfView::DropRaster() {
    if (!raster.pixels.empty()) retired_ = std::move(raster.pixels);
    raster = {};
    rasterPage = -1;
    rasterWidth = 0;
    failedPage_ = -1;
    pendingPage_ = -1;
}

bool CPdfView::SetCurrentPage(int page) {
    if (page < 0 || !document || page >= pageCount) return false;
    if (page != currentPage) GoToPage(page);
    return true;
}

void CPdfView::GoToPage(int page) {
    currentPage = page;
    Reset();
    Invalidate(nullptr);
    FirePageChanged();
}

std::string CPdfView::GetPageLabel(int page) const {
    return document && page >= 0 && page < pageCount ? std::to_string(page + 1) : std::string();
}

void CPdfView::FirePageChanged() {
    if (onPageChanged) onPageChanged(document ? currentPage : -1, pageCount);
}

bool CPdfView::SaveCurrentPageJpg(const std::string& file, unsigned quality, std::string& error, int width) {
    error.clear();
    if (!document)
        error = "No hay documento cargado.";
    else if (currentPage < 0 || currentPage >= pageCount)
        error = "Pagina fuera de rango.";
    else if (file.empty())
        error = "Ruta de destino vacia.";
    if (!document || !error.empty()) return false;
    const int pixels = width < 1 ? 1600 : std::clamp(width, 16, kMaxRasterWidth);
    const int percent = quality >= 1 && quality <= 100 ? static_cast<int>(quality) : 90;
    return document->SavePageJpg(currentPage, pixels, percent, file, error);
}

// Geometry

Rect CPdfView::ViewportRect() const {
    const int height = rect.h - 2 * margin;
    return {rect.x + margin, rect.y + margin, std::max(rect.w - 2 * margin, kBarWidth + 1) - kBarWidth,
            height < 2 ? 1 : height};
}

int CPdfView::DesiredRasterWidth() const {
    const CWindow* const window = WindowOf(this);
    const double scale = window ? static_cast<double>(window->GetScale()) : 1.0;
    const double width = (rect.w - 2 * margin) * scale;
    if (!(width < kMaxRasterWidth + 12)) return kMaxRasterWidth;
    return std::max((std::max(static_cast<int>(std::lround(width)), 76) - 4) / 16 * 16, 64);
}

int CPdfView::DisplayedHeight() const {
    if (raster.width < 1 || raster.height < 1) return 0;
    const double height = std::round(static_cast<double>(raster.height) * ViewportRect().w / raster.width);
    return static_cast<int>(std::clamp(height, 1.0, static_cast<double>(INT_MAX / 2)));
}

int64_t CPdfView::Excess() const {
    return int64_t{DisplayedHeight()} - ViewportRect().h;
}

int CPdfView::MaxScrollY() const {
    return static_cast<int>(std::max<int64_t>(0, Excess()));
}

Rect CPdfView::VTrackRect() const {
    const Rect view = ViewportRect();
    return {view.x + view.w, view.y, kBarWidth, view.h};
}

Rect CPdfView::VThumbRect() const {
    const Rect view = ViewportRect();
    const int64_t displayed = DisplayedHeight();
    if (!HasRaster() || Excess() < 1) return {};
    const int64_t share = std::min<int64_t>(view.h, int64_t{view.h} * view.h / displayed);
    const int64_t height = std::max<int64_t>(share, kMinThumb);
    const int64_t offset = scrollY * (view.h - height) / Excess();
    return {view.x + view.w + 1, static_cast<int>(view.y + offset), kBarWidth - 2, static_cast<int>(height)};
}

bool CPdfView::HasRaster() const {
    return raster.width > 0 && raster.height > 0 && !raster.pixels.empty();
}

bool CPdfView::IsScrollable() const {
    return HasRaster() && Excess() > 0;
}

// Scrolling

void CPdfView::ClampScroll() {
    scrollY = std::clamp(scrollY, 0, MaxScrollY());
}

void CPdfView::ScrollTo(int64_t y) {
    scrollY = static_cast<int>(std::clamp<int64_t>(y, 0, MaxScrollY()));
    Invalidate(nullptr);
}

void CPdfView::ScrollBy(int dy) {
    ScrollTo(int64_t{scrollY} + dy);
}

void CPdfView::ScrollToTop() {
    ScrollTo(0);
}

void CPdfView::ScrollToBottom() {
    ScrollTo(MaxScrollY());
}

// Painting

bool CPdfView::EnsureRaster(std::string& error) {
    error.clear();
    if (!document) {
        error = "No hay documento cargado.";
        return false;
    }
    const int width = DesiredRasterWidth();
    if (HasRaster() && rasterPage == currentPage && rasterWidth == width) return true;
    if (failedPage_ == currentPage && failedWidth_ == width) {
        error = failure_;
        return false;
    }
    Pdf::Raster fresh;
    bool done = document->RenderPage(currentPage, width, fresh, error);
    if (done && fresh.pixels.empty()) {
        error = "El motor devolvio una hoja vacia.";
        done = false;
    }
    pendingPage_ = -1;
    if (!done) {
        failedPage_ = currentPage;
        failedWidth_ = width;
        failure_ = error;
        return false;
    }
    raster = std::move(fresh);
    retired_.clear();
    retired_.shrink_to_fit();
    rasterPage = currentPage;
    rasterWidth = width;
    return true;
}

CPdfView::Sheet CPdfView::PrepareSheet(std::string& error) {
    const int width = DesiredRasterWidth();
    const bool known = (HasRaster() && rasterPage == currentPage && rasterWidth == width) ||
                       (failedPage_ == currentPage && failedWidth_ == width);
    // Without a loop to come back from, the page is waited for.
    if (!known && LxApp::s_pApp && LxApp::s_pApp->backend) {
        const bool other = HasRaster() || pendingPage_ == currentPage;
        if (!document->WaitForPage(currentPage, width, other ? 0 : kPatienceMs)) {
            pendingPage_ = currentPage;
            PaintAgainSoon();
            return Sheet::Pending;
        }
    }
    return EnsureRaster(error) ? Sheet::Shown : Sheet::Failed;
}

void CPdfView::PaintAgainSoon() {
    if (std::exchange(repaintDue_, true)) return;
    LxApp::s_pApp->backend->CallLater(kPollMs, [this, token = std::weak_ptr<int>(alive_)] {
        if (token.expired()) return;
        repaintDue_ = false;
        Invalidate(&rect);
    });
}

void CPdfView::OnPaint(CCanvas* canvas) {
    canvas->FillRect(rect, background);
    if (!document) {
        PaintMessage(canvas, lastError.empty() ? "Sin documento PDF cargado." : lastError, ViewportRect(),
                     ColorRole::ViewMessage);
    } else {
        std::string error;
        const Sheet sheet = PrepareSheet(error);
        if (sheet == Sheet::Failed) lastError = error;
        ClampScroll();
        {
            const CCanvasState state(*canvas);
            PaintSheet(canvas, sheet);
        }
        DrawScrollbar(canvas);
        if (sheet == Sheet::Shown && currentPage + 1 < pageCount) document->RenderAhead(currentPage + 1, rasterWidth);
    }
    if (HasFocus()) canvas->DrawRect(rect, ThemeColor(ColorRole::Accent), 1.0F);
}

// As high as the page is, even where that is less than the viewport: it is never distorted.
void CPdfView::PaintSheet(CCanvas* canvas, Sheet sheet) {
    const Rect view = ViewportRect();
    const Rect paper{view.x, view.y - scrollY, view.w, HasRaster() ? DisplayedHeight() : view.h};
    const Rect message{paper.x, paper.y, paper.w, std::max(paper.h, 60)};
    canvas->ClipRect(view);
    canvas->FillRect({paper.x + 3, paper.y + 3, paper.w, paper.h}, ThemeColor(ColorRole::PaperShadow));
    canvas->FillRect(paper, ThemeColor(ColorRole::Paper));
    if (sheet == Sheet::Failed)
        PaintMessage(canvas, lastError, message, ColorRole::PaperMessage);
    else if (sheet == Sheet::Pending && !HasRaster())
        PaintMessage(canvas, "Dibujando la pagina...", message, ColorRole::PaperMessage);
    else if (!canvas->DrawImageRGBA(raster.pixels.data(), raster.width, raster.height, paper))
        PaintMessage(canvas, "El backend no soporta pintar rasteres (DrawImageRGBA).", message,
                     ColorRole::PaperMessage);
    canvas->DrawRect(paper, ThemeColor(ColorRole::PaperBorder), 1.0F);
}

void CPdfView::PaintMessage(CCanvas* canvas, const std::string& text, const Rect& area, ColorRole color) {
    if (text.empty()) return;
    const Size size = canvas->MeasureText(text, "system", 13, false, false);
    canvas->DrawText(text, {area.x + (area.w - size.cx) / 2, area.y + (area.h - size.cy) / 2}, ThemeColor(color),
                     "system", 13, false, false);
}

void CPdfView::DrawScrollbar(CCanvas* canvas) {
    if (Excess() < 1) return;
    canvas->FillRect(VTrackRect(), ThemeColor(ColorRole::Track));
    const Rect thumb = VThumbRect();
    if (thumb.w > 0 && thumb.h > 0)
        canvas->FillRoundRect(thumb, 5.0F, ThemeColor(draggingThumb ? ColorRole::ThumbDragged : ColorRole::Thumb));
}

// Input

void CPdfView::OnEvent(Event& ev) {
    switch (ev.type) {
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:  // the second of two fast clicks
            return OnPress(ev);
        case EventType::MouseMove:
            return OnDrag(ev);
        case EventType::MouseUp:
            if (!draggingThumb && !panning) return;
            draggingThumb = panning = false;
            Invalidate(nullptr);
            ev.handled = true;
            return;
        case EventType::MouseWheel:
            return OnWheel(ev);
        case EventType::KeyDown:
            return OnKey(ev);
        case EventType::SetFocus:
        case EventType::KillFocus:
            Invalidate(&rect);
            return;
        default:
            return;
    }
}

void CPdfView::OnPress(Event& ev) {
    if (ev.button != kLeftButton) return;
    ev.handled = true;
    if (!IsScrollable() || !VTrackRect().Contains(ev.pt)) {
        panning = true;
        lastPanY = ev.pt.y;
        return;
    }
    const Rect thumb = VThumbRect();
    if (thumb.Contains(ev.pt)) {
        draggingThumb = true;
        thumbGrab = ev.pt.y - thumb.y;
        Invalidate(nullptr);
        return;
    }
    // The side is judged against the middle of the viewport, not against the thumb.
    const Rect view = ViewportRect();
    const int step = static_cast<int>(int64_t{4} * view.h / 5);
    ScrollBy(ev.pt.y < view.y + view.h / 2 ? -step : step);
}

void CPdfView::OnDrag(Event& ev) {
    if (draggingThumb) {
        ev.handled = true;
        const Rect view = ViewportRect();
        const int room = view.h - VThumbRect().h;
        if (room < 1 || Excess() < 1) return;
        const double ratio = (static_cast<double>(ev.pt.y) - thumbGrab - view.y) / room;
        ScrollTo(static_cast<int64_t>(std::clamp(ratio, 0.0, 1.0) * static_cast<double>(Excess())));
    } else if (panning) {
        ev.handled = true;
        const int64_t dy = int64_t{lastPanY} - ev.pt.y;
        if (dy != 0) ScrollTo(scrollY + dy);
        lastPanY = ev.pt.y;
    }
}

void CPdfView::OnWheel(Event& ev) {
    ev.handled = true;
    const int delta = ev.wheelDelta;
    int steps = delta >= -100 && delta <= 100 ? delta : delta / 120;
    if (steps == 0) steps = delta < 1 ? -1 : 1;
    ScrollBy(-kLine * std::clamp(steps, -3, 3));
}

void CPdfView::OnKey(Event& ev) {
    ev.handled = true;
    switch (static_cast<KeyCode>(ev.key)) {
        case KeyCode::Up:
            return ScrollBy(-kLine);
        case KeyCode::Down:
            return ScrollBy(kLine);
        case KeyCode::Home:
            return TurnTo(0);
        case KeyCode::End:
            return TurnTo(pageCount - 1);
        case KeyCode::PageUp:
            return TurnTo(currentPage - 1);
        case KeyCode::PageDown:
            return TurnTo(currentPage + 1);
        default:
            ev.handled = false;
    }
}

void CPdfView::TurnTo(int page) {
    if (document && page != currentPage && page >= 0 && page < pageCount) GoToPage(page);
}

void CPdfView::OnThemeChanged() {
    background = InThemeNow(background, {ColorRole::View, ColorRole::AppView});
}

AccessibleInfo CPdfView::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::Document;
    if (document)
        info.name = "Página " + std::to_string(currentPage + 1) + " de " + std::to_string(pageCount);
    else
        info.name = lastError.empty() ? "Sin documento PDF cargado." : lastError;
    return info;
}

}  // namespace Lx
