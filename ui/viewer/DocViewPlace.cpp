// What is seen of the document: scrolling, zoom, places.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>
#include <utility>

#include "ui/LxWindow.h"
#include "ui/viewer/DocViewInside.h"

namespace Lx {

namespace {

constexpr double kLadder[] = {0.1, 0.15, 0.25, 0.33, 0.5, 0.67, 0.75, 0.9, 1, 1.1, 1.25,
                              1.5, 1.75, 2,    2.5,  3,   3.5,  4,    5,   6, 8};
constexpr double kSameZoom = 1e-3;
constexpr double kPageTurn = 40;   // client pixels past the end of a single page
constexpr size_t kPlaces = 100;    // that GoBack remembers
constexpr int64_t kRevealed = 24;  // client pixels around what is brought into sight
constexpr int64_t kFar = 1 << 20;

int64_t Floor(double value) {
    return static_cast<int64_t>(std::floor(value));
}

// The whole device pixels that lie within some client pixels.
std::pair<int64_t, int64_t> Across(int32_t from, int32_t length, double scale) {
    return {static_cast<int64_t>(std::ceil(from * scale)), Floor((double{1} * from + length) * scale)};
}

}  // namespace

std::pair<int64_t, int64_t> CDocView::Inside::InContent(const Point& pt) const {
    return {Floor((pt.x + 0.5) * setup.scale) - left + scrollX, Floor((pt.y + 0.5) * setup.scale) - top + scrollY};
}

Rect CDocView::Inside::OnDevice(const Area& area) const {
    const Area near{scrollX - kFar, scrollY - kFar, width + 2 * kFar, height + 2 * kFar};
    const Area cut = Cut(area, near);
    return {static_cast<int32_t>(cut.x - scrollX + left), static_cast<int32_t>(cut.y - scrollY + top),
            static_cast<int32_t>(cut.w), static_cast<int32_t>(cut.h)};
}

Rect CDocView::Inside::OnClient(const Area& area) const {
    const Area seen = Cut(area, Seen());
    if (seen.Empty()) return {};
    const Rect device = OnDevice(seen);
    const auto x = static_cast<int32_t>(Floor(device.x / setup.scale));
    const auto y = static_cast<int32_t>(Floor(device.y / setup.scale));
    const auto right = static_cast<int32_t>(std::ceil((device.x + device.w) / setup.scale));
    const auto bottom = static_cast<int32_t>(std::ceil((device.y + device.h) / setup.scale));
    return {x, y, right - x, bottom - y};
}

void CDocView::Inside::Sync() {
    const CWindow* const window = WindowOf(&view);
    Sync(window ? static_cast<double>(window->GetScale()) : 1.0);
}

void CDocView::Inside::Sync(double scale) {
    if (arranged && view.rect == laidOut && scale == setup.scale) return;
    if (unplaced && HasRoom()) return SetPlace(*std::exchange(unplaced, std::nullopt));
    const bool resized = arranged && Has();
    PageLayout::Anchor anchor = resized ? TopAnchor() : PageLayout::Anchor{};
    const double grown = scale / setup.scale;
    anchor.dx = std::llround(static_cast<double>(anchor.dx) * grown);
    anchor.dy = std::llround(static_cast<double>(anchor.dy) * grown);
    setup.scale = scale;
    laidOut = view.rect;
    Arrange();
    if (resized) {
        if (setup.fit != ViewPlace::Fit::Free || grown != 1) ZoomStepMade();
        Keep(anchor, 0, 0);
        Moved();
        if (setup.fit != ViewPlace::Fit::Free) Tell(view.onZoomChanged);
    }
}

void CDocView::Inside::Arrange() {
    const int64_t bar = std::llround(ViewBar::kWidth * setup.scale);
    int64_t right = 0, bottom = 0;
    std::tie(left, right) = Across(laidOut.x, laidOut.w, setup.scale);
    std::tie(top, bottom) = Across(laidOut.y, laidOut.h, setup.scale);
    width = setup.width = std::max<int64_t>(1, right - left - bar);
    height = setup.height = std::max<int64_t>(1, bottom - top);
    layout.Arrange(setup);
    wide = layout.Width() > width && height > bar;
    if (wide) {
        height -= bar;
        layout.SetViewHeight(height);
    }
    arranged = true;
    Clamp();
}

PageLayout::Anchor CDocView::Inside::TopAnchor() const {
    return layout.AnchorAt(scrollX, scrollY);
}

void CDocView::Inside::Keep(const PageLayout::Anchor& anchor, int64_t viewX, int64_t viewY) {
    const auto [x, y] = layout.PlaceOf(anchor);
    scrollX = x - viewX;
    scrollY = y - viewY;
    Clamp();
}

void CDocView::Inside::ArrangeKeepingTop() {
    const PageLayout::Anchor anchor = TopAnchor();
    Arrange();
    Keep(anchor, 0, 0);
}

void CDocView::Inside::Clamp() {
    scrollX = std::clamp<int64_t>(scrollX, 0, std::max<int64_t>(0, layout.Width() - width));
    scrollY = std::clamp<int64_t>(scrollY, 0, std::max<int64_t>(0, layout.Height() - height));
}

void CDocView::Inside::ScrollTo(int64_t x, int64_t y) {
    const std::pair before(scrollX, scrollY);
    scrollX = x;
    scrollY = y;
    Clamp();
    if (before == std::pair(scrollX, scrollY)) return;
    if (scrollY != before.second) direction = scrollY > before.second ? 1 : -1;
    chosen = -1;
    Moved();
}

void CDocView::Inside::ScrollBy(double dx, double dy) {
    if (!Has() || TurnPageBy(dy)) return;
    restX += dx * setup.scale;
    restY += dy * setup.scale;
    const auto x = static_cast<int64_t>(restX), y = static_cast<int64_t>(restY);
    restX -= static_cast<double>(x);
    restY -= static_cast<double>(y);
    ScrollTo(scrollX + x, scrollY + y);
}

// Past the end of a single page lies the next one.
bool CDocView::Inside::TurnPageBy(double dy) {
    const bool atEnd = dy > 0 && scrollY >= layout.Height() - height;
    const bool atStart = dy < 0 && scrollY == 0;
    if (!setup.single || (!atEnd && !atStart)) {
        beyond = 0;
        return false;
    }
    beyond += dy;
    const int32_t page = setup.page + (dy > 0 ? 1 : -1);
    if (std::abs(beyond) < kPageTurn || page < 0 || page >= layout.Count()) return true;
    beyond = 0;
    direction = dy > 0 ? 1 : -1;
    ShowSingle(page, dy < 0);
    return true;
}

void CDocView::Inside::Moved() {
    Repaint();
    Pump();
    CheckPage();
}

void CDocView::Inside::CheckPage() {
    const int32_t page = Current();
    if (!Has() || page == reported) return;
    reported = page;
    Tell(view.onPageChanged, int{page}, view.GetPageCount());
}

int32_t CDocView::Inside::Current() const {
    if (!Has()) return 0;
    if (setup.single) return setup.page;
    if (chosen >= 0) return chosen;
    const auto [first, last] = layout.PagesBetween(scrollY, scrollY + height);
    int32_t best = layout.PageAt(scrollY);
    int64_t most = 0;
    for (int32_t page = first; page <= last; ++page) {
        const int64_t seen = Cut(layout.PageArea(page), {0, scrollY, layout.Width(), height}).h;
        if (seen <= most) continue;
        most = seen;
        best = page;
    }
    return best;
}

void CDocView::Inside::ShowTop(int32_t page) {
    if (setup.single) return ShowSingle(page, false);
    direction = page < Current() ? -1 : 1;
    scrollY = layout.PageArea(page).y - std::llround(PageLayout::kMargin * setup.scale);
    Clamp();
    chosen = page;
    Moved();
}

void CDocView::Inside::ShowSingle(int32_t page, bool atEnd) {
    direction = page < setup.page ? -1 : 1;
    setup.page = page;
    Arrange();
    scrollY = atEnd ? layout.Height() - height : 0;
    Clamp();
    Moved();
}

void CDocView::Inside::ZoomTo(double zoom, int64_t viewX, int64_t viewY) {
    if (!Has()) return;
    const PageLayout::Anchor anchor = layout.AnchorAt(scrollX + viewX, scrollY + viewY);
    setup.zoom = std::clamp(zoom, kMinZoom, kMaxZoom);
    setup.fit = ViewPlace::Fit::Free;
    ZoomStepMade();
    Arrange();
    Keep(anchor, viewX, viewY);
    chosen = -1;
    Moved();
    Tell(view.onZoomChanged);
}

ViewPlace CDocView::Inside::Place() const {
    if (unplaced) return *unplaced;
    ViewPlace place;
    place.fit = setup.fit;
    place.zoom = layout.ZoomOf(Current());
    place.turn = setup.turn;
    place.single = setup.single;
    if (!Has()) return place;
    const PageLayout::Anchor anchor = TopAnchor();
    place.page = anchor.page;
    place.down = anchor.y;
    place.across = anchor.x;
    return place;
}

bool CDocView::Inside::HasRoom() const {
    return view.rect.w > 2 * PageLayout::kMargin + ViewBar::kWidth && view.rect.h > 2 * PageLayout::kMargin;
}

void CDocView::Inside::SetPlace(const ViewPlace& place) {
    setup.fit = place.fit;
    setup.zoom = std::clamp(place.zoom, kMinZoom, kMaxZoom);
    setup.turn = ((place.turn % 4) + 4) % 4;
    setup.single = place.single;
    setup.page = std::clamp(place.page, 0, std::max(0, layout.Count() - 1));
    const CWindow* const window = WindowOf(&view);
    setup.scale = window ? static_cast<double>(window->GetScale()) : 1.0;
    laidOut = view.rect;
    Arrange();
    // Places are parts of a page's size: without a size of the view they can wait.
    if (!HasRoom()) {
        unplaced = place;
        return;
    }
    unplaced.reset();
    PageLayout::Anchor anchor{setup.page, std::clamp(place.across, 0.0, 1.0), std::clamp(place.down, 0.0, 1.0), 0, 0};
    const int64_t margin = std::llround(PageLayout::kMargin * setup.scale);
    if (anchor.y <= 0) anchor.dy = -margin;
    if (anchor.x <= 0) anchor.dx = -margin;
    Keep(anchor, 0, 0);
    chosen = place.down <= 0 ? setup.page : -1;
    Moved();
}

void CDocView::Inside::Reveal(int32_t page, const Pdf::Box& box, bool middle) {
    if (!Has() || page < 0 || page >= layout.Count()) return;
    if (setup.single && page != setup.page) ShowSingle(page, false);
    const Area area = layout.BoxArea(page, box);
    const int64_t around = std::min<int64_t>(std::llround(static_cast<double>(kRevealed) * setup.scale), height / 4);
    const auto bring = [&](int64_t scroll, int64_t from, int64_t to, int64_t size) {
        if (from >= scroll && to <= scroll + size) return scroll;
        if (middle) return from - size / 3;
        return to > scroll + size && to - from + 2 * around < size ? to + around - size : from - around;
    };
    ScrollTo(bring(scrollX, area.x, area.Right(), width), bring(scrollY, area.y, area.Bottom(), height));
}

void CDocView::Inside::Travel(std::vector<ViewPlace>& from, std::vector<ViewPlace>& to) {
    const ViewPlace place = from.back();
    from.pop_back();
    to.push_back(Place());
    SetPlace(place);
}

int32_t CDocView::FirstWidth(const Rect& rect, double scale) {
    const auto [from, to] = Across(rect.x, rect.w, scale);
    const int64_t rest = to - from - std::llround(ViewBar::kWidth * scale);
    return static_cast<int32_t>(std::max<int64_t>(1, rest - 2 * std::llround(PageLayout::kMargin * scale)));
}

int CDocView::GetCurrentPage() const {
    return in_->Current();
}

bool CDocView::SetCurrentPage(int page) {
    if (!HasDocument() || page < 0 || page >= GetPageCount()) return false;
    in_->Sync();
    in_->ShowTop(page);
    return true;
}

void CDocView::GoTo(const Pdf::Target& target) {
    if (!HasDocument() || target.kind != Pdf::Target::Kind::Page) return;
    if (target.page < 0 || target.page >= GetPageCount()) return;
    in_->Sync();
    in_->forward.clear();
    in_->back.push_back(in_->Place());
    if (in_->back.size() > kPlaces) in_->back.erase(in_->back.begin());
    if (!(target.top > 0)) return in_->ShowTop(target.page);
    if (in_->setup.single) in_->ShowSingle(target.page, false);
    const Area place = in_->layout.BoxArea(target.page, {0, target.top, 1, target.top + 1});
    in_->ScrollTo(in_->scrollX, place.y - std::llround(PageLayout::kMargin * in_->setup.scale));
}

bool CDocView::GoBack() {
    if (!HasDocument() || in_->back.empty()) return false;
    in_->Travel(in_->back, in_->forward);
    return true;
}

bool CDocView::GoForward() {
    if (!HasDocument() || in_->forward.empty()) return false;
    in_->Travel(in_->forward, in_->back);
    return true;
}

ViewPlace CDocView::GetPlace() const {
    return in_->Place();
}

void CDocView::SetPlace(const ViewPlace& place) {
    in_->SetPlace(place);
    in_->Tell(onZoomChanged);
}

void CDocView::Reveal(int page, const Pdf::Box& box) {
    in_->Sync();
    in_->Reveal(page, box, false);
}

bool CDocView::IsInSight(int page, const Pdf::Box& box) const {
    const Area area = in_->layout.BoxArea(page, box);
    return !area.Empty() && Cut(area, in_->Seen()) == area;
}

Rect CDocView::RectOf(int page, const Pdf::Box& box) const {
    return in_->OnClient(in_->layout.BoxArea(page, box));
}

double CDocView::GetZoom() const {
    return in_->layout.ZoomOf(in_->Current());
}

void CDocView::SetZoom(double zoom) {
    in_->Sync();
    in_->ZoomTo(zoom, in_->width / 2, in_->height / 2);
}

void CDocView::ZoomBy(int steps, const Point* about) {
    if (!HasDocument()) return;
    in_->Sync();
    int64_t x = in_->width / 2, y = in_->height / 2;
    if (about) {
        const auto [contentX, contentY] = in_->InContent(*about);
        x = contentX - in_->scrollX;
        y = contentY - in_->scrollY;
    }
    double zoom = in_->layout.ZoomOf(in_->layout.PageAt(in_->scrollY + y));
    for (; steps > 0; --steps) {
        const auto up = std::upper_bound(std::begin(kLadder), std::end(kLadder), zoom * (1 + kSameZoom));
        zoom = up == std::end(kLadder) ? kMaxZoom : *up;
    }
    for (; steps < 0; ++steps) {
        const auto at = std::lower_bound(std::begin(kLadder), std::end(kLadder), zoom * (1 - kSameZoom));
        zoom = at == std::begin(kLadder) ? kMinZoom : *std::prev(at);
    }
    in_->ZoomTo(zoom, x, y);
}

void CDocView::SetFit(ViewPlace::Fit fit) {
    in_->Sync();
    if (fit == ViewPlace::Fit::Free) in_->setup.zoom = GetZoom();
    in_->setup.fit = fit;
    if (in_->Has()) {
        in_->ZoomStepMade();
        in_->ArrangeKeepingTop();
        in_->Moved();
    }
    in_->Tell(onZoomChanged);
}

ViewPlace::Fit CDocView::GetFit() const {
    return in_->setup.fit;
}

void CDocView::Turn(int quarters) {
    ViewPlace place = in_->Place();
    place.turn += quarters % 4;
    place.down = place.across = 0;
    place.page = in_->Current();
    SetPlace(place);
}

void CDocView::SetSingle(bool single) {
    if (single == in_->setup.single) return;
    ViewPlace place = in_->Place();
    if (place.page != in_->Current()) place.down = 0;
    place.page = in_->Current();
    place.single = single;
    SetPlace(place);
}

bool CDocView::IsSingle() const {
    return in_->setup.single;
}

}  // namespace Lx
