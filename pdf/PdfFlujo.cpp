#include "pdf/PdfFlujo.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr int kPredictorTiff = 2;
constexpr int kPredictorPng = 10;

// The first element of an array of one, or the value itself.
std::string_view Unico(std::string_view valor) {
    std::string_view dentro;
    if (!Elementos(valor, dentro)) return valor;
    return QuitarBlancos(dentro.substr(0, FinLiteral(dentro, 0)));
}

size_t CuantosElementos(std::string_view valor) {
    std::string_view dentro;
    if (!Elementos(valor, dentro)) return valor.empty() || valor == "null" ? 0 : 1;
    size_t cuantos = 0;
    for (size_t pos = Blanco(dentro, 0); pos < dentro.size(); pos = Blanco(dentro, FinLiteral(dentro, pos))) ++cuantos;
    return cuantos;
}

bool LeerParametro(std::string_view dict, std::string_view clave, long minimo, long maximo, int& valor) {
    const std::string_view texto = UltimoValor(dict, clave);
    if (texto.empty()) return true;
    size_t pos = 0;
    long n = 0;
    if (!LeerEntero(texto, pos, n) || pos != texto.size() || n < minimo || n > maximo) return false;
    valor = static_cast<int>(n);
    return true;
}

// Runs the decoder over all of `datos`: into `destino`, or, when that is null, only to count. `hecho` receives the
// bytes that came out, at most one more than `tope`.
Decodificado Correr(std::string_view datos, char* destino, size_t tope, size_t& hecho) {
    z_stream z = {};
    if (inflateInit(&z) != Z_OK) return Decodificado::Excesivo;
    const std::unique_ptr<z_stream, void (*)(z_stream*)> guarda(&z, [](z_stream* p) { inflateEnd(p); });
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(datos.data()));
    z.avail_in = static_cast<uInt>(std::min<size_t>(datos.size(), UINT32_MAX));
    std::array<char, 64U << 10> perdido;
    for (hecho = 0;;) {
        char* const salida = destino != nullptr ? destino + hecho : perdido.data();
        const size_t hueco = destino != nullptr ? tope - hecho : perdido.size();
        z.next_out = reinterpret_cast<Bytef*>(salida);
        z.avail_out = static_cast<uInt>(hueco);
        const int r = inflate(&z, Z_NO_FLUSH);
        hecho += hueco - z.avail_out;
        if (r == Z_STREAM_END) return Decodificado::Bien;
        if (hecho > kTopeFlujo) return Decodificado::Excesivo;
        // Full where something is still to come: the caller finds out how much.
        if (destino != nullptr && z.avail_out == 0) return Decodificado::Excesivo;
        if (r != Z_OK) return Decodificado::Malo;
    }
}

// Most streams fit into what is made ready for them; of the others the size is found first, so that a promise of much
// takes no memory and nothing is copied as it grows.
Decodificado Inflar(std::string_view datos, std::string& salida) {
    size_t hecho = 0;
    std::string listo(std::clamp<size_t>(datos.size() * 16, 4096, 4U << 20), '\0');
    Decodificado r = Correr(datos, listo.data(), listo.size(), hecho);
    if (r != Decodificado::Excesivo) {
        salida.assign(listo, 0, hecho);
        return r;
    }
    std::string().swap(listo);
    r = Correr(datos, nullptr, 0, hecho);
    if (r != Decodificado::Bien) return r;
    if (hecho > kTopeFlujo) return Decodificado::Excesivo;
    salida.resize(hecho + 1);
    r = Correr(datos, salida.data(), salida.size(), hecho);
    salida.resize(hecho);
    return r;
}

