#include "signer/PdfSello.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "cms/LxCms.h"
#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

using namespace LxPdf;

namespace {

bool EsDigito(char c) {
    return c >= '0' && c <= '9';
}

size_t LeerNumero(std::string_view texto, size_t& pos) {
    constexpr size_t kTope = std::numeric_limits<size_t>::max() / 10 - 1;
    size_t n = 0;
    for (; pos < texto.size() && EsDigito(texto[pos]); ++pos) {
        n = std::min(n, kTope) * 10 + static_cast<size_t>(texto[pos] - '0');
    }
    return n;
}

// --- UTF-8 (RFC 3629, 4)

constexpr char32_t kMalo = 0xFFFD;         // replacement character
constexpr char32_t kCortado = 0xFFFFFFFF;  // the text ends inside a sequence

// First bytes of the sequences longer than one byte; the second byte's range is what bars overlong forms, surrogates
// and numbers over U+10FFFF.
constexpr struct {
    unsigned char desde, hasta;      // first byte
    unsigned char minimo, maximo;    // second byte
    unsigned char siguientes, bits;  // bytes that follow; payload mask of the first byte
} kPrimeros[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 1, 0x1F}, {0xE0, 0xE0, 0xA0, 0xBF, 2, 0x0F}, {0xE1, 0xEC, 0x80, 0xBF, 2, 0x0F},
    {0xED, 0xED, 0x80, 0x9F, 2, 0x0F}, {0xEE, 0xEF, 0x80, 0xBF, 2, 0x0F}, {0xF0, 0xF0, 0x90, 0xBF, 3, 0x07},
    {0xF1, 0xF3, 0x80, 0xBF, 3, 0x07}, {0xF4, 0xF4, 0x80, 0x8F, 3, 0x07},
};

// Decodes the code point at `pos` and moves `pos` past it; past one byte only when it is wrong.
char32_t LeerUtf8(std::string_view texto, size_t& pos) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(texto[i]); };
    const unsigned char primero = byte(pos++);
    if (primero < 0x80) return primero;
    for (const auto& fila : kPrimeros) {
        if (primero < fila.desde || primero > fila.hasta) continue;
        char32_t punto = primero & fila.bits;
        for (size_t i = 0; i < fila.siguientes; ++i) {
            if (pos + i >= texto.size()) return kCortado;
            const unsigned char c = byte(pos + i);
            if (c < (i == 0 ? fila.minimo : 0x80) || c > (i == 0 ? fila.maximo : 0xBF)) return kMalo;
            punto = punto << 6 | (c & 0x3F);
        }
        pos += fila.siguientes;
        return punto;
    }
    return kMalo;
}

// Code points of the bytes 0x80 to 0x9F of WinAnsiEncoding; 0 where it has no character.
constexpr char32_t kWinAnsi80[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                     0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                     0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char ByteWinAnsi(char32_t punto) {
    if (punto == '\t' || punto == '\n' || punto == '\r') return ' ';
    if ((punto >= 0x20 && punto < 0x7F) || (punto >= 0xA0 && punto <= 0xFF)) return static_cast<char>(punto);
    const auto* fila = std::find(std::begin(kWinAnsi80), std::end(kWinAnsi80), punto);
    if (punto == 0 || fila == std::end(kWinAnsi80)) return '?';
    return static_cast<char>(0x80 + (fila - kWinAnsi80));
}

// --- The stamp

struct Lineas {
    std::string primera, segunda, tercera;
};

Lineas LineasDe(const std::string& nombre, const std::string& utc) {
    return {"Firmado digitalmente por:", nombre, "Fecha: " + FechaLegible(utc)};
}

// Rough widths of Helvetica at 7.5 points; the first row that lists the byte counts.
constexpr struct {
    std::string_view bytes;
    double ancho;
} kAnchos[] = {
    {" ,-.:", 2.1},
    {"!'Iil", 1.9},
    {"MWmw", 6.3},
    {"fjrt", 2.6},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZ", 5.1},
    {"0123456789", 4.2},
    {"abcdefghijklmnopqrstuvwxyz", 3.9},
};
constexpr double kAnchoOtro = 4.0;

double AnchoDe(std::string_view linea) {
    double suma = 0;
    for (const char c : linea) {
        const auto* fila = std::find_if(std::begin(kAnchos), std::end(kAnchos),
                                        [c](const auto& f) { return f.bytes.find(c) != std::string_view::npos; });
        suma += fila == std::end(kAnchos) ? kAnchoOtro : fila->ancho;
    }
    return suma;
}

}  // namespace

std::vector<size_t> ParsarLista(const std::string& lista, size_t paginas) {
    // Ranges opened minus ranges closed at each page: linear however often the list repeats itself.
    std::vector<ptrdiff_t> cambios(paginas + 1, 0);
    size_t pos = 0;
    while (pos < lista.size()) {
        if (lista[pos] == ',' || lista[pos] == ' ') {
            ++pos;
            continue;
        }
        const size_t a = LeerNumero(lista, pos);
        if (a < 1) {
            ++pos;
            continue;
        }
        size_t b = a;
        if (pos < lista.size() && lista[pos] == '-') b = LeerNumero(lista, ++pos);
        b = std::min(b, paginas);
        if (a > b) continue;
        ++cambios[a - 1];
        --cambios[b];
    }
    std::vector<size_t> indices;
    ptrdiff_t abiertos = 0;
    for (size_t n = 0; n < paginas; ++n) {
        abiertos += cambios[n];
        if (abiertos > 0) indices.push_back(n);
    }
    return indices;
}

