#include "app/AjusteTexto.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ui/LxCanvas.h"

namespace Orvanta {

namespace {

// Controls, and what has no width or turns the direction of writing about. Of one length in UTF-8, bytes keep the
// order.
constexpr struct {
    const char *desde, *hasta;
} kEnganosos[] = {
    {"\u0080", "\u009f"}, {"\u061c", "\u061c"}, {"\u200b", "\u200f"},
    {"\u2028", "\u202e"}, {"\u2060", "\u206f"}, {"\ufeff", "\ufeff"},
};

[[nodiscard]] bool EsContinuacion(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Bytes of the longest start of `texto`, of one character at least, that fits.
[[nodiscard]] size_t LargoQueCabe(const std::string& texto, int tamano, int ancho) {
    size_t fin = FinDeCaracteres(texto, 1);
    for (size_t n = 2; fin != texto.npos; ++n) {
        const size_t siguiente = FinDeCaracteres(texto, n);
        if (siguiente == texto.npos || !Cabe(texto.substr(0, siguiente), tamano, ancho)) break;
        fin = siguiente;
    }
    return fin == texto.npos ? texto.size() : fin;
}

// Of a text without line feeds.
[[nodiscard]] std::string ParrafoEnLineas(const std::string& texto, int tamano, int ancho) {
    std::string salida, linea;
    const auto cerrar = [&] {
        if (!salida.empty()) salida += '\n';
        salida += linea;
        linea.clear();
    };
    for (size_t i = 0; i < texto.size();) {
        const size_t fin = std::min(texto.find(' ', i), texto.size());
        std::string palabra = texto.substr(i, fin - i);
        i = fin + 1;
        if (!linea.empty()) {
            std::string larga = linea;
            larga.append(1, ' ').append(palabra);
            if (Cabe(larga, tamano, ancho)) {
                linea = std::move(larga);
                continue;
            }
            cerrar();
        }
        // One character is left whole, or there would be no end to it.
        while (FinDeCaracteres(palabra, 1) < palabra.size() && !Cabe(palabra, tamano, ancho)) {
            linea = palabra.substr(0, LargoQueCabe(palabra, tamano, ancho));
            palabra.erase(0, linea.size());
            cerrar();
        }
        linea = std::move(palabra);
    }
    if (!linea.empty()) cerrar();
    return salida;
}

}  // namespace

size_t FinDeCaracteres(std::string_view texto, size_t cuantos) {
    size_t vistos = 0;
    for (size_t i = 0; i < texto.size(); ++i) {
        if (EsContinuacion(texto[i])) continue;
        if (vistos == cuantos) return i;
        ++vistos;
    }
    return vistos == cuantos ? texto.size() : texto.npos;
}

std::string ConFinal(const std::string& texto, size_t cuantos) {
    size_t total = 0;
    for (const char c : texto) total += EsContinuacion(c) ? 0 : 1;
    return total <= cuantos ? texto : "…" + texto.substr(FinDeCaracteres(texto, total - cuantos));
}

std::string NombreFichero(const std::string& ruta) {
    const size_t barra = ruta.find_last_of("/\\");
    return barra == ruta.npos ? ruta : ruta.substr(barra + 1);
}

std::string SinControl(const std::string& texto, bool lineas) {
    std::string salida;
    for (size_t i = 0; i < texto.size();) {
        const size_t fin = i + std::min(FinDeCaracteres(std::string_view(texto).substr(i), 1), texto.size() - i);
        const std::string caracter = texto.substr(i, fin - i);
        i = fin;
        const bool control = static_cast<unsigned char>(caracter[0]) < ' ' || caracter[0] == '\x7f';
        const bool engana = std::any_of(std::begin(kEnganosos), std::end(kEnganosos), [&](const auto& f) {
            return caracter.size() == std::string_view(f.desde).size() && caracter >= f.desde && caracter <= f.hasta;
        });
        if (!engana) salida += control && !(lineas && caracter == "\n") ? " " : caracter;
    }
    return salida;
}

std::string Citado(const std::string& nombre, size_t cuantos) {
    std::string texto = SinControl(nombre);
    for (const std::string_view comilla : {"«", "»"})
        for (size_t i = 0; (i = texto.find(comilla, i)) != texto.npos;) texto.replace(i, comilla.size(), "'");
    const size_t fin = FinDeCaracteres(texto, cuantos);
    return "«" + (fin < texto.size() ? texto.substr(0, fin) + "…" : texto) + "»";
}

bool Cabe(const std::string& texto, int tamano, int ancho) {
    Lx::CCanvas* c = Lx::MeasuringCanvas();
    return c == nullptr || c->MeasureText(texto, "system", tamano, false, false).cx <= ancho;
}

std::string Recortado(const std::string& texto, int tamano, int ancho) {
    if (Cabe(texto, tamano, ancho)) return texto;
    size_t caben = 0, sobran = texto.size();  // characters: the bounds of what is looked for
    while (sobran - caben > 1) {
        const size_t medio = caben + (sobran - caben) / 2;
        const size_t fin = FinDeCaracteres(texto, medio);
        (fin != texto.npos && Cabe(texto.substr(0, fin) + "…", tamano, ancho) ? caben : sobran) = medio;
    }
    return texto.substr(0, FinDeCaracteres(texto, caben)) + "…";
}

std::string EnLineas(const std::string& texto, int tamano, int ancho) {
    std::string salida;
    for (size_t i = 0; i <= texto.size();) {
        const size_t fin = std::min(texto.find('\n', i), texto.size());
        if (i > 0) salida += '\n';
        salida += ParrafoEnLineas(texto.substr(i, fin - i), tamano, ancho);
        i = fin + 1;
    }
    return salida;
}

}  // namespace Orvanta
