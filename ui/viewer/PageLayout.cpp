#include "ui/viewer/PageLayout.h"

#include <algorithm>
#include <cmath>

namespace Lx {

namespace {

constexpr Pdf::PageSize kGuess{595, 842};
constexpr float kSmallest = 1e-3F, kLargest = 1e7F;  // points; what goes beyond is no page
constexpr double kPixelsToPoint = 96.0 / 72;
constexpr double kMostPixels = 1e9;
constexpr double kRounding = 1e-3;  // of a pixel: what single precision makes of a whole one

Pdf::PageSize Sane(const Pdf::PageSize& size) {
    const auto within = [](float length) { return length > 0 ? std::clamp(length, kSmallest, kLargest) : kSmallest; };
    return {within(size.width), within(size.height)};
}

// From the page as it is to the page as it is turned, both of its size 1 by 1; and back with the quarters negated.
std::pair<double, double> Turned(double x, double y, int32_t turn) {
    switch (((turn % 4) + 4) % 4) {
        case 1:
            return {1 - y, x};
        case 2:
            return {1 - x, 1 - y};
        case 3:
            return {y, 1 - x};
        default:
            return {x, y};
    }
}

}  // namespace

Area Cut(const Area& a, const Area& b) {
    const int64_t x = std::max(a.x, b.x), y = std::max(a.y, b.y);
    const int64_t right = std::min(a.Right(), b.Right()), bottom = std::min(a.Bottom(), b.Bottom());
    return {x, y, std::max<int64_t>(0, right - x), std::max<int64_t>(0, bottom - y)};
}

void PageLayout::Reset(int32_t pages, const std::vector<Pdf::PageSize>& first) {
    const auto count = static_cast<size_t>(std::max(0, pages));
    sizes_.assign(count, first.empty() ? kGuess : Sane(first.back()));
    known_.assign(count, false);
    Learn(0, first);
    tops_.clear();
    widest_ = 0;
}

bool PageLayout::Learn(int32_t first, const std::vector<Pdf::PageSize>& sizes) {
    bool changed = false;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const size_t page = static_cast<size_t>(std::max(0, first)) + i;
        if (page >= sizes_.size()) break;
        const Pdf::PageSize size = Sane(sizes[i]);
        changed = changed || size != sizes_[page];
        sizes_[page] = size;
        known_[page] = true;
    }
    return changed;
}

std::pair<int32_t, int32_t> PageLayout::Measure(const Pdf::PageSize& size) const {
    const bool sideways = setup_.turn % 2 != 0;
    const double across = sideways ? size.height : size.width;
    const double along = sideways ? size.width : size.height;
    const double most = across * kPixelsToPoint * CDocView::kMaxZoom * setup_.scale;
    const auto margins = static_cast<double>(2 * Gap());
    double width = across * kPixelsToPoint * setup_.zoom * setup_.scale;
    if (setup_.fit != ViewPlace::Fit::Free)
        width = std::min(std::max(1.0, static_cast<double>(setup_.width) - margins), most);
    if (setup_.fit == ViewPlace::Fit::Page)
        width = std::min(width, std::floor((static_cast<double>(setup_.height) - margins) * across / along));
    const auto pixels = static_cast<int32_t>(std::clamp(std::round(width), 1.0, kMostPixels));
    return {pixels, Pdf::HeightOf(size, setup_.turn, pixels)};
}

void PageLayout::Arrange(const LayoutSetup& setup) {
    setup_ = setup;
    const int64_t gap = Gap();
    tops_.resize(sizes_.size() + 1);
    widest_ = 0;
    int64_t top = gap;
    std::pair<int32_t, int32_t> measured;
    for (size_t i = 0; i < sizes_.size(); ++i) {
        if (i == 0 || sizes_[i] != sizes_[i - 1]) measured = Measure(sizes_[i]);
        tops_[i] = top;
        top += measured.second + gap;
        widest_ = std::max<int64_t>(widest_, measured.first);
    }
    tops_[sizes_.size()] = top;
    if (setup_.single && Has(setup_.page)) widest_ = Measure(SizeOf(setup_.page)).first;
}

double PageLayout::ZoomOf(int32_t page) const {
    if (setup_.fit == ViewPlace::Fit::Free || !Has(page)) return setup_.zoom;
    const Pdf::PageSize size = SizeOf(page);
    const double across = setup_.turn % 2 != 0 ? size.height : size.width;
    return Measure(size).first / (across * kPixelsToPoint * setup_.scale);
}

int64_t PageLayout::Gap() const {
    return std::llround(kMargin * setup_.scale);
}

