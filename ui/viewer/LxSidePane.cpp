#include "ui/viewer/LxSidePane.h"

#include <algorithm>
#include <cstdlib>

#include "ui/viewer/SidePaneInside.h"

namespace Lx {

namespace {

constexpr int kTabHeight = 34;
constexpr int kOutlineRow = 26, kAttachmentRow = 42;
constexpr int kWidestThumbnail = 148;
constexpr double kFlattest = 0.6, kTallest = 1.42;  // of the box that every page is put into
constexpr int kLabel = 20, kThumbnailGap = 14;
constexpr int kNotch = 40;  // client pixels

}  // namespace

// Where

Rect CSidePane::Inside::TabRect(int index) const {
    const int from = pane.rect.w * index / kTabs, to = pane.rect.w * (index + 1) / kTabs;
    return {pane.rect.x + from, pane.rect.y, to - from, kTabHeight};
}

Rect CSidePane::Inside::Body() const {
    return {pane.rect.x, pane.rect.y + kTabHeight, pane.rect.w, std::max(0, pane.rect.h - kTabHeight)};
}

int CSidePane::Inside::Pitch() const {
    if (tab == Tab::Outline) return kOutlineRow;
    if (tab == Tab::Attachments) return kAttachmentRow;
    // As the first page is: most documents have one shape.
    const int width = std::clamp(Body().w - ViewBar::kWidth - 48, 40, kWidestThumbnail);
    const double shape = Rows() > 0 ? ShapeOf(0) : kTallest;
    return static_cast<int>(width * std::clamp(shape, kFlattest, kTallest)) + kLabel + kThumbnailGap;
}

double CSidePane::Inside::ShapeOf(int32_t row) const {
    const PageLayout& layout = Doc().layout;
    const Pdf::PageSize size = layout.SizeOf(row);
    const double ratio = static_cast<double>(size.height) / static_cast<double>(size.width);
    return layout.Setup().turn % 2 != 0 ? 1 / ratio : ratio;
}

Rect CSidePane::Inside::RowRect(int32_t row) const {
    const Rect body = Body();
    const int64_t y = body.y + int64_t{row} * Pitch() - Now().scroll;
    const int width = body.w - (bar.Needed() ? ViewBar::kWidth : 0);
    return {body.x, static_cast<int32_t>(std::clamp<int64_t>(y, -(1 << 28), 1 << 28)), width, Pitch()};
}

// The page's own shape, in the middle of the box.
Rect CSidePane::Inside::PictureBox(int32_t row) const {
    const Rect cell = RowRect(row);
    const int width = std::clamp(Body().w - ViewBar::kWidth - 48, 40, kWidestThumbnail);
    const int height = Pitch() - kLabel - kThumbnailGap;
    const double shape = ShapeOf(row);
    int w = width;
    int h = std::max(1, static_cast<int>(w * shape));
    if (h > height) {
        h = height;
        w = std::max(1, static_cast<int>(h / shape));
    }
    return {cell.x + (cell.w - w) / 2, cell.y + kThumbnailGap / 2 + (height - h), w, h};
}

int32_t CSidePane::Inside::RowAt(const Point& pt) const {
    const Rect body = Body();
    if (!body.Contains(pt)) return -1;
    const int64_t row = (int64_t{pt.y} - body.y + Now().scroll) / Pitch();
    return row < Rows() && RowRect(static_cast<int32_t>(row)).Contains(pt) ? static_cast<int32_t>(row) : -1;
}

std::pair<int32_t, int32_t> CSidePane::Inside::InSight() const {
    const int64_t first = Now().scroll / Pitch();
    const int64_t last = (Now().scroll + Body().h - 1) / Pitch();
    return {static_cast<int32_t>(first), static_cast<int32_t>(std::min<int64_t>(last, Rows() - 1))};
}

void CSidePane::Inside::Arrange() {
    const Rect body = Body();
    const int64_t content = int64_t{Rows()} * Pitch();
    bar.Arrange({body.x + body.w - ViewBar::kWidth, body.y, ViewBar::kWidth, body.h}, content, body.h, Now().scroll);
    Now().scroll = bar.Position();
}

void CSidePane::Inside::ScrollTo(int64_t position) {
    Now().scroll = position;
    Arrange();
    hovered = -1;
    Repaint();
}

void CSidePane::Inside::Reveal(int32_t row) {
    if (row < 0) return;
    Arrange();
    const int64_t top = int64_t{row} * Pitch(), bottom = top + Pitch();
    if (bottom > Now().scroll + Body().h) ScrollTo(bottom - Body().h);
    if (top < Now().scroll) ScrollTo(top);
}

// Input

void CSidePane::Inside::Choose(int32_t row, bool activate) {
    if (row < 0 || row >= Rows()) return;
    Now().chosen = row;
    atTabs = false;
    Reveal(row);
    Repaint();
    if (activate) Activate(row);
}

void CSidePane::Inside::OnMouse(Event& ev) {
    Arrange();
    if (bar.OnMouse(ev)) {
        ev.handled = true;
        return ScrollTo(bar.Position());
    }
    const int32_t row = RowAt(ev.pt);
    if (ev.type == EventType::MouseMove) {
        if (std::exchange(hovered, row) != row) Repaint();
        return;
    }
    const bool press = ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick;
    if (!press || ev.button != kLeftButton) return;
    ev.handled = true;
    for (int i = 0; i < kTabs; ++i)
        if (TabRect(i).Contains(ev.pt)) return pane.Show(static_cast<Tab>(i));
    if (row < 0) return;
    if (tab == Tab::Outline) {
        const Pdf::OutlineItem& item = outline[static_cast<size_t>(shown[static_cast<size_t>(row)])];
        const int arrow = RowRect(row).x + kPanePadding + kPaneIndent * std::clamp(item.depth, 0, kPaneLevels);
        if (HasChildren(shown[static_cast<size_t>(row)]) && ev.pt.x < arrow + kPaneArrow && ev.pt.x >= arrow - 4)
            return SetFolded(row, !folded[static_cast<size_t>(shown[static_cast<size_t>(row)])]);
    }
    Choose(row, true);
}

bool CSidePane::Inside::OnTreeKey(KeyCode key) {
    const int32_t row = Now().chosen;
    if (tab != Tab::Outline || row < 0 || row >= Rows()) return false;
    const int32_t item = shown[static_cast<size_t>(row)];
    const bool open = HasChildren(item) && !folded[static_cast<size_t>(item)];
    if (key == KeyCode::Right) {
        open ? Choose(row + 1, false) : SetFolded(row, false);
        return true;
    }
    if (open) {
        SetFolded(row, true);
        return true;
    }
    // To the one that it lies under.
    for (int32_t up = row; up-- > 0;) {
        if (outline[static_cast<size_t>(shown[static_cast<size_t>(up)])].depth >=
            outline[static_cast<size_t>(item)].depth)
            continue;
        Choose(up, false);
        break;
    }
    return true;
}

bool CSidePane::Inside::OnKey(KeyCode key, uint32_t modifiers) {
    if ((modifiers & (kOption | kCommand)) != 0) return false;
    const bool control = (modifiers & kControl) != 0;
    const bool turns = control ? key == KeyCode::PageUp || key == KeyCode::PageDown
                               : atTabs && (key == KeyCode::Left || key == KeyCode::Right);
    if (turns) {
        const int by = key == KeyCode::PageUp || key == KeyCode::Left ? kTabs - 1 : 1;
        const bool stays = atTabs;
        pane.Show(static_cast<Tab>((static_cast<int>(tab) + by) % kTabs));
        atTabs = stays;
        return true;
    }
    if (control) return false;
    const int32_t row = Now().chosen, many = std::max(1, Body().h / Pitch());
    const bool goes = tab == Tab::Thumbnails;
    switch (key) {
        case KeyCode::Up:
            if (row <= 0) {
                atTabs = true;
                Repaint();
            } else {
                Choose(row - 1, goes);
            }
            return true;
        case KeyCode::Down:
            Choose(atTabs ? std::max(0, row) : std::min(row + 1, Rows() - 1), goes && !atTabs);
            return true;
        case KeyCode::PageUp:
            Choose(std::max(0, row - many), goes);
            return true;
        case KeyCode::PageDown:
            Choose(std::min(Rows() - 1, row + many), goes);
            return true;
        case KeyCode::Home:
            Choose(0, goes);
            return true;
        case KeyCode::End:
            Choose(Rows() - 1, goes);
            return true;
        case KeyCode::Left:
        case KeyCode::Right:
            return OnTreeKey(key);
        case KeyCode::Enter:
            if (row < 0 || atTabs) return false;
            Activate(row);
            return true;
        default:
            return false;
    }
}

void CSidePane::OnEvent(Event& ev) {
    switch (ev.type) {
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:
        case EventType::MouseMove:
        case EventType::MouseUp:
            return in_->OnMouse(ev);
        case EventType::MouseWheel:
        case EventType::Scroll: {
            ev.handled = true;
            in_->Arrange();
            const double by = ev.type == EventType::Scroll ? static_cast<double>(ev.scrollY)
                                                           : kNotch * std::clamp(ev.wheelDelta, -3, 3);
            return in_->ScrollTo(in_->Now().scroll - static_cast<int64_t>(by));
        }
        case EventType::KeyDown:
            ev.handled = in_->OnKey(static_cast<KeyCode>(ev.key), ev.modifiers);
            return;
        case EventType::SetFocus:
        case EventType::KillFocus:
            in_->atTabs = false;
            return in_->Repaint();
        default:
            return;
    }
}

void CSidePane::OnPaint(CCanvas* canvas) {
    in_->Paint(*canvas, HasFocus());
}

AccessibleInfo CSidePane::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::List;
    info.name = "Panel lateral";
    info.description = in_->Message();
    constexpr const char* kNames[] = {"Miniaturas", "Índice", "Adjuntos"};
    for (int i = 0; i < Inside::kTabs; ++i)
        info.items.push_back({kNames[i], i == static_cast<int>(in_->tab), "Pestaña", in_->TabRect(i)});
    const auto [first, last] = in_->InSight();
    for (int32_t row = first; row <= last; ++row)
        info.items.push_back({in_->NameOf(row), row == in_->Now().chosen, {}, in_->RowRect(row)});
    return info;
}

