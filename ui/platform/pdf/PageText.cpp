#include "ui/platform/pdf/PageText.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>

namespace Lx::Pdf {
namespace {

// Poppler puts these around letters that it has turned from the order they stand in to the one they are read in.
constexpr char32_t kEmbedLeft = 0x202A, kEmbedRight = 0x202B, kEmbedEnd = 0x202C;
constexpr char32_t kSoftHyphen = 0xAD;
// Of the folded text that is kept.
constexpr size_t kMaxKept = size_t{24} << 20;
constexpr auto kNewsAfter = std::chrono::milliseconds(40);

struct GFree {
    void operator()(void* memory) const { g_free(memory); }
};

Box BoxOf(const PopplerRectangle& r) {
    return {static_cast<float>(std::min(r.x1, r.x2)), static_cast<float>(std::min(r.y1, r.y2)),
            static_cast<float>(std::max(r.x1, r.x2)), static_cast<float>(std::max(r.y1, r.y2))};
}

bool IsRightToLeft(char32_t code) {
    return (code >= 0x590 && code <= 0x8FF) || (code >= 0xFB1D && code <= 0xFDFF) || (code >= 0xFE70 && code <= 0xFEFC);
}

// What poppler gives: letters in the order they are read, but their boxes from left to right. Groups that are read from
// the right stand between marks, and inside those what isn't.
class Decoder {
  public:
    Decoder(const PopplerRectangle* boxes, size_t count, bool isFromRight)
        : boxes_(boxes), count_(count), isFromRight_(isFromRight) {}

    std::vector<Glyph> Decode(const char* text) {
        glyphs_.reserve(std::strlen(text));
        for (const char* p = text; *p != '\0'; p = g_utf8_next_char(p)) Take(g_utf8_get_char(p));
        return std::move(glyphs_);
    }

  private:
    void Take(char32_t code) {
        if (code == kEmbedRight || code == kEmbedLeft) {
            if (open_.size() < 8) open_.push_back(glyphs_.size());
        } else if (code == kEmbedEnd) {
            CloseGroup();
        } else if (code != '\f') {
            const size_t box = box_++;
            // On pages read from the right poppler puts blanks on the wrong side of their words.
            if (isFromRight_ && code == ' ' && open_.empty()) return;
            glyphs_.push_back({code, box < count_ && code != '\n' ? BoxOf(boxes_[box]) : Box{}});
        }
    }
    void CloseGroup() {
        if (open_.empty()) return;
        const size_t first = open_.back();
        open_.pop_back();
        // A group inside another is turned twice, which leaves it as it was.
        for (size_t a = first, b = glyphs_.size(); a + 1 < b; ++a, --b) std::swap(glyphs_[a].box, glyphs_[b - 1].box);
        if (isFromRight_ && open_.empty()) PutBlank(first);
    }
    // Between a word and the one that is read before it in its line, when they stand apart.
    void PutBlank(size_t word) {
        constexpr float kApart = 0.1F;  // of the letter's height
        const size_t before = std::exchange(lastWord_, word);
        if (word == 0 || word >= glyphs_.size() || glyphs_[word - 1].code == '\n') return;
        const Box a = Around(before, word), b = Around(word, glyphs_.size());
        const float gap = std::max({a.left - b.right, b.left - a.right, a.top - b.bottom, b.top - a.bottom});
        if (gap <= kApart * (b.bottom - b.top)) return;
        glyphs_.insert(glyphs_.begin() + static_cast<std::ptrdiff_t>(word), {' ', {b.right, b.top, a.left, b.bottom}});
        ++lastWord_;
    }
    [[nodiscard]] Box Around(size_t first, size_t end) const {
        Box all = glyphs_[first].box;
        for (size_t i = first + 1; i < end; ++i) {
            const Box& box = glyphs_[i].box;
            all = {std::min(all.left, box.left), std::min(all.top, box.top), std::max(all.right, box.right),
                   std::max(all.bottom, box.bottom)};
        }
        return all;
    }

