#include "ui/platform/pdf/KeptStamps.h"

#include "pdf/LxActualizacion.h"
#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"

namespace Lx::Pdf {

std::string KeptStamps(std::string_view data, bool& isEncrypted) {
    LxPdf::Fallo failure;
    const auto doc = LxPdf::Documento::Consultar(LxPdf::AbrirMemoria(data), failure);
    isEncrypted = failure.defecto == LxPdf::Defecto::Cifrado;
    std::string catalog;
    if (!doc || !doc->DictDe(doc->Raiz(), catalog)) return {};
    const std::string value = doc->Resolver(LxPdf::UltimoValor(catalog, "AcroForm"));
    std::string_view form;
    if (!LxPdf::Interior(value, form)) return {};
    if (doc->Resolver(LxPdf::UltimoValor(form, "NeedAppearances")) != "true") return {};
    LxPdf::Campos fields;
    if (!doc->LeerCampos({}, fields, failure) || doc->WidgetsDeFirma().empty()) return {};
    LxPdf::Actualizacion update(data.size(), doc->Base());
    update.Texto("\n");
    for (const LxPdf::Ref ref : doc->WidgetsDeFirma()) {
        std::string dict;
        if (doc->DictDe(ref, dict)) update.Objeto(ref, LxPdf::Envolver(LxPdf::PonerValor(dict, "Subtype", "/Stamp")));
    }
    const uint32_t next = doc->Siguiente();
    const bool stream = doc->Clase() == LxPdf::Seccion::Flujo;
    const std::string trailer = " /Size " + std::to_string(next + (stream ? 1 : 0)) + " /Root " +
                                LxPdf::Texto(doc->Raiz()) + " /Prev " + std::to_string(doc->Previo());
    if (stream) {
        update.Flujo(next, trailer);
    } else {
        update.Tabla(trailer);
    }
    return std::move(update.Bytes());
}

}  // namespace Lx::Pdf
