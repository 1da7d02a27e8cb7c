// The repaint of a view: it copies pictures that are there, and waits for nothing.
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/viewer/DocViewInside.h"

namespace Lx {

namespace {

constexpr unsigned kPatienceMs = 300;  // a page may be bare for so long without a word about it
constexpr unsigned kFlashMs = 1800;
constexpr int kMessageSize = 13;
constexpr int kMessageMargin = 16;

}  // namespace

void CDocView::OnPaint(CCanvas* canvas) {
    in_->painting = true;
    in_->Sync(static_cast<double>(canvas->DeviceScale()));
    in_->Paint(*canvas);
    in_->painting = false;
    if (HasFocus()) canvas->DrawRect(rect, ThemeColor(ColorRole::Accent), 1.0F);
}

void CDocView::Inside::Paint(CCanvas& canvas) {
    const Rect& rect = view.rect;
    canvas.FillRect(rect, ThemeColor(ColorRole::View));
    if (!Has()) {
        const std::string text = lastError.empty() ? "Sin documento PDF cargado." : lastError;
        if (!opening || !lastError.empty()) PaintMessage(canvas, text, OnDevice(Seen()), ColorRole::DocMessage);
        return;
    }
    {
        const CCanvasState state(canvas);
        canvas.ClipRect({rect.x, rect.y, rect.w - ViewBar::kWidth, rect.h - (wide ? ViewBar::kWidth : 0)});
        PaintPages(canvas);
    }
    ArrangeBars();
    downBar.Paint(canvas);
    acrossBar.Paint(canvas);
    CheckFirstPage();
}

void CDocView::Inside::ArrangeBars() {
    const Rect& rect = laidOut;
    const int bar = ViewBar::kWidth;
    downBar.Arrange({rect.x + rect.w - bar, rect.y, bar, rect.h - (wide ? bar : 0)}, layout.Height(), height, scrollY);
    acrossBar.Arrange({rect.x, rect.y + rect.h - bar, rect.w - bar, wide ? bar : 0}, layout.Width(), width, scrollX);
}

void CDocView::Inside::PaintPages(CCanvas& canvas) {
    const auto [first, last] = layout.PagesBetween(scrollY - height / 16, scrollY + height);
    const std::pair seen = layout.PagesBetween(scrollY, scrollY + height);
    std::erase_if(bare, [&](const auto& entry) { return entry.first < seen.first || entry.first > seen.second; });
    for (int32_t page = std::max(0, first); page <= last; ++page) PaintPage(canvas, page);
    if (flash.page >= 0) PaintOutline(canvas, flash.page, flash.box);
    if (const Pdf::Link* const link = Tabbed()) PaintOutline(canvas, tabbed->first, link->box);
}

void CDocView::Inside::PaintPage(CCanvas& canvas, int32_t page) {
    const Area area = layout.PageArea(page);
    PaintFrame(canvas, area);
    const Area seen = Cut(area, Seen());
    if (seen.Empty()) return;
    const bool any = PaintTiles(canvas, page, seen);
    const auto it = failed.find(page);
    const bool isFailed = it != failed.end() && it->second.first == area.w;
    if (any || isFailed) bare.erase(page);
    if (isFailed && !any)
        PaintMessage(canvas, SentenceOf(it->second.second), OnDevice(seen), ColorRole::DocPaperMessage);
    else if (!any && IsBare(page))
        PaintMessage(canvas, "Dibujando la pagina...", OnDevice(seen), ColorRole::DocPaperMessage);
    PaintMarks(canvas, page);
}

// Around the page, not under it: a shadow at the right and below, and a thin line.
void CDocView::Inside::PaintFrame(CCanvas& canvas, const Area& page) const {
    const auto fill = [&](const Area& area, ColorRole color) {
        const Rect device = OnDevice(area);
        if (device.w > 0 && device.h > 0) canvas.FillDevice(device, ThemeColor(color));
    };
    const int64_t line = std::max<int64_t>(1, std::llround(setup.scale)), shadow = std::llround(3 * setup.scale);
    fill({page.Right() + line, page.y + shadow, shadow - line, page.h}, ColorRole::PaperShadow);
    fill({page.x + shadow, page.Bottom() + line, page.w + line - shadow, shadow - line}, ColorRole::PaperShadow);
    fill({page.x - line, page.y - line, page.w + 2 * line, line}, ColorRole::PaperBorder);
    fill({page.x - line, page.Bottom(), page.w + 2 * line, line}, ColorRole::PaperBorder);
    fill({page.x - line, page.y, line, page.h}, ColorRole::PaperBorder);
    fill({page.Right(), page.y, line, page.h}, ColorRole::PaperBorder);
}

bool CDocView::Inside::PaintTiles(CCanvas& canvas, int32_t page, const Area& seen) const {
    std::vector<const Tile*> sharp;
    bool all = true;
    for (const Pdf::TileSpec& spec : TilesOf(layout, page, seen, IsSliced(page))) {
        const Tile* const tile = cache.Find(spec);
        if (tile) sharp.push_back(tile);
        all = all && tile;
    }
    bool any = !sharp.empty();
    if (!all) PaintStandIns(canvas, page, seen, any);
    for (const Tile* tile : sharp) PaintTile(canvas, *tile);
    return any;
}

// Paper, a picture of the whole page as near in scale as there is, then slices of the nearest other scale.
void CDocView::Inside::PaintStandIns(CCanvas& canvas, int32_t page, const Area& seen, bool& any) const {
    canvas.FillDevice(OnDevice(seen), ThemeColor(ColorRole::Paper));
    const auto wanted = static_cast<double>(layout.PageArea(page).w);
    const Tile* whole = nullptr;
    const Tile* slice = nullptr;
    const auto nearer = [&](const Tile& tile, const Tile* than) {
        // One that has more pixels than needed is better than one that has fewer; an old document's comes last.
        const auto misfit = [&](const Tile& t) {
            const double ratio = t.spec.width / wanted;
            return (ratio < 1 ? 2 / ratio : ratio) + (t.kind == Tile::Kind::Small ? 1e6 : 0) + (t.old ? 0.1 : 0);
        };
        return !than || misfit(tile) < misfit(*than);
    };
    for (const Tile& tile : cache.Of(page)) {
        if (tile.spec.turn != setup.turn) continue;
        const Tile*& best = tile.kind == Tile::Kind::Slice ? slice : whole;
        if (nearer(tile, best)) best = &tile;
    }
    if (whole) PaintTile(canvas, *whole);
    if (slice) {
        for (const Tile& tile : cache.Of(page)) {
            if (tile.kind == Tile::Kind::Slice && tile.spec.turn == setup.turn && tile.spec.width == slice->spec.width)
                PaintTile(canvas, tile);
        }
    }
    any = any || whole || slice;
}

void CDocView::Inside::PaintTile(CCanvas& canvas, const Tile& tile) const {
    const Area page = layout.PageArea(tile.spec.page);
    const Pdf::Picture& picture = tile.picture;
    const double scale = static_cast<double>(page.w) / tile.spec.width;
    const bool same =
        page.w == tile.spec.width && picture.width == tile.spec.area.w && picture.height == tile.spec.area.h;
    const auto at = [&](int32_t offset) { return same ? int64_t{offset} : std::llround(offset * scale); };
    Area place{page.x + at(tile.spec.area.x), page.y + at(tile.spec.area.y), 0, 0};
    if (same) {
        place.w = picture.width;
        place.h = picture.height;
    } else if (tile.kind != Tile::Kind::Slice) {
        place = page;
    } else {
        place.w = page.x + at(tile.spec.area.x + tile.spec.area.w) - place.x;
        place.h = page.y + at(tile.spec.area.y + tile.spec.area.h) - place.y;
    }
    const Area seen = Cut(place, Seen());
    if (seen.Empty() || picture.width < 1 || picture.height < 1) return;
    // The pixels that are needed, and where those lie: a little more than what is seen when the picture is scaled.
    const double acrossX = static_cast<double>(place.w) / picture.width;
    const double acrossY = static_cast<double>(place.h) / picture.height;
    const auto x0 = static_cast<int32_t>(std::floor(static_cast<double>(seen.x - place.x) / acrossX));
    const auto y0 = static_cast<int32_t>(std::floor(static_cast<double>(seen.y - place.y) / acrossY));
    const auto x1 = static_cast<int32_t>(std::ceil(static_cast<double>(seen.Right() - place.x) / acrossX));
    const auto y1 = static_cast<int32_t>(std::ceil(static_cast<double>(seen.Bottom() - place.y) / acrossY));
    const Rect source{x0, y0, std::min(x1, picture.width) - x0, std::min(y1, picture.height) - y0};
    if (source.w < 1 || source.h < 1) return;
    const int64_t x2 = place.x + std::llround(source.x * acrossX), y2 = place.y + std::llround(source.y * acrossY);
    const Area dest{x2, y2, place.x + std::llround((source.x + source.w) * acrossX) - x2,
                    place.y + std::llround((source.y + source.h) * acrossY) - y2};
    canvas.DrawPixels(picture.data, picture.width, picture.height, picture.stride, source, OnDevice(dest));
}

void CDocView::Inside::PaintMarks(CCanvas& canvas, int32_t page) const {
    const Pdf::PageText* const text = texts.TextOf(page);
    if (!text) return;
    const auto mark = [&](int32_t first, int32_t end, ColorRole color) {
        for (const Pdf::Box& box : BoxesBetween(*text, first, end)) {
            const Area seen = Cut(Cut(layout.BoxArea(page, box), layout.PageArea(page)), Seen());
            if (!seen.Empty()) canvas.FillDevice(OnDevice(seen), ThemeColor(color));
        }
    };
    const std::optional<Pdf::Hit>& current = search.Current();
    for (const Pdf::Hit& hit : search.On(page)) {
        const bool strong = current && current->page == page && current->first == hit.first;
        mark(hit.first, hit.first + hit.count, strong ? ColorRole::CurrentHit : ColorRole::SearchHit);
    }
    const auto [first, end] = selection.On(page, *text);
    if (end > first) mark(first, end, ColorRole::PageSelection);
}

// In the middle, broken between words where it is wider than there is room.
void CDocView::Inside::PaintMessage(CCanvas& canvas, const std::string& text, const Rect& device,
                                    ColorRole color) const {
    const auto client = [this](int32_t pixels) { return static_cast<int32_t>(pixels / setup.scale); };
    const Rect area{client(device.x), client(device.y), client(device.w), client(device.h)};
    const auto sizeOf = [&](const std::string& line) {
        return canvas.MeasureText(line, "system", kMessageSize, false, false);
    };
    std::vector<std::string> lines(1);
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = text.substr(at, end - at);
        std::string& line = lines.back();
        std::string longer = line;
        if (!longer.empty()) longer += ' ';
        longer += word;
        if (line.empty() || sizeOf(longer).cx <= area.w - kMessageMargin)
            line = std::move(longer);
        else
            lines.push_back(word);
        at = end + 1;
    }
    int y = area.y + (area.h - sizeOf(text).cy * static_cast<int>(lines.size())) / 2;
    for (const std::string& line : lines) {
        const Size size = sizeOf(line);
        canvas.DrawText(line, {area.x + (area.w - size.cx) / 2, y}, ThemeColor(color), "system", kMessageSize, false,
                        false);
        y += size.cy;
    }
}

