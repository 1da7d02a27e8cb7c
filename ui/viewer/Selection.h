// Text that is selected: two places in reading order. What is painted and copied is worked out from them.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ui/LxPages.h"

namespace Lx {

// Between two glyphs: `gap` of them lie before it.
struct TextPlace {
    int32_t page = 0, gap = 0;
    auto operator<=>(const TextPlace&) const = default;
};

class Selection {
  public:
    enum class Unit { Glyph, Word, Line };

    void Clear() { from_ = to_ = {}; }
    // The whole unit at the glyph or gap stays selected while the other end moves.
    void Begin(int32_t page, const Pdf::PageText& text, float x, float y, Unit unit);
    // The other end goes to this place, by the unit that it began with.
    void MoveTo(int32_t page, const Pdf::PageText& text, float x, float y);
    void Set(const TextPlace& from, const TextPlace& to);
    [[nodiscard]] bool Empty() const { return from_ == to_; }
    [[nodiscard]] const TextPlace& From() const { return from_; }
    [[nodiscard]] const TextPlace& To() const { return to_; }
    // The glyphs of the page that are selected: the first, and one past the last.
    [[nodiscard]] std::pair<int32_t, int32_t> On(int32_t page, const Pdf::PageText& text) const;

  private:
    [[nodiscard]] std::pair<int32_t, int32_t> UnitAt(const Pdf::PageText& text, float x, float y) const;

    TextPlace from_, to_;          // in order
    TextPlace heldFrom_, heldTo_;  // what it began with
    Unit unit_ = Unit::Glyph;
};

// The glyph that is nearest to a point of the page, and how far it is, in points; -1 on a page without text.
[[nodiscard]] std::pair<int32_t, float> NearestGlyph(const Pdf::PageText& text, float x, float y);
// The gap beside that glyph that is nearest.
[[nodiscard]] int32_t NearestGap(const Pdf::PageText& text, float x, float y);
// UTF-8.
[[nodiscard]] std::string TextBetween(const Pdf::PageText& text, int32_t first, int32_t end);
// One box for each line or piece of one.
[[nodiscard]] std::vector<Pdf::Box> BoxesBetween(const Pdf::PageText& text, int32_t first, int32_t end);

}  // namespace Lx
