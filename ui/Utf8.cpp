#include "ui/Utf8.h"

#include <cstdint>

namespace Lx::Utf8 {

namespace {

enum class Kind { Space, Word, Sign };

bool IsMark(char32_t code) {
    return code >= 0x300 && code <= 0x36F;
}

bool IsLineBreak(char32_t code) {
    return code == '\n' || code == '\r' || code == 0x85 || code == 0x2028 || code == 0x2029;
}

bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

char32_t CodeAt(std::string_view text, size_t pos) {
    char32_t code = 0;
    return Decode(text, pos, code) > 0 ? code : U'\0';
}

Kind KindAt(std::string_view text, size_t pos) {
    const char32_t c = CodeAt(text, pos);
    if (c == ' ' || c == 0xA0 || (c >= 0x2000 && c <= 0x200A) || c == 0x3000) return Kind::Space;
    const bool asciiWord = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    if (asciiWord || c == 0xAA || c == 0xBA) return Kind::Word;
    return c < 0xC0 || (c >= 0x2010 && c <= 0x2BFF) ? Kind::Sign : Kind::Word;
}

size_t OnePoint(std::string_view text, size_t pos) {
    char32_t code = 0;
    const size_t size = Decode(text, pos, code);
    return pos + (size > 0 ? size : 1);
}

}  // namespace

size_t Decode(std::string_view text, size_t pos, char32_t& code) {
    if (pos >= text.size()) return 0;
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[pos + i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) {
        code = lead;
        return 1;
    }
    const size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - pos < size) return 0;
    code = lead & (0x7FU >> size);
    for (size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return 0;
        code = code << 6 | (byte(i) & 0x3FU);
    }
    const bool shortest = size < 3 || code >= (size == 3 ? 0x800U : 0x10000U);
    return shortest && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) ? size : 0;
}

std::string Clean(std::string_view raw) {
    std::string out;
    out.reserve(raw.size());
    for (size_t pos = 0; pos < raw.size();) {
        char32_t code = 0;
        const size_t size = Decode(raw, pos, code);
        if (size == 0) {
            ++pos;
            continue;
        }
        const bool secondHalf = code == '\n' && pos > 0 && raw[pos - 1] == '\r';
        if (IsLineBreak(code) || code == '\t') {
            if (!secondHalf) out += ' ';
        } else if (!IsControl(code)) {
            out.append(raw, pos, size);
        }
        pos += size;
    }
    return out;
}

size_t Next(std::string_view text, size_t pos) {
    if (pos >= text.size()) return text.size();
    pos = OnePoint(text, pos);
    while (pos < text.size() && IsMark(CodeAt(text, pos))) pos = OnePoint(text, pos);
    return pos < text.size() ? pos : text.size();
}

size_t Previous(std::string_view text, size_t pos) {
    if (pos > text.size()) pos = text.size();
    while (pos > 0) {
        --pos;
        while (pos > 0 && (static_cast<uint8_t>(text[pos]) & 0xC0U) == 0x80) --pos;
        if (!IsMark(CodeAt(text, pos))) break;
    }
    return pos;
}

size_t RunEnd(std::string_view text, size_t pos) {
    if (pos >= text.size()) return text.size();
    const Kind kind = KindAt(text, pos);
    while (pos < text.size() && KindAt(text, pos) == kind) pos = Next(text, pos);
    return pos;
}

size_t RunStart(std::string_view text, size_t pos) {
    if (pos == 0) return 0;
    pos = Previous(text, pos);
    const Kind kind = KindAt(text, pos);
    while (pos > 0 && KindAt(text, Previous(text, pos)) == kind) pos = Previous(text, pos);
    return pos;
}

size_t NextWord(std::string_view text, size_t pos) {
    pos = RunEnd(text, pos);
    return pos < text.size() && KindAt(text, pos) == Kind::Space ? RunEnd(text, pos) : pos;
}

size_t WordStart(std::string_view text, size_t pos) {
    if (pos > 0 && KindAt(text, Previous(text, pos)) == Kind::Space) pos = RunStart(text, pos);
    return RunStart(text, pos);
}

size_t Count(std::string_view text) {
    size_t count = 0;
    for (const char c : text) count += (static_cast<uint8_t>(c) & 0xC0U) != 0x80;
    return count;
}

size_t Bytes(std::string_view text, size_t count) {
    size_t pos = 0;
    while (count-- > 0 && pos < text.size()) pos = OnePoint(text, pos);
    return pos;
}

}  // namespace Lx::Utf8
