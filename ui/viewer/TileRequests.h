// Which pictures a view wants, worked out anew from what it shows: a list that is made like this holds no stale work.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "ui/viewer/PageLayout.h"

namespace Lx {

struct TileView {
    const PageLayout& layout;
    Area seen;                                   // of the content
    int direction = 1;                           // of the last scroll: 1 to the end
    std::function<bool(int32_t page)> isSliced;  // too large to be drawn whole
    size_t budget = 0;                           // bytes of the whole plan; what is seen is in it whatever it takes
};

struct WantedTiles {
    std::vector<Pdf::TileSpec> tiles;  // the most urgent first
    size_t visible = 0;                // so many of them, the first, are seen
};

// A page is sliced from so many device pixels on, and whole again from fewer.
constexpr int64_t kWholePixels = 8'000'000, kWholeAgain = 6'000'000;
constexpr int32_t kLongestSide = 16'000;  // of a page that is drawn whole
constexpr int32_t kSliceWidth = 1024, kSliceHeight = 512;
constexpr int32_t kPagesAhead = 2;

[[nodiscard]] WantedTiles PlanTiles(const TileView& view);

// The tiles of a page that lie in the part of the content.
[[nodiscard]] std::vector<Pdf::TileSpec> TilesOf(const PageLayout& layout, int32_t page, const Area& seen, bool sliced);
// In the content.
[[nodiscard]] Area AreaOf(const PageLayout& layout, const Pdf::TileSpec& tile);

}  // namespace Lx
