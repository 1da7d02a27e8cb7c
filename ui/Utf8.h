// Steps through UTF-8 as a person sees it: a base character and the combining marks U+0300 to U+036F behind it are one.
// All but Decode and Clean want well-formed text, which is what Clean gives.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Lx::Utf8 {

// Bytes of the well-formed sequence at `pos` (RFC 3629, 4) with its code point; 0 when there is none.
[[nodiscard]] size_t Decode(std::string_view text, size_t pos, char32_t& code);

// One line of well-formed text: each line break and each tab is a space, other control characters and bytes that are
// no UTF-8 are gone.
[[nodiscard]] std::string Clean(std::string_view raw);

// Where the next character begins, and the one before `pos`. They stop at the ends.
[[nodiscard]] size_t Next(std::string_view text, size_t pos);
[[nodiscard]] size_t Previous(std::string_view text, size_t pos);

// Where the next word begins, where the one at or before `pos` begins, and where the run that `pos` is in ends.
[[nodiscard]] size_t NextWord(std::string_view text, size_t pos);
[[nodiscard]] size_t WordStart(std::string_view text, size_t pos);
[[nodiscard]] size_t RunEnd(std::string_view text, size_t pos);
[[nodiscard]] size_t RunStart(std::string_view text, size_t pos);

// In code points.
[[nodiscard]] size_t Count(std::string_view text);
// Bytes of the first `count` code points.
[[nodiscard]] size_t Bytes(std::string_view text, size_t count);

}  // namespace Lx::Utf8
