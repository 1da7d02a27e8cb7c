#include "ui/viewer/TileCache.h"

#include <algorithm>
#include <cstring>
#include <tuple>

#include "ui/viewer/PageLayout.h"

namespace Lx {

namespace {

constexpr int32_t kRough = 2;  // every other pixel of every other row

// Higher goes first; none for what stays.
constexpr int64_t kStays = -1;
constexpr int64_t kClass = int64_t{1} << 40;
constexpr int64_t kWanted = kClass / 4;  // else it would be drawn again and again

bool IsSmall(const Tile& tile) {
    return tile.kind == Tile::Kind::Small;
}

int64_t Distance(int32_t page, const TileKeep& keep) {
    const bool before = page < keep.first;
    const int64_t away = before ? int64_t{keep.first} - page : page > keep.last ? int64_t{page} - keep.last : 0;
    const bool behind = before == (keep.direction > 0);
    return behind ? 2 * away : away;
}

int64_t SmallDistance(int32_t page, const TileKeep& keep) {
    return page >= keep.thumbnails.first && page <= keep.thumbnails.second ? 0 : Distance(page, keep);
}

int64_t RankOf(const Tile& tile, const TileKeep& keep) {
    const int64_t away = Distance(tile.spec.page, keep);
    if (tile.kind == Tile::Kind::Small) return SmallDistance(tile.spec.page, keep);
    const bool current = !tile.old && tile.spec.width == keep.widthOf(tile.spec.page);
    const auto wanted = std::find(keep.wanted.begin(), keep.wanted.end(), tile.spec);
    if (current && wanted != keep.wanted.end()) {
        const auto place = static_cast<size_t>(wanted - keep.wanted.begin());
        return place < keep.visible ? kStays : kWanted + static_cast<int64_t>(place);
    }
    // In sight what stands in is worth more than what may be seen later.
    if (away == 0 && !current) return kClass / 2;
    return (current ? kClass : 2 * kClass) + away;
}

// Each part of a colour has 21 bits of a sum, which a row of a box doesn't fill.
constexpr int64_t kLongestRow = (int64_t{1} << 21) / 256;

uint32_t MeanOf(const Pdf::Picture& picture, const Area& box, int32_t step) {
    uint64_t red = 0, green = 0, blue = 0, count = 0;
    const int64_t right = box.x + std::min(box.w, kLongestRow);
    for (int64_t y = box.y; y < box.Bottom(); y += step) {
        const unsigned char* const row = picture.data + y * picture.stride;
        uint64_t sum = 0;
        for (int64_t x = box.x; x < right; x += step, ++count) {
            uint32_t pixel = 0;
            std::memcpy(&pixel, row + x * 4, sizeof pixel);
            sum += (pixel & 0xFF) | uint64_t{pixel & 0xFF00} << 13 | uint64_t{pixel & 0xFF0000} << 26;
        }
        blue += sum & 0x1FFFFF;
        green += sum >> 21 & 0x1FFFFF;
        red += sum >> 42;
    }
    const uint64_t mean = 0xFF000000 | (red / count) << 16 | (green / count) << 8 | blue / count;
    return static_cast<uint32_t>(mean);
}

}  // namespace

void TileCache::Put(const Pdf::TileSpec& spec, const Pdf::Picture& picture, Tile::Kind kind) {
    std::vector<Tile>& tiles = pages_[spec.page];
    const bool small = kind == Tile::Kind::Small;
    for (size_t i = tiles.size(); i-- > 0;) {
        const Tile& tile = tiles[i];
        const bool wasSmall = tile.kind == Tile::Kind::Small;
        const bool sameTurn = tile.spec.turn == spec.turn;
        const bool replaced = wasSmall == small && (small ? sameTurn : tile.spec == spec && !tile.old);
        const bool outdated = tile.old && kind == Tile::Kind::Whole && sameTurn;
        if (replaced || outdated) Drop(spec.page, i);
    }
    bytes_ += picture.Bytes();
    smallBytes_ += small ? picture.Bytes() : 0;
    pages_[spec.page].push_back({spec, picture, kind, false});
}

void TileCache::Drop(int32_t page, size_t index) {
    std::vector<Tile>& tiles = pages_[page];
    bytes_ -= tiles[index].picture.Bytes();
    smallBytes_ -= tiles[index].kind == Tile::Kind::Small ? tiles[index].picture.Bytes() : 0;
    tiles.erase(tiles.begin() + static_cast<std::ptrdiff_t>(index));
}

const Tile* TileCache::Find(const Pdf::TileSpec& spec) const {
    for (const Tile& tile : Of(spec.page))
        if (!tile.old && tile.kind != Tile::Kind::Small && tile.spec == spec) return &tile;
    return nullptr;
}

const std::vector<Tile>& TileCache::Of(int32_t page) const {
    static const std::vector<Tile> kNone;
    const auto it = pages_.find(page);
    return it == pages_.end() ? kNone : it->second;
}

const Tile* TileCache::SmallOf(int32_t page, int32_t turn) const {
    for (const Tile& tile : Of(page))
        if (tile.kind == Tile::Kind::Small && tile.spec.turn == turn) return &tile;
    return nullptr;
}

void TileCache::Age() {
    for (auto& [page, tiles] : pages_)
        for (Tile& tile : tiles) tile.old = true;
}

void TileCache::Clear() {
    pages_.clear();
    bytes_ = smallBytes_ = 0;
}

void TileCache::Trim(size_t limit, const TileKeep& keep) {
    TrimSmall(keep);
    if (bytes_ <= limit) return;
    std::vector<std::pair<int64_t, Tile>> order;
    for (const auto& [page, tiles] : pages_)
        for (const Tile& tile : tiles)
            if (const int64_t rank = RankOf(tile, keep); rank != kStays) order.emplace_back(rank, tile);
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
        return std::tuple(-a.first, a.second.spec.page) < std::tuple(-b.first, b.second.spec.page);
    });
    for (const auto& [rank, gone] : order) {
        if (bytes_ <= limit) break;
        const std::vector<Tile>& tiles = pages_[gone.spec.page];
        for (size_t i = tiles.size(); i-- > 0;)
            if (tiles[i].picture.data == gone.picture.data) Drop(gone.spec.page, i);
        if (limit >= kLimit) LeaveSmall(gone);
    }
}

