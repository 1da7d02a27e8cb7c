#include "ui/viewer/Selection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Lx {

namespace {

constexpr char32_t kLastCode = 0x10FFFF;

int32_t CountOf(const Pdf::PageText& text) {
    return static_cast<int32_t>(std::min<size_t>(text.glyphs.size(), std::numeric_limits<int32_t>::max()));
}

const Pdf::Glyph& At(const Pdf::PageText& text, int32_t index) {
    return text.glyphs[static_cast<size_t>(index)];
}

bool IsEmpty(const Pdf::Box& box) {
    return !(box.right > box.left) || !(box.bottom > box.top);
}

bool IsWord(char32_t code) {
    if (code < 0x80) {
        return (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') ||
               code == '_';
    }
    constexpr std::array<char32_t, 6> kApart{0xA0, 0xA1, 0xAB, 0xB7, 0xBB, 0xBF};
    const bool apart = std::find(kApart.begin(), kApart.end(), code) != kApart.end();
    return !apart && !(code >= 0x2000 && code <= 0x206F) && !(code >= 0x3000 && code <= 0x303F);
}

float Beyond(float at, float from, float to) {
    return std::max({from - at, at - to, 0.0F});
}

// From a glyph's middle to that of its neighbour in the line, in reading order: where the line runs to.
std::pair<float, float> Course(const Pdf::PageText& text, int32_t index) {
    const auto middle = [&](int32_t i) {
        const Pdf::Box& box = At(text, i).box;
        return std::pair((box.left + box.right) / 2, (box.top + box.bottom) / 2);
    };
    const auto usable = [&](int32_t i) { return i >= 0 && i < CountOf(text) && !IsEmpty(At(text, i).box); };
    const int32_t from = usable(index + 1) ? index : usable(index - 1) ? index - 1 : -1;
    if (from < 0) return {1.0F, 0.0F};
    const auto a = middle(from), b = middle(from + 1);
    if (a == b) return {1.0F, 0.0F};
    return {b.first - a.first, b.second - a.second};
}

void AppendUtf8(std::string& text, char32_t code) {
    const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        tail(0);
    } else if (code < 0x10000) {
        if (code >= 0xD800 && code < 0xE000) return;
        text += static_cast<char>(0xE0 | (code >> 12));
        tail(6);
        tail(0);
    } else if (code <= kLastCode) {
        text += static_cast<char>(0xF0 | (code >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

// The run around `index` of glyphs that are as `alike` says.
template <class Alike>
std::pair<int32_t, int32_t> RunAround(const Pdf::PageText& text, int32_t index, const Alike& alike) {
    int32_t first = index, end = index;
    while (first > 0 && alike(At(text, first - 1).code)) --first;
    while (end < CountOf(text) && alike(At(text, end).code)) ++end;
    return {first, end};
}

}  // namespace

std::pair<int32_t, float> NearestGlyph(const Pdf::PageText& text, float x, float y) {
    int32_t nearest = -1;
    float least = std::numeric_limits<float>::max();
    for (int32_t i = 0; i < CountOf(text); ++i) {
        const Pdf::Box& box = At(text, i).box;
        if (IsEmpty(box)) continue;
        const float dx = Beyond(x, box.left, box.right), dy = Beyond(y, box.top, box.bottom);
        const float away = dx * dx + dy * dy;
        if (away >= least) continue;
        least = away;
        nearest = i;
    }
    return {nearest, nearest < 0 ? 0.0F : std::sqrt(least)};
}

int32_t NearestGap(const Pdf::PageText& text, float x, float y) {
    const int32_t glyph = NearestGlyph(text, x, y).first;
    if (glyph < 0) return 0;
    const Pdf::Box& box = At(text, glyph).box;
    const auto [dx, dy] = Course(text, glyph);
    const bool after = (x - (box.left + box.right) / 2) * dx + (y - (box.top + box.bottom) / 2) * dy > 0;
    return after ? glyph + 1 : glyph;
}

std::string TextBetween(const Pdf::PageText& text, int32_t first, int32_t end) {
    std::string utf8;
    for (int32_t i = std::max(0, first); i < std::min(end, CountOf(text)); ++i) AppendUtf8(utf8, At(text, i).code);
    return utf8;
}

std::vector<Pdf::Box> BoxesBetween(const Pdf::PageText& text, int32_t first, int32_t end) {
    std::vector<Pdf::Box> boxes;
    bool fresh = true;
    for (int32_t i = std::max(0, first); i < std::min(end, CountOf(text)); ++i) {
        const Pdf::Glyph& glyph = At(text, i);
        if (glyph.code == '\n') fresh = true;
        if (IsEmpty(glyph.box)) continue;
        if (fresh) {
            boxes.push_back(glyph.box);
            fresh = false;
            continue;
        }
        Pdf::Box& box = boxes.back();
        box = {std::min(box.left, glyph.box.left), std::min(box.top, glyph.box.top),
               std::max(box.right, glyph.box.right), std::max(box.bottom, glyph.box.bottom)};
    }
    return boxes;
}

std::pair<int32_t, int32_t> Selection::UnitAt(const Pdf::PageText& text, float x, float y) const {
    const int32_t glyph = NearestGlyph(text, x, y).first;
    if (glyph < 0) return {0, 0};
    if (unit_ == Unit::Line) return RunAround(text, glyph, [](char32_t code) { return code != '\n'; });
    if (unit_ == Unit::Word) {
        if (!IsWord(At(text, glyph).code)) return {glyph, glyph + 1};
        return RunAround(text, glyph, IsWord);
    }
    const int32_t gap = NearestGap(text, x, y);
    return {gap, gap};
}

void Selection::Begin(int32_t page, const Pdf::PageText& text, float x, float y, Unit unit) {
    unit_ = unit;
    const auto [first, end] = UnitAt(text, x, y);
    from_ = heldFrom_ = {page, first};
    to_ = heldTo_ = {page, end};
}

void Selection::MoveTo(int32_t page, const Pdf::PageText& text, float x, float y) {
    const auto [first, end] = UnitAt(text, x, y);
    from_ = std::min(heldFrom_, TextPlace{page, first});
    to_ = std::max(heldTo_, TextPlace{page, end});
}

void Selection::Set(const TextPlace& from, const TextPlace& to) {
    from_ = heldFrom_ = std::min(from, to);
    to_ = heldTo_ = std::max(from, to);
}

std::pair<int32_t, int32_t> Selection::On(int32_t page, const Pdf::PageText& text) const {
    if (Empty() || page < from_.page || page > to_.page) return {0, 0};
    const int32_t first = page == from_.page ? from_.gap : 0;
    const int32_t end = page == to_.page ? std::min(to_.gap, CountOf(text)) : CountOf(text);
    return {first, std::max(first, end)};
}

}  // namespace Lx