    const PopplerRectangle* boxes_;
    size_t count_, box_ = 0;
    bool isFromRight_;
    std::vector<Glyph> glyphs_;
    std::vector<size_t> open_;  // where the groups begin
    size_t lastWord_ = 0;
};

// Poppler gives the words in the order of the page: those of the other direction that stand together are in the wrong
// one.
void OrderLine(std::vector<Glyph>& glyphs, size_t first, size_t end, bool isFromRight) {
    struct Word {
        size_t first, end;
        bool isOther;
    };
    std::vector<Word> words;
    for (size_t i = first; i < end;) {
        size_t stop = i;
        bool hasRight = false;
        for (; stop < end && glyphs[stop].code != ' '; ++stop) hasRight = hasRight || IsRightToLeft(glyphs[stop].code);
        words.push_back({i, stop, hasRight != isFromRight && stop > i});
        if (stop < end) words.push_back({stop, stop + 1, false});
        i = stop + 1;
    }
    for (size_t i = 0; i < words.size(); ++i) {
        size_t stop = i + 1;
        while (words[i].isOther && stop + 1 < words.size() && words[stop + 1].isOther) stop += 2;
        std::reverse(words.begin() + static_cast<std::ptrdiff_t>(i), words.begin() + static_cast<std::ptrdiff_t>(stop));
        i = stop - 1;
    }
    std::vector<Glyph> line;
    for (const Word& word : words)
        for (size_t i = word.first; i < word.end; ++i) line.push_back(glyphs[i]);
    std::copy(line.begin(), line.end(), glyphs.begin() + static_cast<std::ptrdiff_t>(first));
}

void OrderLines(std::vector<Glyph>& glyphs, bool isFromRight) {
    size_t first = 0;
    for (size_t i = 0; i < glyphs.size(); ++i) {
        if (glyphs[i].code != '\n') continue;
        OrderLine(glyphs, first, i, isFromRight);
        first = i + 1;
    }
}

// Blanks of lines that don't run from left to right get boxes over their neighbours: they are what is between those.
void MendBlanks(std::vector<Glyph>& glyphs) {
    for (size_t i = 1; i + 1 < glyphs.size(); ++i) {
        const Box &a = glyphs[i - 1].box, &b = glyphs[i + 1].box;
        if (glyphs[i].code != ' ' || glyphs[i - 1].code == '\n' || glyphs[i + 1].code == '\n') continue;
        if (a.right <= b.left && a.top < b.bottom && b.top < a.bottom) continue;
        Box box{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                std::max(a.bottom, b.bottom)};
        const bool isAcross = a.left >= b.right;
        if (isAcross) box.left = b.right, box.right = a.left;
        if (!isAcross && a.bottom <= b.top) box.top = a.bottom, box.bottom = b.top;
        if (!isAcross && b.bottom <= a.top) box.top = b.bottom, box.bottom = a.top;
        glyphs[i].box = box;
    }
}

using TextRef = std::unique_ptr<char, GFree>;

bool HasOtherDirection(const char* text) {
    for (const char* p = text; *p != '\0'; p = g_utf8_next_char(p)) {
        const char32_t code = g_utf8_get_char(p);
        if (code == kEmbedLeft || code == kEmbedRight || IsRightToLeft(code)) return true;
    }
    return false;
}

// All of the page's text, and the area that gives it. On a page that is read from the right poppler wants this from
// corner to corner the other way, and gives a part of it otherwise.
TextRef WholeText(PopplerPage* sheet, PopplerRectangle& area, bool& isFromRight) {
    PageSize size;
    isFromRight = false;
    if (!PageRenderer::Measure(sheet, size)) return nullptr;
    area = {0, 0, size.width, size.height};
    TextRef text(poppler_page_get_selected_text(sheet, POPPLER_SELECTION_GLYPH, &area));
    if (!text || g_utf8_validate(text.get(), -1, nullptr) == 0) return nullptr;
    if (*text != '\0' && !HasOtherDirection(text.get())) return text;
    PopplerRectangle other{size.width, 0, 0, size.height};
    TextRef whole(poppler_page_get_selected_text(sheet, POPPLER_SELECTION_GLYPH, &other));
    if (!whole || g_utf8_validate(whole.get(), -1, nullptr) == 0) return text;
    if (std::strlen(whole.get()) <= std::strlen(text.get())) return text;
    area = other;
    isFromRight = true;
    return whole;
}

void Append(std::string& text, char32_t code) {
    char bytes[6];
    text.append(bytes, static_cast<size_t>(g_unichar_to_utf8(code, bytes)));
}

constexpr struct {
    char32_t code;
    const char* as;
} kSpelled[] = {{U'ß', "ss"}, {U'æ', "ae"}, {U'œ', "oe"}, {U'ø', "o"}, {U'ł', "l"}, {U'đ', "d"}, {U'ı', "i"}};

// What one code becomes.
void AppendFolded(std::string& text, char32_t code, bool exact) {
    if (code < 0x80) {
        text += static_cast<char>(!exact && code >= 'A' && code <= 'Z' ? code + 32 : code);
        return;
    }
    gunichar parts[G_UNICHAR_MAX_DECOMPOSITION_LENGTH];
    const size_t n = g_unichar_fully_decompose(code, TRUE, parts, std::size(parts));
    for (size_t i = 0; i < n; ++i) {
        if (exact) {
            Append(text, parts[i]);
        } else if (g_unichar_ismark(parts[i]) == 0) {
            const char32_t lower = g_unichar_tolower(parts[i]);
            const auto* const spelled =
                std::find_if(std::begin(kSpelled), std::end(kSpelled), [lower](auto& s) { return s.code == lower; });
            if (spelled != std::end(kSpelled)) {
                text += spelled->as;
            } else {
                Append(text, lower);
            }
        }
    }
}

bool IsBlank(char32_t code) {
    return code == '\n' || code == '\t' || code == ' ' || (code >= 0x80 && g_unichar_isspace(code) != 0);
}

// Nothing of it is seen.
bool IsInvisible(char32_t code) {
    return code == kSoftHyphen || code == 0xFEFF || (code >= 0x200B && code <= 0x200F);
}

// Whether the line ends with a hyphen here that the word was divided by.
bool DividesWord(const std::vector<Glyph>& glyphs, size_t i) {
    return (glyphs[i].code == '-' || glyphs[i].code == 0x2010 || glyphs[i].code == kSoftHyphen) && i > 0 &&
           i + 2 < glyphs.size() && glyphs[i + 1].code == '\n' && g_unichar_isalpha(glyphs[i - 1].code) != 0 &&
           g_unichar_islower(glyphs[i + 2].code) != 0;
}

}  // namespace

PageText TextOf(PopplerPage* sheet, bool withBoxes) {
    PageText result;
    PopplerRectangle area{};
    bool isFromRight = false;
    const TextRef text = WholeText(sheet, area, isFromRight);
    if (!text) return result;
    PopplerRectangle* boxes = nullptr;
    guint count = 0;
    withBoxes = withBoxes || isFromRight;
    if (withBoxes) poppler_page_get_text_layout_for_area(sheet, &area, &boxes, &count);
    const std::unique_ptr<PopplerRectangle, GFree> owner(boxes);
    result.glyphs = Decoder(boxes, count, isFromRight).Decode(text.get());
    if (!result.glyphs.empty() && result.glyphs.back().code != '\n') result.glyphs.push_back({'\n', {}});
    OrderLines(result.glyphs, isFromRight);
    if (withBoxes) MendBlanks(result.glyphs);
    return result;
}

uint32_t FoldedText::GlyphAt(uint32_t byte) const {
    const auto after = std::upper_bound(glyphs.begin(), glyphs.end(), byte,
                                        [](uint32_t b, const auto& pair) { return b < pair.first; });
    if (after == glyphs.begin()) return 0;
    return std::prev(after)->second + byte - std::prev(after)->first;
}

FoldedText Fold(const PageText& text, bool exact) {
    FoldedText folded;
    const std::vector<Glyph>& glyphs = text.glyphs;
    folded.text.reserve(glyphs.size() + 16);
    uint32_t expected = 1;  // the glyph that the next byte would be of by itself
    for (size_t i = 0; i < glyphs.size(); ++i) {
        const char32_t code = glyphs[i].code;
        const size_t before = folded.text.size();
        if (DividesWord(glyphs, i)) {
            ++i;  // and its line end
            continue;
        }
        if (IsInvisible(code)) continue;
        if (IsBlank(code)) {
            if (!folded.text.empty() && folded.text.back() == ' ') continue;
            folded.text += ' ';
        } else {
            AppendFolded(folded.text, code, exact);
        }
        if (folded.text.size() == before) continue;
        if (i != expected) folded.glyphs.emplace_back(before, i);
        for (size_t more = before + 1; more < folded.text.size(); ++more) folded.glyphs.emplace_back(more, i);
        expected = folded.text.size() == before + 1 ? static_cast<uint32_t>(i) + 1 : UINT32_MAX;
    }
    return folded;
}

std::string FoldPattern(std::string_view utf8, bool exact) {
    PageText text;
    const std::string copy(utf8);
    if (g_utf8_validate(copy.data(), static_cast<gssize>(copy.size()), nullptr) == 0) return {};
    for (const char* p = copy.c_str(); *p != '\0'; p = g_utf8_next_char(p))
        text.glyphs.push_back({g_utf8_get_char(p), {}});
    return Fold(text, exact).text;
}

const FoldedText& TextSearch::Page(const PageRenderer& renderer, int32_t page, bool exact) {
    const auto found = kept_.find({page, exact});
    if (found != kept_.end()) return found->second;
    const SheetRef sheet = renderer.Sheet(page);
    recent_ = sheet ? Fold(TextOf(sheet.get(), false), exact) : FoldedText();
    if (bytes_ + recent_.Bytes() > kMaxKept) return recent_;
    bytes_ += recent_.Bytes();
    return kept_.emplace(std::pair(page, exact), std::move(recent_)).first->second;
}

int32_t TextSearch::Search(const PageRenderer& renderer, const Ayudante::Peticion& request, unsigned char* slot,
                           uint32_t& bytes) {
    const bool exact = (request.banderas & Ayudante::kExacta) != 0;
    const std::string pattern =
        FoldPattern(std::string_view(reinterpret_cast<const char*>(slot), request.entrada), exact);
    Ayudante::Escritor writer(slot, request.bytes);
    int32_t head[2] = {0, 0};
    if (!writer.Poner(head)) return 0;
    std::memset(slot, 0, sizeof head);
    const auto start = std::chrono::steady_clock::now();
    while (head[0] < request.cuantos) {
        const int32_t page = request.pagina + head[0];
        const FoldedText& folded = Page(renderer, page, exact);
        const uint32_t before = writer.Escritos();
        const int32_t hitsBefore = head[1];
        bool fits = true;
        for (size_t at = pattern.empty() ? std::string::npos : folded.text.find(pattern);
             at != std::string::npos && fits; at = folded.text.find(pattern, at + pattern.size())) {
            const auto first = static_cast<int32_t>(folded.GlyphAt(static_cast<uint32_t>(at)));
            const auto last = static_cast<int32_t>(folded.GlyphAt(static_cast<uint32_t>(at + pattern.size() - 1)));
            fits = writer.Poner(Hit{page, first, last - first + 1});
            head[1] += fits ? 1 : 0;
        }
        // A page whose hits don't fit behind those of others is left to the next request.
        if (!fits && head[0] > 0) {
            writer.Volver(before);
            head[1] = hitsBefore;
            break;
        }
        ++head[0];
        std::memcpy(slot, head, sizeof head);
        if (std::chrono::steady_clock::now() - start > kNewsAfter) break;
    }
    bytes = writer.Escritos();
    return head[0];
}

}  // namespace Lx::Pdf
