#include "ui/viewer/TileRequests.h"

#include <algorithm>
#include <cstdlib>

namespace Lx {

namespace {

int64_t Away(int64_t at, int64_t from, int64_t to) {
    return at < from ? from - at : at > to ? at - to : 0;
}

size_t BytesOf(const Pdf::TileSpec& tile) {
    return static_cast<size_t>(tile.area.w) * static_cast<size_t>(tile.area.h) * 4;
}

class Planner {
  public:
    explicit Planner(const TileView& view) : view_(view), layout_(view.layout) {}

    WantedTiles Plan() {
        const auto [first, last] = layout_.PagesBetween(view_.seen.y, view_.seen.Bottom());
        if (first > last) return {};
        for (int32_t page = first; page <= last; ++page) Add(page, view_.seen);
        NearestFirst();
        plan_.visible = plan_.tiles.size();
        // As much again beyond the edge of pages that are cut into slices, then the next pages, one behind at the end.
        Area beyond = view_.seen;
        beyond.y += view_.direction * beyond.h;
        for (int32_t page = first; page <= last; ++page)
            if (view_.isSliced(page)) AddAhead(page, beyond);
        const int32_t edge = view_.direction > 0 ? last : first;
        for (int32_t step = 1; step <= kPagesAhead; ++step) AddAhead(edge + view_.direction * step, beyond);
        AddAhead((view_.direction > 0 ? first : last) - view_.direction, beyond);
        return std::move(plan_);
    }

  private:
    // A page whose size is only guessed would be drawn for nothing.
    void Add(int32_t page, const Area& part) {
        if (!layout_.Knows(page)) return;
        for (const Pdf::TileSpec& tile : TilesOf(layout_, page, part, view_.isSliced(page)))
            plan_.tiles.push_back(tile);
    }

    void AddAhead(int32_t page, const Area& beyond) {
        if (page < 0 || page >= layout_.Count() || !layout_.Knows(page)) return;
        std::vector<Pdf::TileSpec> tiles;
        if (view_.isSliced(page)) {
            tiles = TilesOf(layout_, page, beyond, true);
        } else {
            const auto [width, height] = layout_.PixelsOf(page);
            tiles = {{page, width, layout_.Setup().turn, {0, 0, width, height}}};
        }
        for (const Pdf::TileSpec& tile : tiles) {
            if (std::find(plan_.tiles.begin(), plan_.tiles.end(), tile) != plan_.tiles.end()) continue;
            used_ += BytesOf(tile);
            if (used_ > view_.budget) return;
            plan_.tiles.push_back(tile);
        }
    }

    void NearestFirst() {
        const int64_t x = view_.seen.x + view_.seen.w / 2, y = view_.seen.y + view_.seen.h / 2;
        std::stable_sort(plan_.tiles.begin(), plan_.tiles.end(), [&](const auto& a, const auto& b) {
            const auto away = [&](const Pdf::TileSpec& tile) {
                const Area area = AreaOf(layout_, tile);
                return Away(x, area.x, area.Right()) + Away(y, area.y, area.Bottom());
            };
            return away(a) < away(b);
        });
        for (const Pdf::TileSpec& tile : plan_.tiles) used_ += BytesOf(tile);
    }

    const TileView& view_;
    const PageLayout& layout_;
    WantedTiles plan_;
    size_t used_ = 0;
};

}  // namespace

Area AreaOf(const PageLayout& layout, const Pdf::TileSpec& tile) {
    const Area page = layout.PageArea(tile.page);
    return {page.x + tile.area.x, page.y + tile.area.y, tile.area.w, tile.area.h};
}

std::vector<Pdf::TileSpec> TilesOf(const PageLayout& layout, int32_t page, const Area& seen, bool sliced) {
    const Area area = layout.PageArea(page);
    const Area inside = Cut(area, seen);
    if (inside.Empty()) return {};
    const auto width = static_cast<int32_t>(area.w), height = static_cast<int32_t>(area.h);
    const int32_t turn = layout.Setup().turn;
    if (!sliced) return {{page, width, turn, {0, 0, width, height}}};
    std::vector<Pdf::TileSpec> tiles;
    const Area part{inside.x - area.x, inside.y - area.y, inside.w, inside.h};
    for (int64_t y = part.y / kSliceHeight * kSliceHeight; y < part.Bottom(); y += kSliceHeight) {
        for (int64_t x = part.x / kSliceWidth * kSliceWidth; x < part.Right(); x += kSliceWidth) {
            const auto left = static_cast<int32_t>(x), top = static_cast<int32_t>(y);
            const Rect slice{left, top, std::min(kSliceWidth, width - left), std::min(kSliceHeight, height - top)};
            tiles.push_back({page, width, turn, slice});
        }
    }
    return tiles;
}

WantedTiles PlanTiles(const TileView& view) {
    return Planner(view).Plan();
}

}  // namespace Lx
