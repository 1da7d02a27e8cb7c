#include "signer/PdfObjetos.h"

#include "pdf/LxSintaxis.h"
#include "signer/PdfFrases.h"
#include "signer/PdfLugar.h"

namespace LxPdfSigner::Interno {

namespace {

using Lx::Motivo;
using LxPdf::Actualizacion;
using LxPdf::Lectura;
using LxPdf::Ref;
using LxPdf::Texto;

// The writing of one update: what is written about, where, and what went wrong.
struct Escritor {
    const Lectura& doc;
    const Plan& plan;
    Actualizacion& act;
    Resultado& r;

    bool Pagina(Ref pagina, Ref anotacion, std::string& rect);
    void Estampar(size_t cual, const std::string& rect);
    bool EditarAcroForm(std::string_view dict, std::string& nuevo);
    bool AcroForm();
    void Apariencia();
    bool Invisible();
    bool UnaPagina();
    bool VariasPaginas();
};

// The page with the annotation in its /Annots; `rect` gets the place of its stamp.
bool Escritor::Pagina(Ref pagina, Ref anotacion, std::string& rect) {
    std::string dict;
    std::string nuevo;
    if (!doc.DictDe(pagina, dict)) return FalloPagina(r);
    if (!LxPdf::MeterRef(doc, dict, "Annots", anotacion, nuevo)) return FalloPerderia(r, "Annots");
    const auto ocupados = plan.campos.sellos.find(pagina.num);
    rect = RectSello(plan.sello.ancho, ocupados == plan.campos.sellos.end() ? 0 : ocupados->second, AltoPagina(dict));
    act.Objeto(pagina, LxPdf::Envolver(nuevo));
    return true;
}

// The stamp of a page is there: the first that can be seen is told of.
void Escritor::Estampar(size_t cual, const std::string& rect) {
    constexpr size_t kHasta = 64;  // pages are looked at, each with what it inherits
    if (r.estampa.pagina < 0 && cual < kHasta) r.estampa = LugarVisto(doc, plan.indices[cual], rect);
}

bool Escritor::EditarAcroForm(std::string_view dict, std::string& nuevo) {
    if (!LxPdf::MeterRef(doc, dict, "Fields", plan.campo, nuevo)) return FalloPerderia(r, "Fields");
    nuevo = LxPdf::PonerValor(nuevo, "SigFlags", "3");
    size_t ini = 0;
    size_t fin = 0;
    if (!LxPdf::ValorClave(nuevo, "DA", ini, fin)) nuevo += " /DA (0 0 0 rg /Helv 0 Tf)";
    if (!LxPdf::ValorClave(nuevo, "DR", ini, fin)) {
        nuevo += " /DR << /Font << /Helv << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>";
    }
    return true;
}

bool Escritor::AcroForm() {
    std::string nuevo;
    std::string dict;
    std::string_view enLinea;
    switch (plan.tipo) {
        case TipoAcroForm::Referencia:
            // A second version of an object that this update already holds would undo the first.
            if (act.Tiene(plan.acroForm.num) || !doc.DictDe(plan.acroForm, dict)) return FalloPerderia(r, "AcroForm");
            if (!EditarAcroForm(dict, nuevo)) return false;
            act.Objeto(plan.acroForm, LxPdf::Envolver(nuevo));
            return true;
        case TipoAcroForm::EnLinea:
            enLinea = LxPdf::ValorDe(plan.catalogo, "AcroForm");
            if (enLinea.size() < 4 || !enLinea.ends_with(">>")) return FalloPerderia(r, "AcroForm");
            if (!EditarAcroForm(enLinea.substr(2, enLinea.size() - 4), nuevo)) return false;
            act.Objeto(doc.Raiz(),
                       LxPdf::Envolver(LxPdf::PonerValor(plan.catalogo, "AcroForm", LxPdf::Envolver(nuevo))));
            return true;
        case TipoAcroForm::Ausente:
            act.Objeto(doc.Raiz(), LxPdf::Envolver(LxPdf::PonerValor(plan.catalogo, "AcroForm", Texto(plan.acroForm))));
            if (!EditarAcroForm({}, nuevo)) return false;
            act.Objeto(plan.acroForm, LxPdf::Envolver(nuevo));
            return true;
    }
    return false;
}

// The font and the form XObject that all widgets of the signature show.
void Escritor::Apariencia() {
    act.Objeto(plan.fuente, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
    act.Objeto(plan.apariencia, CuerpoSello(plan.sello, plan.fuente));
}

bool Escritor::Invisible() {
    std::string rect;
    const Ref pagina = doc.Paginas().back();
    if (!Pagina(pagina, plan.campo, rect) || !AcroForm()) return false;
    act.Objeto(plan.campo, "<< /Type /Annot /Subtype /Widget /FT /Sig /T (" + plan.nombreCampo +
                               ") /Rect [0 0 0 0] /F 4 /P " + Texto(pagina) + " /V " + Texto(plan.firma) + " >>");
    return true;
}

bool Escritor::UnaPagina() {
    std::string rect;
    const Ref pagina = plan.paginas.front();
    if (!Pagina(pagina, plan.campo, rect) || !AcroForm()) return false;
    Estampar(0, rect);
    act.Objeto(plan.campo, "<< /Type /Annot /Subtype /Widget /FT /Sig /T (" + plan.nombreCampo + ") /Rect " + rect +
                               " /F 4 /P " + Texto(pagina) + " /V " + Texto(plan.firma) + " /AP << /N " +
                               Texto(plan.apariencia) + " >> >>");
    Apariencia();
    return true;
}

bool Escritor::VariasPaginas() {
    Apariencia();
    std::string hijos;
    Ref hijo{plan.primerHijo, 0};
    for (size_t i = 0; i < plan.paginas.size(); ++i) {
        const Ref pagina = plan.paginas[i];
        std::string rect;
        if (!Pagina(pagina, hijo, rect)) return false;
        Estampar(i, rect);
        // /V stands in every kid too: some viewers look for it there and show the document as not signed otherwise.
        act.Objeto(hijo, "<< /Type /Annot /Subtype /Widget /Parent " + Texto(plan.campo) + " /V " + Texto(plan.firma) +
                             " /P " + Texto(pagina) + " /F 4 /Rect " + rect + " /AP << /N " + Texto(plan.apariencia) +
                             " >> >>");
        hijos += (hijos.empty() ? "" : " ") + Texto(hijo);
        ++hijo.num;
    }
    if (!AcroForm()) return false;
    act.Objeto(plan.campo,
               "<< /FT /Sig /T (" + plan.nombreCampo + ") /V " + Texto(plan.firma) + " /Kids [" + hijos + "] >>");
    return true;
}

}  // namespace

bool EscribirObjetos(const Lectura& doc, const Plan& plan, Actualizacion& act, Resultado& r) {
    char ultimo = '\0';
    const uint64_t total = doc.Bytes().Longitud();
    if (total == 0 || !doc.Bytes().Leer(total - 1, 1, &ultimo)) {
        return Fallo(r, Motivo::Cambiado,
                     "no se pudo leer el documento hasta el final: puede que otro programa lo "
                     "haya cambiado.");
    }
    if (ultimo != '\n' && ultimo != '\r') act.Texto("\n");
    Escritor escritor{doc, plan, act, r};
    if (plan.paginas.empty()) return escritor.Invisible();
    return plan.Varias() ? escritor.VariasPaginas() : escritor.UnaPagina();
}

}  // namespace LxPdfSigner::Interno
