// The pictures of pages that are kept: what is seen, what is likely to be, and what stands in for pages that aren't
// drawn yet.
#pragma once

#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ui/LxPages.h"

namespace Lx {

struct Tile {
    enum class Kind { Whole, Slice, Small };  // a page, a part of one, a thumbnail of one

    Pdf::TileSpec spec;
    Pdf::Picture picture;
    Kind kind = Kind::Whole;
    bool old = false;  // of a document that has been replaced
};

// What a cache is cut down by.
struct TileKeep {
    int32_t first = 0, last = -1;                   // the pages that are seen
    int direction = 1;                              // of the last scroll
    std::vector<Pdf::TileSpec> wanted;              // what is seen, and what is asked for ahead of it
    size_t visible = 0;                             // so many of them, the first, are seen
    std::function<int32_t(int32_t page)> widthOf;   // what the page is shown at
    std::pair<int32_t, int32_t> thumbnails{0, -1};  // the first and the last that are seen elsewhere
};

class TileCache {
  public:
    static constexpr size_t kLimit = size_t{64} << 20;  // bytes of all pictures together
    static constexpr size_t kSmallLimit = kLimit / 4;   // of the small ones
    static constexpr int kSmallWidth = 176;             // device pixels of those that are made here, at most

    void Put(const Pdf::TileSpec& spec, const Pdf::Picture& picture, Tile::Kind kind);
    // Of the present document, and no thumbnail.
    [[nodiscard]] const Tile* Find(const Pdf::TileSpec& spec) const;
    // What there is of a page.
    [[nodiscard]] const std::vector<Tile>& Of(int32_t page) const;
    [[nodiscard]] const Tile* SmallOf(int32_t page, int32_t turn) const;
    // Everything is of an old document from now on.
    void Age();
    void Clear();
    [[nodiscard]] size_t Bytes() const { return bytes_; }
    // Pictures go until no more than `limit` bytes are left, in this order: those of another scale and of an old
    // document, those behind the scroll, those ahead of it, from far to near, what stands in for what is seen, what is
    // wanted, thumbnails. What is seen stays.
    void Trim(size_t limit, const TileKeep& keep);

  private:
    void Drop(int32_t page, size_t index);
    void TrimSmall(const TileKeep& keep);
    // A thumbnail of the page whose picture goes.
    void LeaveSmall(const Tile& gone);

    std::unordered_map<int32_t, std::vector<Tile>> pages_;
    size_t bytes_ = 0, smallBytes_ = 0;
};

// A copy of the picture, so much smaller; of every `step`th pixel.
[[nodiscard]] Pdf::Picture Shrunk(const Pdf::Picture& picture, int32_t width, int32_t height, int32_t step = 1);

}  // namespace Lx
