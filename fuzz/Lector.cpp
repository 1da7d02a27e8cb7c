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
    Barrido barrido{std::string(texto)};
    for (const auto& [num, offset] : barrido.Objetos()) {
        std::string_view valor;
        if (offset >= size) abort();
        if (barrido.DictEn(num, valor) && valor.size() > size) abort();
    }
    if (!barrido.Objetos().empty()) static_cast<void>(barrido.PaginasDesde(barrido.Objetos().begin()->first));
    Campos campos;
    Fallo fallo;
    if (barrido.LeerCampos({}, campos, fallo)) static_cast<void>(NombreCampoLibre(campos.nombres));
    return 0;
}
