// Texts and numbers that the engine writes into a PDF: the pages that get a stamp, its place and drawing, text strings
// and dates (ISO 32000-1, 7.3.4, 7.9.2 and 7.9.4). A time `utc` is text by "%y%m%d%H%M%SZ".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxLectura.h"

namespace LxPdfSigner::Interno {

inline constexpr int kAltoSello = 32;

// Page indices from 0, ascending, each once, of a list such as "1, 3, 5-8". Pages that the document hasn't, reversed
// ranges and other characters add nothing; numbers saturate.
[[nodiscard]] std::vector<size_t> ParsarLista(const std::string& lista, size_t paginas);

// A backslash before each "(", ")" and "\". Line ends stay: inside a literal string every one reads as a line feed.
[[nodiscard]] std::string Escapar(const std::string& texto);

// A text string object: literal when `texto` is ASCII, else TextoPdfUtf16.
[[nodiscard]] std::string TextoPdf(const std::string& texto);
// The same as a hex string of UTF-16BE with its byte order mark.
[[nodiscard]] std::string TextoPdfUtf16(const std::string& texto);

// UTF-16 code units of UTF-8 text. Each byte that can't start or go on a sequence (overlong forms, surrogates and
// numbers over U+10FFFF included) gives U+FFFD, so the result is always well formed; a sequence cut short by the end of
// the text ends the output.
[[nodiscard]] std::vector<uint16_t> Utf16Be(const std::string& texto);

// WinAnsiEncoding (ISO 32000-1, D.2) of UTF-8 text. Tabs and line ends become spaces, as a shown string has no lines;
// other controls, what the encoding lacks and each wrong byte become "?". Escape the result, not the input.
[[nodiscard]] std::string WinAnsi(const std::string& utf8);

// PDF date of `utc`; of the time now when `utc` is under 12 bytes.
[[nodiscard]] std::string PdfFechaDesdeUtc(const std::string& utc);
// "2026-11-15 17:05:09 UTC"; a text under 12 bytes comes back as it is.
[[nodiscard]] std::string FechaLegible(const std::string& utc);

// The number by "%g", with a point whatever the locale.
[[nodiscard]] std::string NumEnto(double x);

// Content stream of the stamp's three lines, for a WinAnsi font named /Ft0.
[[nodiscard]] std::string ContenidoSello(const std::string& nombre, const std::string& utc);

struct Sello {
    double ancho = 0;  // points
    std::string contenido;
};
// The stamp with its width estimated from the UTF-8 bytes of its lines, 160 to 420 points.
[[nodiscard]] Sello ConstruirSello(const std::string& nombre, const std::string& utc);

// Body of the stamp's form XObject (ISO 32000-1, 8.10) with the font object that it shows its text in.
[[nodiscard]] std::string CuerpoSello(const Sello& sello, LxPdf::Ref fuente);

// Top edge of a page: the larger y of its own /MediaBox, 842 when that can't be read (nothing is inherited).
[[nodiscard]] double AltoPagina(std::string_view dictPagina);

// /Rect of a stamp over `hueco` earlier ones, "[0 0 0 0]" when it would come closer than 20 points to the top edge.
[[nodiscard]] std::string RectSello(double ancho, size_t hueco, double altoPagina);

}  // namespace LxPdfSigner::Interno