void TileCache::LeaveSmall(const Tile& gone) {
    if (gone.kind != Tile::Kind::Whole || gone.old || SmallOf(gone.spec.page, gone.spec.turn)) return;
    const int32_t width = std::min(kSmallWidth, gone.spec.width);
    const int64_t height = int64_t{gone.picture.height} * width / gone.picture.width;
    if (height < 1 || height > 4 * kSmallWidth) return;
    const Rect all{0, 0, width, static_cast<int32_t>(height)};
    Put({gone.spec.page, width, gone.spec.turn, all}, Shrunk(gone.picture, width, all.h, kRough), Tile::Kind::Small);
}

void TileCache::TrimSmall(const TileKeep& keep) {
    while (smallBytes_ > kSmallLimit) {
        int64_t farthest = 0;
        int32_t of = 0;
        for (const auto& [page, tiles] : pages_) {
            const bool has = std::any_of(tiles.begin(), tiles.end(), IsSmall);
            const int64_t away = SmallDistance(page, keep);
            if (has && away > farthest) std::tie(farthest, of) = std::tuple(away, page);
        }
        if (farthest == 0) return;
        for (size_t i = Of(of).size(); i-- > 0;)
            if (IsSmall(Of(of)[i])) Drop(of, i);
    }
}

Pdf::Picture Shrunk(const Pdf::Picture& picture, int32_t width, int32_t height, int32_t step) {
    const size_t stride = static_cast<size_t>(width) * 4;
    auto rows = std::make_shared<std::vector<unsigned char>>(stride * static_cast<size_t>(height));
    for (int32_t y = 0; y < height; ++y) {
        const int64_t top = int64_t{y} * picture.height / height;
        const int64_t bottom = std::max(top + 1, int64_t{y + 1} * picture.height / height);
        unsigned char* to = rows->data() + static_cast<size_t>(y) * stride;
        for (int32_t x = 0; x < width; ++x, to += 4) {
            const int64_t left = int64_t{x} * picture.width / width;
            const int64_t right = std::max(left + 1, int64_t{x + 1} * picture.width / width);
            const uint32_t mean = MeanOf(picture, {left, top, right - left, bottom - top}, step);
            std::memcpy(to, &mean, sizeof mean);
        }
    }
    const unsigned char* data = rows->data();
    return {data, width, height, static_cast<int32_t>(stride), std::move(rows)};
}

}  // namespace Lx
