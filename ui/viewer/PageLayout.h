// Where the pages lie: one below the other, or one alone. In device pixels of the content, whose top left corner is 0,
// 0 and which the view is scrolled over; a page of 20 metres at 800 % or 100,000 pages leave 32 bits behind.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "ui/LxPages.h"
#include "ui/viewer/LxDocView.h"

namespace Lx {

struct Area {
    int64_t x = 0, y = 0, w = 0, h = 0;

    [[nodiscard]] int64_t Right() const { return x + w; }
    [[nodiscard]] int64_t Bottom() const { return y + h; }
    [[nodiscard]] bool Empty() const { return w <= 0 || h <= 0; }
    bool operator==(const Area&) const = default;
};
// What both have in common; of no size when that is nothing.
[[nodiscard]] Area Cut(const Area& a, const Area& b);

struct LayoutSetup {
    int64_t width = 1, height = 1;  // of the view
    double scale = 1;               // device pixels in a client pixel
    double zoom = 1;
    ViewPlace::Fit fit = ViewPlace::Fit::Width;
    int32_t turn = 0;
    bool single = false;
    int32_t page = 0;  // the one that is shown when single

    bool operator==(const LayoutSetup&) const = default;
};

class PageLayout {
  public:
    static constexpr int kMargin = 14;  // client pixels around the pages, and between them

    // A point of a page, or one beside it, that stays where it is when the layout changes.
    struct Anchor {
        int32_t page = 0;
        double x = 0, y = 0;     // of the page's size, 0 to 1
        int64_t dx = 0, dy = 0;  // how far outside of it
    };

    // The sizes of the first pages; the others are guessed until they are learned.
    void Reset(int32_t pages, const std::vector<Pdf::PageSize>& first);
    // False when that changes nothing. Arrange has to follow.
    bool Learn(int32_t first, const std::vector<Pdf::PageSize>& sizes);
    void Arrange(const LayoutSetup& setup);
    // Without anything else changing: a bar takes its place from the view.
    void SetViewHeight(int64_t height) { setup_.height = height; }

    [[nodiscard]] int32_t Count() const { return static_cast<int32_t>(sizes_.size()); }
    [[nodiscard]] const LayoutSetup& Setup() const { return setup_; }
    [[nodiscard]] bool Knows(int32_t page) const { return known_[static_cast<size_t>(page)]; }
    [[nodiscard]] Pdf::PageSize SizeOf(int32_t page) const { return sizes_[static_cast<size_t>(page)]; }
    // What the page is shown at; 1: 96 client pixels to the inch.
    [[nodiscard]] double ZoomOf(int32_t page) const;

    // Of the content, the view's at least.
    [[nodiscard]] int64_t Width() const;
    [[nodiscard]] int64_t Height() const;
    // Empty for a page that isn't shown: all but one when single.
    [[nodiscard]] Area PageArea(int32_t page) const;
    // Of any page.
    [[nodiscard]] std::pair<int32_t, int32_t> PixelsOf(int32_t page) const { return Measure(SizeOf(page)); }
    // The first and the last page that lie between the two; the first is behind the last when none does.
    [[nodiscard]] std::pair<int32_t, int32_t> PagesBetween(int64_t top, int64_t bottom) const;
    // The gap above a page is the page's.
    [[nodiscard]] int32_t PageAt(int64_t y) const;

    [[nodiscard]] Anchor AnchorAt(int64_t x, int64_t y) const;
    [[nodiscard]] std::pair<int64_t, int64_t> PlaceOf(const Anchor& anchor) const;

    // The box in the content, in whole pixels around it.
    [[nodiscard]] Area BoxArea(int32_t page, const Pdf::Box& box) const;
    // In points of the page, as boxes are.
    [[nodiscard]] std::pair<float, float> PointOn(int32_t page, int64_t x, int64_t y) const;

  private:
    [[nodiscard]] std::pair<int32_t, int32_t> Measure(const Pdf::PageSize& size) const;
    [[nodiscard]] int64_t Gap() const;
    [[nodiscard]] int64_t Lead() const;
    [[nodiscard]] bool Has(int32_t page) const { return page >= 0 && page < Count(); }

    LayoutSetup setup_;
    std::vector<Pdf::PageSize> sizes_;
    std::vector<bool> known_;
    std::vector<int64_t> tops_;  // of each page, and where one more would begin
    int64_t widest_ = 0;
};

}  // namespace Lx
