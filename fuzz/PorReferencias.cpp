// Any bytes as a document read by its cross-references, with all that is asked of one. The same bytes are then the
// contents of an object stream, and of an encoded one, in a document that leads to them.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "pdf/LxActualizacion.h"
#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"

using namespace LxPdf;

namespace {

void Preguntar(const std::string& datos) {
    Fallo fallo;
    const auto doc = Documento::Abrir(AbrirMemoria(datos), fallo);
    if ((doc == nullptr) != (fallo.defecto != Defecto::Ninguno)) abort();
    if (!doc) return;
    if (doc->Paginas().empty() || doc->EsNulo(doc->Raiz()) || doc->Raiz().num >= doc->Siguiente()) abort();
    Campos campos;
    if (doc->LeerCampos(doc->Paginas(), campos, fallo)) {
        const Permisos permisos = doc->LeerPermisos();
        if (permisos.p < 0 || permisos.p > 3 || campos.firmados + campos.vacios.size() != doc->Firmas().size()) abort();
    }
    for (const Documento::Sitio& s : doc->Sitios()) {
        std::string valor;
        if (s.ref.num >= doc->Siguiente() || (s.contenedor == 0 && doc->Base() + s.pos > UINT64_MAX / 2)) abort();
        static_cast<void>(doc->ValorDe(s.ref, valor));
    }
    uint64_t antes = 0;
    for (const Revision& r : doc->Revisiones()) {
        if (r.inicio < antes || r.fin > datos.size()) abort();
        antes = r.inicio;
    }
}

// A document whose catalogue and page lie in an object stream with these contents.
std::string ConFlujo(std::string_view contenido, int predictor, int n, int primero) {
    Actualizacion act(0);
    act.Texto("%PDF-1.7\n");
    const std::string filtro = predictor == 0 ? ""
                                              : " /Filter /FlateDecode /DecodeParms << /Predictor " +
                                                    std::to_string(predictor) + " /Columns 4 >>";
    act.Objeto({5, 0}, "<< /Type /ObjStm /N " + std::to_string(n) + " /First " + std::to_string(primero) + filtro +
                           " /Length " + std::to_string(contenido.size()) + " >>\nstream\n" + std::string(contenido) +
                           "\nendstream");
    for (uint32_t num = 1; num <= 4; ++num) act.Ajeno({num, 0}, 5, num - 1);
    act.Flujo(6, " /Size 7 /Root 1 0 R");
    return std::move(act.Bytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string datos(reinterpret_cast<const char*>(data), size);
    Preguntar(datos);
    if (size < 4 || size > 4096) return 0;
    constexpr int kPredictores[] = {0, 0, 0, 0, 1, 2, 10, 12};
    Preguntar(ConFlujo(std::string_view(datos).substr(3), kPredictores[data[0] % 8], data[1] % 8, data[2]));
    return 0;
}
