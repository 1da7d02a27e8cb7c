#include "ui/platform/pdf/Answers.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ayudante/LxSobre.h"

namespace Lx::Pdf {
namespace {

using Ayudante::Lector;

// Wide enough for a page of 200 m, and no number that arithmetic gets lost with.
constexpr float kFar = 1e6F;
constexpr int32_t kMaxDepth = 32;

bool IsNear(float value) {
    return value >= -kFar && value <= kFar;
}

bool IsSound(const Box& box) {
    return IsNear(box.left) && IsNear(box.top) && IsNear(box.right) && IsNear(box.bottom) && box.left <= box.right &&
           box.top <= box.bottom;
}

// The code at `at`, which is moved on; 0 for bytes that are none (RFC 3629).
char32_t Next(std::string_view text, size_t& at) {
    const auto first = static_cast<unsigned char>(text[at++]);
    if (first < 0x80) return first;
    const size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (first < 0xC2 || first > 0xF4 || text.size() - at < more) return 0;
    char32_t code = first & (0x3FU >> more);
    for (size_t i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) return 0;
        code = code << 6 | (next & 0x3F);
    }
    if (code < kLeast[more] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return 0;
    at += more;
    return code;
}

bool IsHarmless(char32_t code) {
    return code >= 0x20 && (code < 0x7F || code > 0x9F) && !(code >= 0x202A && code <= 0x202E) &&
           !(code >= 0x2066 && code <= 0x2069) && !(code >= 0x200B && code <= 0x200F) && code != 0xFEFF &&
           code != 0x2028 && code != 0x2029;
}

bool ReadTarget(Lector& reader, int32_t pages, Target& target) {
    int32_t kind = 0;
    if (!reader.Sacar(kind) || !reader.Sacar(target.page) || !reader.Sacar(target.top) ||
        !reader.SacarTexto(target.address))
        return false;
    target.address = CleanText(target.address);
    if (!(target.top >= 0 && target.top <= kFar)) target.top = -1;
    if (kind == static_cast<int32_t>(Target::Kind::Page) && target.page >= 0 && target.page < pages) {
        target.kind = Target::Kind::Page;
    } else if (kind == static_cast<int32_t>(Target::Kind::Address) && !target.address.empty()) {
        target.kind = Target::Kind::Address;
    }
    if (target.kind != Target::Kind::Page) target.page = 0;
    return true;
}

}  // namespace

std::string CleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const size_t before = at;
        if (IsHarmless(Next(text, at))) clean += text.substr(before, at - before);
    }
    return clean;
}

std::string CleanName(std::string_view name) {
    constexpr size_t kMost = 200;
    constexpr std::string_view kEdges = " .";
    std::string clean = CleanText(name.substr(std::min(name.size(), name.find_last_of("/\\") + 1)));
    clean.erase(0, std::min(clean.find_first_not_of(kEdges), clean.size()));
    if (clean.size() > kMost) {
        size_t end = kMost;
        while ((static_cast<unsigned char>(clean[end]) & 0xC0) == 0x80) --end;
        clean.resize(end);
    }
    clean.resize(clean.find_last_not_of(kEdges) + 1);
    return clean.empty() ? "adjunto" : clean;
}

std::vector<PageSize> ReadSizes(const unsigned char* data, size_t bytes) {
    std::vector<PageSize> sizes(bytes / sizeof(PageSize));
    if (!sizes.empty()) std::memcpy(sizes.data(), data, sizes.size() * sizeof(PageSize));
    for (PageSize& size : sizes)
        if (!(size.width > 0 && size.width <= kFar && size.height > 0 && size.height <= kFar)) size = {595, 842};
    return sizes;
}

PageText ReadText(const unsigned char* data, size_t bytes) {
    PageText text;
    Lector reader(data, bytes);
    text.glyphs.reserve(bytes / sizeof(Glyph));
    for (Glyph glyph; reader.Sacar(glyph);) {
        if (glyph.code > 0x10FFFF || (glyph.code >= 0xD800 && glyph.code < 0xE000)) glyph.code = 0xFFFD;
        if (glyph.code < 0x20 && glyph.code != '\n') glyph.code = ' ';
        if (glyph.code == '\n' || !IsSound(glyph.box)) glyph.box = {};
        text.glyphs.push_back(glyph);
    }
    return text;
}

std::vector<Link> ReadLinks(const unsigned char* data, size_t bytes, int32_t pages) {
    std::vector<Link> links;
    Lector reader(data, bytes);
    for (Link link; reader.Sacar(link.box) && ReadTarget(reader, pages, link.target); link = {})
        if (link.target.kind != Target::Kind::None && IsSound(link.box)) links.push_back(link);
    return links;
}

std::vector<OutlineItem> ReadOutline(const unsigned char* data, size_t bytes, int32_t pages) {
    std::vector<OutlineItem> items;
    Lector reader(data, bytes);
    for (OutlineItem item;
         reader.Sacar(item.depth) && reader.SacarTexto(item.title) && ReadTarget(reader, pages, item.target);
         item = {}) {
        // Each one stands at most one deeper than the one before.
        const int32_t deepest = items.empty() ? 0 : std::min(items.back().depth + 1, kMaxDepth);
        item.depth = std::clamp(item.depth, 0, deepest);
        item.title = CleanText(item.title);
        items.push_back(item);
    }
    return items;
}

std::vector<Attachment> ReadAttachments(const unsigned char* data, size_t bytes) {
    std::vector<Attachment> files;
    Lector reader(data, bytes);
    for (Attachment file; reader.SacarTexto(file.name) && reader.Sacar(file.bytes); file = {}) {
        file.name = CleanName(file.name);
        if (file.bytes < 0) file.bytes = -1;
        files.push_back(file);
    }
    return files;
}

std::vector<Hit> ReadHits(const unsigned char* data, size_t bytes, int32_t first, int32_t count, int32_t& done) {
    std::vector<Hit> hits;
    Lector reader(data, bytes);
    int32_t said = 0;
    done = 0;
    if (!reader.Sacar(done) || !reader.Sacar(said)) return hits;
    done = std::clamp(done, 0, count);
    for (Hit hit; said > 0 && reader.Sacar(hit); --said) {
        const bool inOrder = hits.empty() || hits.back().page < hit.page ||
                             (hits.back().page == hit.page && hits.back().first <= hit.first);
        if (hit.page >= first && hit.page - first < done && hit.first >= 0 && hit.count >= 1 &&
            hit.count <= INT32_MAX - hit.first && inOrder)
            hits.push_back(hit);
    }
    return hits;
}

}  // namespace Lx::Pdf