bool CSidePane::DoAccessibleAction(AccessibleAction action, const std::string& /*text*/, int index) {
    const int32_t row = in_->InSight().first + index - Inside::kTabs;
    if (action != AccessibleAction::SelectItem || index < 0 || row >= in_->Rows()) return false;
    if (index < Inside::kTabs)
        Show(static_cast<Tab>(index));
    else
        in_->Choose(row, true);
    return true;
}

std::string CSidePane::ToolTip(const Point& pt) const {
    const int32_t row = in_->RowAt(pt);
    CCanvas* const canvas = MeasuringCanvas();
    if (row < 0 || !canvas || in_->tab == Tab::Thumbnails) return {};
    const bool isOutline = in_->tab == Tab::Outline;
    const auto at = static_cast<size_t>(row);
    const std::string& name =
        isOutline ? in_->outline[static_cast<size_t>(in_->shown[at])].title : in_->attachments[at].name;
    int room = in_->RowRect(row).w - 2 * kPanePadding;
    if (isOutline) {
        const int32_t depth = in_->outline[static_cast<size_t>(in_->shown[at])].depth;
        room -= kPaneArrow + kPaneIndent * std::clamp(depth, 0, kPaneLevels);
    }
    return Shortened(*canvas, name, room, kPaneFont) == name ? std::string() : name;
}

void CSidePane::Show(Tab tab) {
    in_->tab = tab;
    in_->hovered = -1;
    in_->atTabs = false;
    if (in_->epoch != in_->Doc().epoch) return in_->Renew();
    in_->Ask();
    if (tab == Tab::Thumbnails) in_->Reveal(in_->page);
    in_->Repaint();
}

CSidePane::Tab CSidePane::Shown() const {
    return in_->tab;
}

void CSidePane::Rebuild() {
    in_->Renew();
}

void CSidePane::Follow(int page) {
    in_->page = page;
    in_->lists[0].chosen = page;
    if (in_->tab == Tab::Thumbnails && page >= 0 && page < in_->Rows()) in_->Reveal(page);
    in_->Repaint();
}

CSidePane::CSidePane(CDocView* view) : in_(std::make_unique<Inside>(*this, *view)) {}
CSidePane::~CSidePane() = default;

}  // namespace Lx
