#include "signer/PdfPlan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"
#include "signer/PdfFrases.h"

namespace LxPdfSigner::Interno {

namespace {

using Lx::Motivo;
using LxPdf::Documento;
using LxPdf::Lectura;
using LxPdf::Ref;

// Indices of the pages to stamp, 0-based.
std::vector<size_t> IndicesSello(const Opciones& opciones, size_t total) {
    switch (opciones.modo) {
        case kPrimera:
            return {0};
        case kUltima:
            return {total - 1};
        case kTodas: {
            std::vector<size_t> todas(total);
            for (size_t i = 0; i < total; ++i) todas[i] = i;
            return todas;
        }
        case kPaginas:
            return ParsarLista(opciones.stampList, total);
        default:
            return {};
    }
}

// A page that stands twice in the tree is one object and gets one stamp.
void ElegirPaginas(const Lectura& doc, const Opciones& opciones, Plan& plan, Resultado& r) {
    const size_t total = doc.Paginas().size();
    std::set<Ref> vistas;
    for (const size_t i : IndicesSello(opciones, total)) {
        if (!vistas.insert(doc.Paginas()[i]).second) continue;
        plan.paginas.push_back(doc.Paginas()[i]);
        plan.indices.push_back(i);
    }
    if (plan.paginas.empty() && !opciones.stampList.empty()) {
        r.avisos.push_back({Motivo::PaginasInvalidas, "stampList \"" + opciones.stampList +
                                                          "\" no contiene indices validos para este documento (" +
                                                          std::to_string(total) +
                                                          " paginas); se usa firma invisible."});
    }
}

bool LeerAcroForm(const Lectura& doc, Plan& plan) {
    std::string dict;
    if (doc.RefDe(plan.catalogo, "AcroForm", plan.acroForm)) {
        plan.tipo = TipoAcroForm::Referencia;
        return doc.DictDe(plan.acroForm, dict);
    }
    if (LxPdf::ValorDe(plan.catalogo, "AcroForm").starts_with("<<")) plan.tipo = TipoAcroForm::EnLinea;
    return true;
}

void Numerar(const Lectura& doc, Plan& plan) {
    Ref ref{doc.Siguiente(), 0};
    const auto siguiente = [&ref] {
        const Ref este = ref;
        ++ref.num;
        return este;
    };
    if (plan.tipo == TipoAcroForm::Ausente) plan.acroForm = siguiente();
    plan.campo = siguiente();
    if (plan.Varias()) {
        plan.primerHijo = ref.num;
        ref.num += static_cast<uint32_t>(plan.paginas.size());
    }
    if (!plan.paginas.empty()) {
        plan.fuente = siguiente();
        plan.apariencia = siguiente();
    }
    plan.firma = ref;
}

// The objects that will be written again must be the document's last word on them.
bool SonVigentes(const Lectura& doc, const Plan& plan, Resultado& r) {
    if (!doc.Vigente(doc.Raiz())) {
        return Fallo(r, Motivo::Danado, "el catalogo del PDF no es un diccionario legible.");
    }
    const auto vigente = [&](Ref pagina) { return doc.Vigente(pagina); };
    const bool paginas = plan.paginas.empty() ? vigente(doc.Paginas().back())
                                              : std::all_of(plan.paginas.begin(), plan.paginas.end(), vigente);
    if (!paginas) return FalloPagina(r);
    if (plan.tipo == TipoAcroForm::Referencia && !doc.Vigente(plan.acroForm)) return FalloPerderia(r, "AcroForm");
    return true;
}

// What earlier signatures forbid, and what the person should hear. A new name keeps out of the locks that list names.
bool RespetarPermisos(const Documento& doc, const std::string& entrada, Plan& plan, Resultado& r) {
    const LxPdf::Permisos permisos = doc.LeerPermisos();
    if (permisos.excesivo) return Fallo(r, Explicar({LxPdf::Defecto::Excesivo, 0, {}}, entrada));
    if (permisos.p == 1) return Fallo(r, ExplicarCertificado(permisos));
    for (const LxPdf::Permisos::Cerrojo& c : permisos.cerrojos)
        if (c.accion == "Include") plan.campos.nombres.insert(c.nombres.begin(), c.nombres.end());
    plan.nombreCampo = LxPdf::NombreCampoLibre(plan.campos.nombres);
    for (Lx::Aviso& aviso : AvisosDe(doc, permisos, plan.campos, plan.nombreCampo, !plan.paginas.empty())) {
        r.avisos.push_back(std::move(aviso));
    }
    return true;
}

// The person would sign other pages than those that were shown.
bool SonLasVistas(const Lectura& doc, int32_t vistas, Resultado& r) {
    const size_t hay = doc.Paginas().size();
    if (vistas < 1 || static_cast<size_t>(vistas) == hay) return true;
    const auto paginas = [](size_t n) { return std::to_string(n) + (n == 1 ? " página" : " páginas"); };
    return Fallo(r, Motivo::PaginasDistintas,
                 "el documento que se firmaría tiene " + paginas(hay) + " y el que se ve, " +
                     paginas(static_cast<size_t>(vistas)) + ": no se firma lo que no se ha visto.");
}

}  // namespace

bool Planificar(Lectura& doc, const Documento* porReferencias, const Pedido& pedido, Plan& plan, Resultado& r) {
    if (!doc.DictDe(doc.Raiz(), plan.catalogo)) {
        return Fallo(r, Motivo::Danado, "el catalogo del PDF no es un diccionario legible.");
    }
    if (!SonLasVistas(doc, pedido.opciones.paginasVistas, r)) return false;
    ElegirPaginas(doc, pedido.opciones, plan, r);
    std::string dict;
    if (!doc.DictDe(plan.paginas.empty() ? doc.Paginas().back() : plan.paginas.front(), dict)) return FalloPagina(r);
    if (!LeerAcroForm(doc, plan)) return FalloPerderia(r, "AcroForm");
    LxPdf::Fallo fallo;
    if (!doc.LeerCampos(plan.paginas, plan.campos, fallo)) return Fallo(r, Explicar(fallo, pedido.entrada));
    if (!SonVigentes(doc, plan, r)) return false;
    plan.nombreCampo = LxPdf::NombreCampoLibre(plan.campos.nombres);
    if (plan.campos.firmados > 0) {
        r.nota = "el documento ya contenia " + std::to_string(plan.campos.firmados) +
                 " firma(s); se anade otra sin alterar las anteriores.";
    }
    if (porReferencias != nullptr && !RespetarPermisos(*porReferencias, pedido.entrada, plan, r)) return false;
    if (!plan.paginas.empty()) plan.sello = ConstruirSello(pedido.nombre, pedido.utc);
    Numerar(doc, plan);
    return true;
}

}  // namespace LxPdfSigner::Interno
