#include "cli/TextoTerminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>

#include "crypto/LxExplicar.h"
#include "crypto/LxFichero.h"

namespace Cli {

namespace {

struct Rango {
    char32_t desde, hasta;
};

constexpr Rango kSinAncho[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},
                               {0x64B, 0x65F},   {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064},
                               {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
constexpr Rango kDobles[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                             {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
                             {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

constexpr size_t kColumnasPorDefecto = 80;

template <size_t N>
[[nodiscard]] bool En(const Rango (&tabla)[N], char32_t c) {
    for (const Rango& r : tabla)
        if (c >= r.desde && c <= r.hasta) return true;
    return false;
}

[[nodiscard]] bool EsControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

[[nodiscard]] size_t AnchoDe(char32_t c) {
    if (En(kSinAncho, c)) return 0;
    return En(kDobles, c) ? 2 : 1;
}

// Length and smallest code point by the first byte; length 0 for a byte that can't be first.
void Cabecera(unsigned char b, size_t& longitud, char32_t& valor, char32_t& minimo) {
    constexpr struct {
        unsigned char mascara, marca;
        size_t longitud;
        char32_t minimo;
    } kFilas[] = {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
    longitud = 0;
    for (const auto& f : kFilas) {
        if ((b & f.mascara) != f.marca) continue;
        longitud = f.longitud;
        valor = static_cast<char32_t>(b & ~f.mascara & 0xFF);
        minimo = f.minimo;
    }
}

}  // namespace

size_t LeerUtf8(std::string_view texto, size_t pos, char32_t& c) {
    size_t longitud = 0;
    char32_t valor = 0, minimo = 0;
    Cabecera(static_cast<unsigned char>(texto[pos]), longitud, valor, minimo);
    c = kSustituto;
    if (longitud == 0 || longitud > texto.size() - pos) return 1;
    for (size_t i = 1; i < longitud; ++i) {
        const auto b = static_cast<unsigned char>(texto[pos + i]);
        if ((b & 0xC0) != 0x80) return 1;
        valor = (valor << 6) | (b & 0x3FU);
    }
    if (valor < minimo || valor > 0x10FFFF || (valor >= 0xD800 && valor <= 0xDFFF)) return 1;
    c = valor;
    return longitud;
}

std::string Utf8Valido(std::string_view texto) {
    std::string salida;
    for (size_t i = 0, n = 0; i < texto.size(); i += n) {
        char32_t c = 0;
        n = LeerUtf8(texto, i, c);
        if (c == kSustituto)
            salida += "\xEF\xBF\xBD";
        else
            salida += texto.substr(i, n);
    }
    return salida;
}

std::string Visible(std::string_view texto) {
    const std::string valido = Utf8Valido(texto);
    std::string salida;
    for (size_t i = 0, n = 0; i < valido.size(); i += n) {
        char32_t c = 0;
        n = LeerUtf8(valido, i, c);
        if (EsControl(c))
            salida += '?';
        else
            salida += valido.substr(i, n);
    }
    return salida;
}

size_t Ancho(std::string_view texto) {
    size_t ancho = 0;
    for (size_t i = 0; i < texto.size();) {
        char32_t c = 0;
        i += LeerUtf8(texto, i, c);
        ancho += AnchoDe(c);
    }
    return ancho;
}

std::string Recortar(std::string_view texto, size_t ancho) {
    if (Ancho(texto) <= ancho) return std::string(texto);
    if (ancho == 0) return {};
    size_t fin = 0, usado = 0;
    while (fin < texto.size()) {
        char32_t c = 0;
        const size_t n = LeerUtf8(texto, fin, c);
        if (usado + AnchoDe(c) > ancho - 1) break;
        usado += AnchoDe(c);
        fin += n;
    }
    return std::string(texto.substr(0, fin)) + "…";
}

std::string Rellenar(std::string_view texto, size_t ancho) {
    const size_t usado = Ancho(texto);
    return std::string(texto) + std::string(usado < ancho ? ancho - usado : 0, ' ');
}

size_t AnchoTerminal(int fd) {
    if (isatty(fd) == 0) return 0;
    winsize w{};
    return ioctl(fd, TIOCGWINSZ, &w) == 0 && w.ws_col > 0 ? w.ws_col : kColumnasPorDefecto;
}

void Decir(std::string_view frase) {
    static_cast<void>(Lx::Api::EscribirTodo(STDERR_FILENO, Visible(frase) + "\n"));
}

void DecirError(std::string_view frase) {
    Decir("velmora-cli: " + std::string(frase));
}

bool EscribirSalida(std::string_view texto) {
    if (Lx::Api::EscribirTodo(STDOUT_FILENO, texto)) return true;
    DecirError("no se pudo escribir en la salida estándar: " + Lx::Api::ExplicarErrno(errno) + ".");
    return false;
}

}  // namespace Cli