std::string Escapar(const std::string& texto) {
    std::string salida;
    for (const char c : texto) {
        if (c == '(' || c == ')' || c == '\\') salida += '\\';
        salida += c;
    }
    return salida;
}

std::string TextoPdf(const std::string& texto) {
    const bool ascii =
        std::all_of(texto.begin(), texto.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return ascii ? "(" + Escapar(texto) + ")" : TextoPdfUtf16(texto);
}

std::string TextoPdfUtf16(const std::string& texto) {
    constexpr char kCifras[] = "0123456789ABCDEF";
    std::string salida = "<FEFF";
    for (const uint16_t unidad : Utf16Be(texto)) {
        for (int bits = 12; bits >= 0; bits -= 4) salida += kCifras[unidad >> bits & 0xF];
    }
    return salida + ">";
}

std::vector<uint16_t> Utf16Be(const std::string& texto) {
    std::vector<uint16_t> salida;
    for (size_t pos = 0; pos < texto.size();) {
        const char32_t punto = LeerUtf8(texto, pos);
        if (punto == kCortado) break;
        if (punto < 0x10000) {
            salida.push_back(static_cast<uint16_t>(punto));
            continue;
        }
        salida.push_back(static_cast<uint16_t>(0xD800 + ((punto - 0x10000) >> 10)));
        salida.push_back(static_cast<uint16_t>(0xDC00 + (punto & 0x3FF)));
    }
    return salida;
}

std::string WinAnsi(const std::string& utf8) {
    std::string salida;
    for (size_t pos = 0; pos < utf8.size();) {
        const char32_t punto = LeerUtf8(utf8, pos);
        salida += ByteWinAnsi(punto);
        if (punto == kCortado) break;
    }
    return salida;
}

std::string PdfFechaDesdeUtc(const std::string& utc) {
    return "D:" + (utc.size() >= 12 ? "20" + utc.substr(0, 12) : LxCms::Utc("%Y%m%d%H%M%S")) + "+00'00'";
}

std::string FechaLegible(const std::string& utc) {
    if (utc.size() < 12) return utc;
    const auto par = [&](size_t i) { return utc.substr(i * 2, 2); };
    return "20" + par(0) + "-" + par(1) + "-" + par(2) + " " + par(3) + ":" + par(4) + ":" + par(5) + " UTC";
}

std::string NumEnto(double x) {
    char texto[32];
    const auto r = std::to_chars(texto, texto + sizeof texto, x, std::chars_format::general, 6);
    return {texto, r.ptr};
}

std::string ContenidoSello(const std::string& nombre, const std::string& utc) {
    const Lineas lineas = LineasDe(nombre, utc);
    const auto cadena = [](const std::string& linea) { return "(" + Escapar(WinAnsi(linea)) + ") Tj"; };
    return "BT /Ft0 7.5 Tf 0 0 0 rg 4 22 Td " + cadena(lineas.primera) + " 0 -9 Td " + cadena(lineas.segunda) +
           " 0 -9 Td " + cadena(lineas.tercera) + " ET\n";
}

Sello ConstruirSello(const std::string& nombre, const std::string& utc) {
    const Lineas lineas = LineasDe(nombre, utc);
    const double texto = std::max({AnchoDe(lineas.primera), AnchoDe(lineas.segunda), AnchoDe(lineas.tercera)});
    return {std::clamp(std::ceil(texto + 9), 160.0, 420.0), ContenidoSello(nombre, utc)};
}

std::string CuerpoSello(const Sello& sello, LxPdf::Ref fuente) {
    return "<< /Type /XObject /Subtype /Form /FormType 1 /BBox [0 0 " + NumEnto(sello.ancho) + " " +
           NumEnto(kAltoSello) + "] /Resources << /Font << /Ft0 " + LxPdf::Texto(fuente) + " >> >> /Length " +
           std::to_string(sello.contenido.size()) + " >>\nstream\n" + sello.contenido + "endstream";
}

double AltoPagina(std::string_view dictPagina) {
    double caja[4];
    return RectDe(dictPagina, "MediaBox", caja) ? std::max(caja[1], caja[3]) : 842.0;
}

std::string RectSello(double ancho, size_t hueco, double altoPagina) {
    const double y1 = 40 + 36 * static_cast<double>(hueco);
    const double y2 = y1 + kAltoSello;
    if (!(y2 <= altoPagina - 20)) return "[0 0 0 0]";
    return "[" + NumEnto(50) + " " + NumEnto(y1) + " " + NumEnto(50 + ancho) + " " + NumEnto(y2) + "]";
}

}  // namespace LxPdfSigner::Interno