// Whether a word about waiting is due: it comes late.
bool CDocView::Inside::IsBare(int32_t page) {
    const auto [entry, began] = bare.try_emplace(page);
    if (!began) return entry->second.late;
    const unsigned number = entry->second.number = ++bareNumber;
    Later(kPatienceMs, [this, page, number] {
        const auto it = bare.find(page);
        if (it == bare.end() || it->second.number != number) return;
        it->second.late = true;
        Repaint();
    });
    return false;
}

void CDocView::Inside::PaintOutline(CCanvas& canvas, int32_t page, const Pdf::Box& around) const {
    const int64_t line = std::llround(3 * setup.scale), gap = std::llround(2 * setup.scale);
    const Area box = layout.BoxArea(page, around);
    if (box.Empty()) return;
    const Area outer{box.x - gap - line, box.y - gap - line, box.w + 2 * (gap + line), box.h + 2 * (gap + line)};
    const Area sides[] = {{outer.x, outer.y, outer.w, line},
                          {outer.x, outer.Bottom() - line, outer.w, line},
                          {outer.x, outer.y + line, line, outer.h - 2 * line},
                          {outer.Right() - line, outer.y + line, line, outer.h - 2 * line}};
    for (const Area& side : sides) {
        const Area seen = Cut(side, Seen());
        if (!seen.Empty()) canvas.FillDevice(OnDevice(seen), ThemeColor(ColorRole::FlashOutline));
    }
}

void CDocView::Flash(int page, const Pdf::Box& box) {
    in_->flash.page = page;
    in_->flash.box = box;
    const unsigned number = ++in_->flash.number;
    Inside* const in = in_.get();
    in->Later(kFlashMs, [in, number] {
        if (in->flash.number != number) return;
        in->flash.page = -1;
        in->Repaint();
    });
    in->Repaint();
}

}  // namespace Lx