// TIFF 6.0, section 14, for components of whole bytes.
bool DeshacerTiff(const Filtros& f, std::string& datos) {
    if (f.bits != 8) return false;
    const auto colores = static_cast<size_t>(f.colores);
    const size_t fila = colores * static_cast<size_t>(f.columnas);
    for (size_t ini = 0; ini < datos.size(); ini += fila) {
        const size_t fin = std::min(datos.size(), ini + fila);
        for (size_t i = ini + colores; i < fin; ++i) datos[i] = static_cast<char>(datos[i] + datos[i - colores]);
    }
    return true;
}

unsigned char Paeth(int a, int b, int c) {
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    return static_cast<unsigned char>(pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
}

// PNG (ISO/IEC 15948, 9): each row has its own filter before it, whatever the dictionary names.
bool DeshacerPng(const Filtros& f, std::string& datos) {
    const auto bits = static_cast<size_t>(f.colores) * static_cast<size_t>(f.bits);
    const size_t pixel = std::max<size_t>(1, bits / 8);
    const size_t fila = (bits * static_cast<size_t>(f.columnas) + 7) / 8;
    // In place: what is written always stands before what is read.
    size_t hecho = 0;
    for (size_t pos = 0; pos < datos.size();) {
        const int filtro = static_cast<unsigned char>(datos[pos++]);
        if (filtro > 4) return false;
        const size_t n = std::min(fila, datos.size() - pos);
        const auto en = [&](bool hay, size_t donde) { return hay ? static_cast<unsigned char>(datos[donde]) : 0; };
        for (size_t i = 0; i < n; ++i) {
            const int a = en(i >= pixel, hecho + i - pixel);
            const int b = en(hecho >= fila, hecho - fila + i);
            const int c = en(i >= pixel && hecho >= fila, hecho - fila + i - pixel);
            const int suma[] = {0, a, b, (a + b) / 2, filtro == 4 ? Paeth(a, b, c) : 0};
            datos[hecho + i] = static_cast<char>(static_cast<unsigned char>(datos[pos + i]) + suma[filtro]);
        }
        hecho += n;
        pos += n;
    }
    datos.resize(hecho);
    return true;
}

}  // namespace

Decodificado LeerFiltros(std::string_view dict, Filtros& filtros) {
    const std::string_view nombres = UltimoValor(dict, "Filter");
    if (CuantosElementos(nombres) == 0) return Decodificado::Bien;
    const std::string_view nombre = Unico(nombres);
    if (CuantosElementos(nombres) > 1 || (nombre != "/FlateDecode" && nombre != "/Fl")) {
        filtros.ajeno = nombres;
        return nombres.starts_with('/') || nombres.starts_with('[') ? Decodificado::Ajeno : Decodificado::Malo;
    }
    filtros.flate = true;
    std::string_view parametros = Unico(UltimoValor(dict, "DecodeParms"));
    if (parametros.empty() || parametros == "null") return Decodificado::Bien;
    std::string_view p;
    const bool bien = Interior(parametros, p) && LeerParametro(p, "Predictor", 1, 15, filtros.predictor) &&
                      LeerParametro(p, "Colors", 1, 32, filtros.colores) &&
                      LeerParametro(p, "BitsPerComponent", 1, 16, filtros.bits) &&
                      LeerParametro(p, "Columns", 1, 1 << 24, filtros.columnas);
    return bien ? Decodificado::Bien : Decodificado::Malo;
}

Decodificado Decodificar(std::string_view datos, const Filtros& filtros, std::string& salida) {
    if (!filtros.ajeno.empty()) return Decodificado::Ajeno;
    if (!filtros.flate) {
        if (datos.size() > kTopeFlujo) return Decodificado::Excesivo;
        salida = datos;
        return Decodificado::Bien;
    }
    const Decodificado r = Inflar(datos, salida);
    if (r != Decodificado::Bien || filtros.predictor == 1) return r;
    if (filtros.predictor >= kPredictorPng) return DeshacerPng(filtros, salida) ? r : Decodificado::Malo;
    return filtros.predictor == kPredictorTiff && DeshacerTiff(filtros, salida) ? r : Decodificado::Malo;
}

}  // namespace LxPdf
