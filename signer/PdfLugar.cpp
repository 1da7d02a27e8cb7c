#include "signer/PdfLugar.h"

#include <algorithm>
#include <utility>

#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

namespace {

using LxPdf::Lectura;
using LxPdf::Ref;

constexpr int kNiveles = 64;

struct Caja {
    double x1 = 0, y1 = 0, x2 = 612, y2 = 792;  // what viewers take when a page says nothing
};

// The value of an attribute that pages inherit, as it stands; empty when there is none.
std::string Heredado(const Lectura& doc, Ref nodo, std::string_view clave) {
    std::string dict;
    for (int i = 0; i < kNiveles && doc.DictDe(nodo, dict); ++i) {
        if (const std::string_view valor = LxPdf::UltimoValor(dict, clave); !valor.empty()) return std::string(valor);
        if (!doc.RefDe(dict, "Parent", nodo)) break;
    }
    return {};
}

// The same with the reference that it may be followed.
std::string Seguido(const Lectura& doc, std::string valor) {
    long num = 0;
    long gen = 0;
    if (!LxPdf::LeerReferencia(valor, num, gen)) return valor;
    std::string resuelto;
    const std::string dict = "/V " + valor;
    Ref ref;
    return doc.RefDe(dict, "V", ref) && doc.ValorDe(ref, resuelto) ? resuelto : std::string();
}

bool CajaDe(const Lectura& doc, Ref pagina, std::string_view clave, Caja& caja) {
    std::string elementos;
    if (!doc.ArrayDe(Heredado(doc, pagina, clave), elementos)) return false;
    std::string llano = "/R [";
    for (size_t pos = LxPdf::Blanco(elementos, 0); pos < elementos.size();) {
        const size_t fin = LxPdf::FinLiteral(elementos, pos);
        llano += " " + Seguido(doc, elementos.substr(pos, fin - pos));
        pos = LxPdf::Blanco(elementos, fin);
    }
    double v[4];
    if (!LxPdf::RectDe(llano + "]", "R", v)) return false;
    caja = {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]), std::max(v[1], v[3])};
    return true;
}

Caja Cruce(const Caja& a, const Caja& b) {
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

// Quarter turns, clockwise.
int GiroDe(const Lectura& doc, Ref pagina) {
    const std::string texto = Seguido(doc, Heredado(doc, pagina, "Rotate"));
    size_t pos = 0;
    long grados = 0;
    if (!LxPdf::LeerEntero(texto, pos, grados)) return 0;
    return static_cast<int>((grados % 360 + 360) % 360 / 90);
}

}  // namespace

Estampa LugarVisto(const Lectura& doc, size_t indice, const std::string& rect) {
    const Ref pagina = doc.Paginas()[indice];
    Caja hoja;
    Caja recorte;
    double v[4];
    static_cast<void>(CajaDe(doc, pagina, "MediaBox", hoja));
    if (CajaDe(doc, pagina, "CropBox", recorte)) hoja = Cruce(hoja, recorte);
    if (!LxPdf::RectDe("/R " + rect, "R", v)) return {};
    const Caja c = Cruce(hoja, {v[0], v[1], v[2], v[3]});
    if (!(c.x1 < c.x2 && c.y1 < c.y2)) return {};
    Estampa e{static_cast<int32_t>(indice), c.x1 - hoja.x1, hoja.y2 - c.y2, c.x2 - hoja.x1, hoja.y2 - c.y1};
    double ancho = hoja.x2 - hoja.x1;
    double alto = hoja.y2 - hoja.y1;
    for (int i = GiroDe(doc, pagina); i > 0; --i) {
        e = {e.pagina, alto - e.abajo, e.izquierda, alto - e.arriba, e.derecha};
        std::swap(ancho, alto);
    }
    return e;
}

}  // namespace LxPdfSigner::Interno
