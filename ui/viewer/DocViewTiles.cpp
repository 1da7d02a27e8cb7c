// Asking for pictures of what is seen, and keeping them.
#include <algorithm>
#include <utility>

#include "ui/viewer/DocViewInside.h"

namespace Lx {

namespace {

constexpr size_t kUnderWay = 2;
constexpr unsigned kZoomRestMs = 90;
constexpr int32_t kSizesBlock = 256;
constexpr int32_t kSizesAhead = 1 << 14;  // of the first pages: who reads them keeps what it read
constexpr size_t kPlanned = TileCache::kLimit - TileCache::kSmallLimit;

}  // namespace

bool CDocView::Inside::IsSliced(int32_t page) const {
    const auto [w, h] = layout.PixelsOf(page);
    const int64_t pixels = int64_t{w} * h;
    if (pixels > kWholePixels || std::max(w, h) > kLongestSide)
        sliced.insert(page);
    else if (pixels <= kWholeAgain)
        sliced.erase(page);
    return sliced.contains(page);
}

WantedTiles CDocView::Inside::Plan() const {
    return PlanTiles({layout, Seen(), direction, [this](int32_t page) { return IsSliced(page); }, kPlanned});
}

bool CDocView::Inside::IsThere(const Pdf::TileSpec& tile) const {
    if (cache.Find(tile)) return true;
    const auto it = failed.find(tile.page);
    return it != failed.end() && it->second.first == tile.width;
}

void CDocView::Inside::Pump() {
    if (!Has() || unplaced) return;
    AskSizes();
    if (held) return;
    const WantedTiles plan = Plan();
    for (auto it = drawing.begin(); it != drawing.end();) {
        const bool wanted = std::find(plan.tiles.begin(), plan.tiles.end(), it->second) != plan.tiles.end();
        if (!wanted) pages->Cancel(it->first);
        it = wanted ? std::next(it) : drawing.erase(it);
    }
    // A page that failed is tried again when it comes back.
    std::erase_if(failed, [&](const auto& entry) {
        const auto isOf = [&](const Pdf::TileSpec& tile) { return tile.page == entry.first; };
        return std::none_of(plan.tiles.begin(), plan.tiles.end(), isOf);
    });
    bool seenAll = plan.visible > 0;
    for (size_t i = 0; i < plan.tiles.size(); ++i) {
        const Pdf::TileSpec& tile = plan.tiles[i];
        if (IsThere(tile)) continue;
        seenAll = seenAll && i >= plan.visible;
        if (drawing.size() >= kUnderWay) break;
        const auto asked = [&](const auto& entry) { return entry.second == tile; };
        if (std::none_of(drawing.begin(), drawing.end(), asked)) AskTile(tile);
    }
    if (!seenAll) return;
    AskTexts();
    if (drawing.empty()) AskSizesAhead();
}

void CDocView::Inside::AskTile(const Pdf::TileSpec& tile) {
    const auto number = std::make_shared<Pdf::IPages::Id>(0);
    *number = pages->Draw(tile, Answer([this, tile, number](Pdf::Outcome outcome, const Pdf::Picture& picture) {
                              drawing.erase(*number);
                              OnTile(tile, outcome, picture);
                          }));
    drawing[*number] = tile;
}

void CDocView::Inside::OnTile(const Pdf::TileSpec& tile, Pdf::Outcome outcome, const Pdf::Picture& picture) {
    const Area place = Cut(AreaOf(layout, tile), Seen());
    if (outcome == Pdf::Outcome::Good && picture) {
        const bool whole = std::pair(tile.area.w, tile.area.h) == layout.PixelsOf(tile.page);
        cache.Put(tile, picture, whole ? Tile::Kind::Whole : Tile::Kind::Slice);
        failed.erase(tile.page);
        TrimTo(TileCache::kLimit);
    } else {
        failed[tile.page] = {tile.width, outcome == Pdf::Outcome::Good ? Pdf::Outcome::NotDrawn : outcome};
    }
    const Rect changed = OnClient(place);
    if (changed.w > 0) view.Invalidate(&changed);
    Pump();
}

void CDocView::Inside::TrimTo(size_t limit) {
    WantedTiles plan = Plan();
    const auto [first, last] = layout.PagesBetween(scrollY, scrollY + height);
    cache.Trim(limit,
               {first, last, direction, std::move(plan.tiles), plan.visible,
                [this](int32_t page) { return page < layout.Count() ? layout.PixelsOf(page).first : 0; }, thumbnails});
}

// The sizes of the pages that are seen, and of those around them.
void CDocView::Inside::AskSizes() {
    if (askingSizes != 0) return;
    const auto near = layout.PagesBetween(scrollY - height, scrollY + 2 * height);
    for (const auto& [first, last] : {near, thumbnails}) AskSizesOf(std::max(0, first), last);
}

void CDocView::Inside::AskSizesOf(int32_t first, int32_t last) {
    for (int32_t page = first; askingSizes == 0 && page <= std::min(last, layout.Count() - 1); ++page) {
        if (layout.Knows(page)) continue;
        const int32_t block = page / kSizesBlock * kSizesBlock;
        const int32_t count = std::min(kSizesBlock, layout.Count() - block);
        askingSizes = pages->Sizes(block, count,
                                   Answer([this, block, count](Pdf::Outcome outcome, std::vector<Pdf::PageSize> sizes) {
                                       askingSizes = 0;
                                       const bool good = outcome == Pdf::Outcome::Good;
                                       if (!good) sizes.clear();
                                       // What isn't told stays as it was guessed: it isn't asked again and again.
                                       for (auto at = static_cast<int32_t>(sizes.size()); at < count; ++at)
                                           sizes.push_back(layout.SizeOf(block + at));
                                       sizes.resize(static_cast<size_t>(count));
                                       const PageLayout::Anchor anchor = TopAnchor();
                                       const int32_t shown = chosen;
                                       if (!layout.Learn(block, sizes)) return Pump();
                                       Arrange();
                                       Keep(anchor, 0, 0);
                                       chosen = shown;
                                       Moved();
                                   }));
        return;
    }
}

// While there is nothing to draw: who jumps to a page then waits for its picture only.
void CDocView::Inside::AskSizesAhead() {
    const int32_t end = std::min(layout.Count(), kSizesAhead);
    while (measured < end && layout.Knows(measured)) ++measured;
    if (measured < end && askingSizes == 0) AskSizesOf(measured, measured);
}

// The first step is drawn at once. While more of them follow what is there is scaled.
void CDocView::Inside::ZoomStepMade() {
    const unsigned step = ++zoomStep;
    const bool scheduled = Later(kZoomRestMs, [this, step] {
        if (step != zoomStep) return;
        zooming = held = false;
        Pump();
    });
    held = scheduled && zooming;
    zooming = scheduled;
}

void CDocView::Inside::CheckFirstPage() {
    if (!firstPageDue || !Has()) return;
    const WantedTiles plan = Plan();
    if (plan.visible == 0 || !IsThere(plan.tiles.front())) return;
    firstPageDue = false;
    Later(0, [this] { Tell(view.onFirstPage); });
}

void CDocView::Shrink() {
    if (!HasDocument()) return in_->cache.Clear();
    in_->TrimTo(0);
    in_->pages->Shrink();
}

}  // namespace Lx
