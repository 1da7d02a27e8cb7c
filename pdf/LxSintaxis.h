// PDF syntax (ISO 32000-1, 7.2 and 7.3) read from bytes by positions, without an object model. Nothing throws on
// malformed input. Views that come out point into the text that went in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace LxPdf {

enum class Clase : unsigned char { Regular, Blanco, Delimitador };

// Character classes (ISO 32000-1, 7.2.2) by byte. In the header because the reader asks at every byte of a dictionary.
inline constexpr std::array<Clase, 256> kClases = [] {
    std::array<Clase, 256> clases{};
    for (char c : {'\0', '\t', '\n', '\f', '\r', ' '}) clases[static_cast<unsigned char>(c)] = Clase::Blanco;
    for (char c : {'%', '(', ')', '/', '<', '>', '[', ']', '{', '}'}) {
        clases[static_cast<unsigned char>(c)] = Clase::Delimitador;
    }
    return clases;
}();

// NUL, tab, LF, FF, CR and space.
[[nodiscard]] inline bool EsBlanco(char c) {
    return kClases[static_cast<unsigned char>(c)] == Clase::Blanco;
}
// White space and % ( ) / < > [ ] { }.
[[nodiscard]] inline bool EsDelim(char c) {
    return kClases[static_cast<unsigned char>(c)] != Clase::Regular;
}

// Position of the first byte from `pos` on that is neither white space nor in a comment; the length when there is none.
// Mostly it is `pos` itself, which is found out in line.
[[nodiscard]] size_t BlancoDesde(std::string_view texto, size_t pos);
[[nodiscard]] inline size_t Blanco(std::string_view texto, size_t pos) {
    return pos < texto.size() && texto[pos] != '%' && !EsBlanco(texto[pos]) ? pos : BlancoDesde(texto, pos);
}

// Without leading and trailing white space; comments stay.
[[nodiscard]] std::string_view QuitarBlancos(std::string_view texto);

// Position just after the value that starts at `pos` or after the white space there. Always moves on by a byte at
// least, unless at the end. A value nested over 256 levels deep ends at the text's end.
[[nodiscard]] size_t FinLiteral(std::string_view texto, size_t pos);

// One key of a dictionary's inner text: its value is dict[ini, fin), with the white space before it.
struct Clave {
    std::string_view nombre;  // without the slash
    size_t ini = 0;
    size_t fin = 0;
};

// Walks the keys of the top level in order. What isn't a key and its value is passed over.
class Claves {
  public:
    explicit Claves(std::string_view dict) : dict_(dict) {}
    [[nodiscard]] bool Siguiente(Clave& clave);

  private:
    std::string_view dict_;
    size_t pos_ = 0;
};

// Finds /clave at the top level of a dictionary's inner text: the value is dict[ini, fin), with the white space before
// it.
[[nodiscard]] bool ValorClave(std::string_view dict, std::string_view clave, size_t& ini, size_t& fin);

// The value of /clave without the white space and comments before it, empty when there is none.
[[nodiscard]] std::string_view ValorDe(std::string_view dict, std::string_view clave);

// The same as viewers look it up: names are compared with their #xx escapes resolved (ISO 32000-1, 7.3.5), and of a key
// that stands twice the last value counts.
[[nodiscard]] std::string_view UltimoValor(std::string_view dict, std::string_view clave);

// A key that stands twice, or is spelt with escapes that it doesn't need: readers choose different values.
[[nodiscard]] bool ClavesAmbiguas(std::string_view dict);

// Inner text of the dictionary that is the value of `texto`; it must be closed.
[[nodiscard]] bool Interior(std::string_view texto, std::string_view& dict);

// What stands between the brackets of the array that is the value of `texto`, trimmed.
[[nodiscard]] bool Elementos(std::string_view texto, std::string_view& elementos);

// Offset of the next "obj" from `pos` on, the length when there is none. The scan of a large document is nothing but
// this.
[[nodiscard]] size_t BuscarObj(std::string_view texto, size_t pos);

// Reads a whole number at or after `pos`, past white space, and moves `pos` behind it. Numbers saturate. False, with
// `pos` unchanged, when no digit stands there.
[[nodiscard]] bool LeerEntero(std::string_view texto, size_t& pos, long& valor);

// Reads "N G R" at the start of `texto`; `resto`, when given, receives what follows. Numbers saturate.
[[nodiscard]] bool LeerReferencia(std::string_view texto, long& num, long& gen, std::string_view* resto = nullptr);

// Calls f(num, gen) for every reference "num gen R" that the value holds at any depth, in order. Strings, names and
// comments hold none.
template <class F>
void ParaCadaReferencia(std::string_view valor, F f);

// The bytes of a literal or hexadecimal string (ISO 32000-1, 7.3.4); false when `texto` is neither.
[[nodiscard]] bool BytesDeCadena(std::string_view texto, std::string& bytes);

// A text string (ISO 32000-1, 7.9.2.2) in UTF-8: PDFDocEncoding, UTF-16BE or UTF-8 by its byte order mark. Empty when
// `texto` is no string.
[[nodiscard]] std::string Utf8DeCadena(std::string_view texto);

// The value of /clave is a reference with generation 0 to an object number from 1 on.
[[nodiscard]] bool RefDe(std::string_view dict, std::string_view clave, long& num);

// Four numbers after the "[" of the value of /clave, as %lf reads them.
[[nodiscard]] bool RectDe(std::string_view dict, std::string_view clave, double (&v)[4]);

// Appends "N 0 obj", the body and "endobj".
void Obj(std::string& salida, long num, std::string_view cuerpo);

// --- What the reading of references needs in line: it sees every byte of every object.

// Position past the string, comment or name at `pos`, or past one byte.
[[nodiscard]] size_t SaltarOpaco(std::string_view texto, size_t pos);

template <class F>
void ParaCadaReferencia(std::string_view valor, F f) {
    constexpr uint64_t kNinguno = UINT64_MAX;
    uint64_t num = kNinguno;
    uint64_t gen = kNinguno;
    for (size_t pos = 0; pos < valor.size();) {
        const char c = valor[pos];
        if (EsBlanco(c)) {
            ++pos;
        } else if (c >= '0' && c <= '9') {
            uint64_t n = 0;
            for (; pos < valor.size() && valor[pos] >= '0' && valor[pos] <= '9'; ++pos) {
                n = n > UINT32_MAX ? n : n * 10 + static_cast<uint64_t>(valor[pos] - '0');
            }
            const bool entero = pos >= valor.size() || EsDelim(valor[pos]);
            num = gen;
            gen = entero ? n : kNinguno;
            while (pos < valor.size() && !EsDelim(valor[pos])) ++pos;
        } else if (c == '%') {
            pos = SaltarOpaco(valor, pos);
        } else {
            if (c == 'R' && num != kNinguno && gen != kNinguno && (pos + 1 >= valor.size() || EsDelim(valor[pos + 1])))
                f(num, gen);
            num = gen = kNinguno;
            pos = SaltarOpaco(valor, pos);
        }
    }
}

}  // namespace LxPdf
