#include "ui/platform/pdf/Sellos.h"

#include "pdf/LxActualizacion.h"
#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"

namespace Lx::Pdf {

std::string SellosConservados(std::string_view datos) {
    LxPdf::Fallo fallo;
    const auto doc = LxPdf::Documento::Consultar(LxPdf::AbrirMemoria(datos), fallo);
    std::string catalogo;
    if (!doc || !doc->DictDe(doc->Raiz(), catalogo)) return {};
    const std::string valor = doc->Resolver(LxPdf::UltimoValor(catalogo, "AcroForm"));
    std::string_view formulario;
    if (!LxPdf::Interior(valor, formulario)) return {};
    if (doc->Resolver(LxPdf::UltimoValor(formulario, "NeedAppearances")) != "true") return {};
    LxPdf::Campos campos;
    if (!doc->LeerCampos({}, campos, fallo) || doc->WidgetsDeFirma().empty()) return {};
    LxPdf::Actualizacion act(datos.size(), doc->Base());
    act.Texto("\n");
    for (const LxPdf::Ref ref : doc->WidgetsDeFirma()) {
        std::string dict;
        if (doc->DictDe(ref, dict)) act.Objeto(ref, LxPdf::Envolver(LxPdf::PonerValor(dict, "Subtype", "/Stamp")));
    }
    const uint32_t libre = doc->Siguiente();
    const bool flujo = doc->Clase() == LxPdf::Seccion::Flujo;
    const std::string trailer = " /Size " + std::to_string(libre + (flujo ? 1 : 0)) + " /Root " +
                                LxPdf::Texto(doc->Raiz()) + " /Prev " + std::to_string(doc->Previo());
    if (flujo) {
        act.Flujo(libre, trailer);
    } else {
        act.Tabla(trailer);
    }
    return std::move(act.Bytes());
}

}  // namespace Lx::Pdf
