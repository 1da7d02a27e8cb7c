// The text of pages: where each letter stands, and where a pattern is found.
#pragma once

#include <poppler.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ayudante/LxProtocolo.h"
#include "ayudante/LxSobre.h"
#include "ui/LxPages.h"
#include "ui/platform/pdf/PageRenderer.h"

namespace Lx::Pdf {

// In reading order, right-to-left letters in the order they are read.
[[nodiscard]] PageText TextOf(PopplerPage* sheet, bool withBoxes);

// A page's text made to be compared: UTF-8, in which letters that count as the same are the same, white space is one
// blank, and a word that a line end divides is whole again.
struct FoldedText {
    std::string text;
    // Ascending (byte in `text`, glyph): from there on one byte is one glyph, up to the next pair.
    std::vector<std::pair<uint32_t, uint32_t>> glyphs;

    [[nodiscard]] uint32_t GlyphAt(uint32_t byte) const;
    [[nodiscard]] size_t Bytes() const { return text.capacity() + glyphs.capacity() * sizeof glyphs[0]; }
};

// Exact: letter case and accents stay; only different ways to write the same letter become one.
[[nodiscard]] FoldedText Fold(const PageText& text, bool exact);
[[nodiscard]] std::string FoldPattern(std::string_view utf8, bool exact);

// Keeps the folded text of the pages that it has seen.
class TextSearch {
  public:
    // Writes {pages done, hits, then each Hit}; the first two are right at any time. Gives the pages done: at least
    // one.
    int32_t Search(const PageRenderer& renderer, const Ayudante::Peticion& request, unsigned char* slot,
                   uint32_t& bytes);

  private:
    [[nodiscard]] const FoldedText& Page(const PageRenderer& renderer, int32_t page, bool exact);

    std::map<std::pair<int32_t, bool>, FoldedText> kept_;
    FoldedText recent_;  // of a page that there was no room for
    size_t bytes_ = 0;
};

}  // namespace Lx::Pdf