int64_t PageLayout::Width() const {
    return std::max(setup_.width, widest_ + 2 * Gap());
}

int64_t PageLayout::Height() const {
    if (Count() == 0 || tops_.empty()) return setup_.height;
    if (!setup_.single) return std::max(setup_.height, tops_.back());
    return std::max(setup_.height, PageArea(setup_.page).h + 2 * Gap());
}

// Little content stands in the middle.
int64_t PageLayout::Lead() const {
    return setup_.single ? 0 : std::max<int64_t>(0, (setup_.height - tops_.back()) / 2);
}

Area PageLayout::PageArea(int32_t page) const {
    if (!Has(page) || tops_.empty()) return {};
    const auto [w, h] = Measure(SizeOf(page));
    const int64_t x = (Width() - w) / 2;
    if (!setup_.single) return {x, tops_[static_cast<size_t>(page)] + Lead(), w, h};
    if (page != setup_.page) return {};
    return {x, std::max(Gap(), (setup_.height - h) / 2), w, h};
}

std::pair<int32_t, int32_t> PageLayout::PagesBetween(int64_t top, int64_t bottom) const {
    if (Count() == 0 || tops_.empty() || bottom <= top) return {0, -1};
    if (setup_.single) return {setup_.page, setup_.page};
    int32_t first = PageAt(top);
    int32_t last = PageAt(bottom - 1);
    if (PageArea(first).Bottom() <= top) ++first;
    if (PageArea(last).y >= bottom) --last;
    return {first, last};
}

int32_t PageLayout::PageAt(int64_t y) const {
    if (setup_.single || Count() == 0 || tops_.empty()) return setup_.single ? setup_.page : 0;
    // The first page whose end isn't above it.
    const int64_t wanted = y - Lead() + Gap();
    const auto it = std::upper_bound(tops_.begin() + 1, tops_.end(), wanted);
    return std::min(static_cast<int32_t>(it - tops_.begin()) - 1, Count() - 1);
}

PageLayout::Anchor PageLayout::AnchorAt(int64_t x, int64_t y) const {
    Anchor anchor;
    anchor.page = PageAt(y);
    const Area page = PageArea(anchor.page);
    if (page.Empty()) return anchor;
    const int64_t inX = std::clamp(x, page.x, page.Right()), inY = std::clamp(y, page.y, page.Bottom());
    anchor.x = static_cast<double>(inX - page.x) / static_cast<double>(page.w);
    anchor.y = static_cast<double>(inY - page.y) / static_cast<double>(page.h);
    anchor.dx = x - inX;
    anchor.dy = y - inY;
    return anchor;
}

std::pair<int64_t, int64_t> PageLayout::PlaceOf(const Anchor& anchor) const {
    const Area page = PageArea(anchor.page);
    return {page.x + std::llround(anchor.x * static_cast<double>(page.w)) + anchor.dx,
            page.y + std::llround(anchor.y * static_cast<double>(page.h)) + anchor.dy};
}

Area PageLayout::BoxArea(int32_t page, const Pdf::Box& box) const {
    const Area area = PageArea(page);
    if (area.Empty()) return {};
    const Pdf::PageSize size = SizeOf(page);
    const auto across = [](double of, double whole) { return std::clamp(of / whole, -1.0, 2.0); };
    const auto [ax, ay] = Turned(across(box.left, size.width), across(box.top, size.height), setup_.turn);
    const auto [bx, by] = Turned(across(box.right, size.width), across(box.bottom, size.height), setup_.turn);
    const auto w = static_cast<double>(area.w), h = static_cast<double>(area.h);
    const auto down = [](double at) { return static_cast<int64_t>(std::floor(at + kRounding)); };
    const auto up = [](double at) { return static_cast<int64_t>(std::ceil(at - kRounding)); };
    const int64_t left = down(std::min(ax, bx) * w), top = down(std::min(ay, by) * h);
    const int64_t right = up(std::max(ax, bx) * w), bottom = up(std::max(ay, by) * h);
    return {area.x + left, area.y + top, right - left, bottom - top};
}

std::pair<float, float> PageLayout::PointOn(int32_t page, int64_t x, int64_t y) const {
    const Area area = PageArea(page);
    if (area.Empty()) return {};
    const auto [px, py] = Turned(static_cast<double>(x - area.x) / static_cast<double>(area.w),
                                 static_cast<double>(y - area.y) / static_cast<double>(area.h), -setup_.turn);
    const Pdf::PageSize size = SizeOf(page);
    return {static_cast<float>(px * size.width), static_cast<float>(py * size.height)};
}

}  // namespace Lx
