// Texts for a terminal: UTF-8 (RFC 3629), column widths and the sentences that people read.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Cli {

inline constexpr char32_t kSustituto = 0xFFFD;

// Reads the character at byte `pos` (inside the text) into `c` and returns its length in bytes. A byte that starts no
// valid sequence has length 1 and reads as U+FFFD.
[[nodiscard]] size_t LeerUtf8(std::string_view texto, size_t pos, char32_t& c);

// Every invalid byte becomes U+FFFD.
[[nodiscard]] std::string Utf8Valido(std::string_view texto);

// Valid UTF-8 without control characters: file and certificate names come from others and must not drive the terminal.
[[nodiscard]] std::string Visible(std::string_view texto);

// Columns that a visible text takes.
[[nodiscard]] size_t Ancho(std::string_view texto);

// The text cut to `ancho` columns, the last of them "…" when something was cut.
[[nodiscard]] std::string Recortar(std::string_view texto, size_t ancho);

// The text with blanks up to `ancho` columns.
[[nodiscard]] std::string Rellenar(std::string_view texto, size_t ancho);

// Columns of the terminal behind `fd`; 0 when it isn't one.
[[nodiscard]] size_t AnchoTerminal(int fd);

// One line to standard error, without control characters.
void Decir(std::string_view frase);
// The same after the program's name.
void DecirError(std::string_view frase);

// All of `texto` to standard output. False, with the reason told, when it could not be written.
[[nodiscard]] bool EscribirSalida(std::string_view texto);

}  // namespace Cli
