#include "signer/PdfCierre.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "crypto/LxApi.h"
#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

using LxPdf::Actualizacion;
using LxPdf::Documento;
using LxPdf::Lectura;
using LxPdf::Texto;

namespace {

bool EsHexadecimal(std::string_view texto) {
    return !texto.empty() && texto.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

// The first identifier of the document when it is written in plain hexadecimal (ISO 32000-1, 14.4), else `otro`.
std::string PrimerIdLiteral(std::string_view trailer, const std::string& otro) {
    const std::string_view id = LxPdf::ValorDe(trailer, "ID");
    const size_t abre = LxPdf::Blanco(id, 1);
    const size_t cierra = id.find('>', abre);
    if (!id.starts_with('[') || id.substr(abre, 1) != "<" || cierra == std::string_view::npos) return otro;
    const std::string texto(id.substr(abre + 1, cierra - abre - 1));
    return EsHexadecimal(texto) ? texto : otro;
}

// The same whatever form it has, in hexadecimal; `otro` when there aren't two strings.
std::string PrimerId(const Documento& doc, const std::string& otro) {
    const std::string id = doc.Resolver(LxPdf::UltimoValor(doc.Trailer(), "ID"));
    std::string_view resto;
    std::string primero;
    std::string bytes;
    if (!LxPdf::Elementos(id, resto)) return otro;
    for (int i = 0; i < 2; ++i) {
        const size_t fin = LxPdf::FinLiteral(resto, 0);
        const std::string elemento = doc.Resolver(LxPdf::QuitarBlancos(resto.substr(0, fin)));
        if (!LxPdf::BytesDeCadena(elemento, bytes) || bytes.empty()) return otro;
        if (i == 0) {
            const std::string_view dentro = std::string_view(elemento).substr(1, elemento.size() - 2);
            const bool llano = elemento.front() == '<' && EsHexadecimal(dentro) && dentro.size() % 2 == 0;
            primero = llano ? std::string(dentro) : Lx::Api::BinToHex(bytes.data(), bytes.size());
        }
        resto = resto.substr(std::min(LxPdf::Blanco(resto, fin), resto.size()));
    }
    return primero;
}

// What the trailer says between /Root and /Prev: of a document read by its cross-references all that the newest one
// says, but for what belongs to its own section (ISO 32000-1, 7.5.6).
std::string ColaDelTrailer(const Lectura& doc, const Documento* porReferencias) {
    static const std::set<std::string_view> kPropias = {
        "Size",  "Root",   "Prev",   "ID",          "XRefStm", "Encrypt", "Type",         "W",
        "Index", "Length", "Filter", "DecodeParms", "F",       "FFilter", "FDecodeParms", "DL"};
    const std::string_view trailer = doc.Trailer();
    std::string cola;
    if (porReferencias == nullptr) {
        long num = 0;
        long gen = 0;
        if (LxPdf::LeerReferencia(LxPdf::ValorDe(trailer, "Info"), num, gen)) {
            cola = " /Info " + std::to_string(num) + " " + std::to_string(gen) + " R";
        }
        return cola;
    }
    LxPdf::Claves claves(trailer);
    for (LxPdf::Clave c; claves.Siguiente(c);) {
        if (kPropias.contains(c.nombre) || c.fin == c.ini) continue;
        cola += " /" + std::string(c.nombre) + " ";
        cola += LxPdf::QuitarBlancos(trailer.substr(c.ini, c.fin - c.ini));
    }
    return cola;
}

}  // namespace

void CerrarActualizacion(const Lectura& doc, const Documento* porReferencias, uint32_t ultimo, const std::string& hash,
                         Actualizacion& act) {
    const bool entera = porReferencias != nullptr && porReferencias->Rarezas().reconstruido;
    const bool flujo = doc.Clase() == LxPdf::Seccion::Flujo;
    const std::string id0 =
        porReferencias != nullptr ? PrimerId(*porReferencias, hash) : PrimerIdLiteral(doc.Trailer(), hash);
    if (entera) {
        for (const Documento::Sitio& s : porReferencias->Sitios()) act.Ajeno(s.ref, s.contenedor, s.pos);
    }
    std::string trailer = " /Size " + std::to_string(ultimo + (flujo ? 2 : 1)) + " /Root " + Texto(doc.Raiz()) +
                          ColaDelTrailer(doc, porReferencias);
    if (!entera) trailer += " /Prev " + std::to_string(doc.Previo());
    trailer += " /ID [<" + id0 + "> <" + hash + ">]";
    if (flujo) {
        act.Flujo(ultimo + 1, trailer);
    } else if (entera) {
        act.TablaEntera(trailer);
    } else {
        act.Tabla(trailer);
    }
}

}  // namespace LxPdfSigner::Interno
