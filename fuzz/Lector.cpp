// Any bytes to every function of the PDF reader; positions and views stay within the text.
#include <cstdint>
#include <cstdlib>

#include "pdf/LxBarrido.h"
#include "pdf/LxSintaxis.h"

using namespace LxPdf;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view texto(reinterpret_cast<const char*>(data), size);
    for (size_t pos = 0, n = 0; pos < size && n < 1000; ++n) {
        const size_t fin = FinLiteral(texto, pos);
        if (fin <= pos || fin > size) abort();
        pos = fin;
    }
    Claves claves(texto);
    for (Clave c; claves.Siguiente(c);) {
        double rect[4];
        if (c.ini > c.fin || c.fin > size) abort();
        static_cast<void>(RectDe(texto, c.nombre, rect));
    }
    std::string_view dict;
    static_cast<void>(LeerTrailer(texto, size / 2, dict));
    const Mapa mapa = BarridoObjetos(texto);
    for (const auto& [num, offset] : mapa.objetos) {
        if (offset >= size) abort();
        if (DictDe(texto, mapa, num, dict) && (dict.data() < texto.data() || dict.size() > size)) abort();
    }
    if (!mapa.objetos.empty()) static_cast<void>(BuscarTodasPaginas(texto, mapa, mapa.objetos.begin()->first));
    static_cast<void>(NombreCampoLibre(CamposFirma(texto, mapa).nombres));
    return 0;
}
