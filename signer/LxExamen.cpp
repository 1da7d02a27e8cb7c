#include "signer/LxExamen.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <utility>

#include "cms/LxCmsFirmante.h"
#include "crypto/LxX509.h"
#include "pdf/LxActualizacion.h"
#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"
#include "signer/PdfFrases.h"
#include "signer/PdfObjetos.h"
#include "signer/PdfPlan.h"
#include "signer/PdfVigia.h"

namespace LxPdfSigner {

namespace {

using namespace Interno;
using LxPdf::CampoFirma;
using LxPdf::Documento;
using LxPdf::Ref;

constexpr size_t kLargoNombre = 60;        // bytes
constexpr size_t kMasFirmas = 200;         // more are not told of one by one
constexpr size_t kMasContenido = 1 << 20;  // bytes of a container that is looked into, in hexadecimal

// The two digits at that place; -1 when they aren't.
int Par(const std::string& texto, size_t pos) {
    const auto cifra = [&](size_t i) { return i < texto.size() && texto[i] >= '0' && texto[i] <= '9'; };
    return cifra(pos) && cifra(pos + 1) ? (texto[pos] - '0') * 10 + texto[pos + 1] - '0' : -1;
}

// A date (ISO 32000-1, 7.9.4) for people; empty when it is none.
std::string Momento(const std::string& fecha) {
    const std::string f = fecha.starts_with("D:") ? fecha.substr(2) : fecha;
    const int siglo = Par(f, 0), anio = Par(f, 2), mes = Par(f, 4), dia = Par(f, 6);
    if (siglo < 0 || anio < 0 || mes < 1 || mes > 12 || dia < 1 || dia > 31) return {};
    std::tm t{};
    t.tm_year = siglo * 100 + anio - 1900;
    t.tm_mon = mes - 1;
    t.tm_mday = dia;
    t.tm_hour = std::max(Par(f, 8), 0);
    t.tm_min = std::max(Par(f, 10), 0);
    if (f.size() > 14 && (f[14] == 'Z' || f[14] == '+' || f[14] == '-')) {
        const int desfase = std::max(Par(f, 15), 0) * 3600 + std::max(Par(f, 18), 0) * 60;
        const std::time_t cuando = timegm(&t) - (f[14] == '-' ? -desfase : desfase);
        localtime_r(&cuando, &t);
    }
    char texto[32];
    const size_t n = std::strftime(texto, sizeof texto, Par(f, 8) < 0 ? "%d/%m/%Y" : "%d/%m/%Y %H:%M", &t);
    return {texto, n};
}

std::string NombreDe(const Documento& doc, std::string_view dict) {
    const std::string contenido = doc.Resolver(LxPdf::UltimoValor(dict, "Contents"));
    std::string cms;
    Lx::X509::Certificado cert;
    const bool leido = contenido.size() <= kMasContenido && LxPdf::BytesDeCadena(contenido, cms) &&
                       Lx::X509::Parsear(LxCms::CertificadoDelFirmante(cms), cert);
    const std::string propio = leido ? Llano(cert.subjectCN, kLargoNombre) : "";
    return propio.empty() ? Llano(LxPdf::Utf8DeCadena(doc.Resolver(LxPdf::UltimoValor(dict, "Name"))), kLargoNombre)
                          : propio;
}

// Finds the pages of widgets, by their number in the document.
class Paginador {
  public:
    explicit Paginador(const Documento& doc) : doc_(doc) {}

    // Of the field itself or of the first of its widgets that is seen.
    [[nodiscard]] int32_t De(Ref campo) {
        std::string dict;
        if (!doc_.DictDe(campo, dict)) return -1;
        int32_t pagina = DeWidget(dict);
        std::string hijos;
        if (pagina >= 0 || !doc_.ArrayDe(LxPdf::UltimoValor(dict, "Kids"), hijos)) return pagina;
        for (size_t pos = LxPdf::Blanco(hijos, 0); pos < hijos.size() && pagina < 0;) {
            const size_t fin = LxPdf::FinLiteral(hijos, pos);
            Ref hijo;
            const std::string clave = "/K " + hijos.substr(pos, fin - pos);
            if (doc_.RefDe(clave, "K", hijo) && doc_.DictDe(hijo, dict)) pagina = DeWidget(dict);
            pos = LxPdf::Blanco(hijos, fin);
        }
        return pagina;
    }

  private:
    [[nodiscard]] int32_t DeWidget(const std::string& dict) {
        const std::string rect = "/Rect " + doc_.Resolver(LxPdf::UltimoValor(dict, "Rect"));
        double v[4];
        Ref pagina;
        if (!LxPdf::RectDe(rect, "Rect", v) || v[0] == v[2] || v[1] == v[3]) return -1;
        if (!doc_.RefDe(dict, "P", pagina)) return -1;
        if (numeros_.empty()) {
            const std::vector<Ref>& todas = doc_.Paginas();
            for (size_t i = 0; i < todas.size(); ++i) numeros_.emplace(todas[i], static_cast<int32_t>(i));
        }
        const auto donde = numeros_.find(pagina);
        return donde == numeros_.end() ? -1 : donde->second;
    }

    const Documento& doc_;
    std::map<Ref, int32_t> numeros_;
};

std::vector<FirmaHallada> FirmasDe(const Documento& doc) {
    std::vector<FirmaHallada> firmas;
    Paginador paginador(doc);
    for (const CampoFirma& campo : doc.Firmas()) {
        if (!campo.firmado || firmas.size() == kMasFirmas) continue;
        const std::string_view dict = *campo.valor;
        const std::string forma = doc.Resolver(LxPdf::UltimoValor(dict, "SubFilter"));
        FirmaHallada firma;
        firma.sello = forma == "/ETSI.RFC3161" || doc.Resolver(LxPdf::UltimoValor(dict, "Type")) == "/DocTimeStamp";
        firma.nombre = NombreDe(doc, dict);
        firma.momento = Momento(LxPdf::Utf8DeCadena(doc.Resolver(LxPdf::UltimoValor(dict, "M"))));
        firma.pagina = paginador.De(campo.ref);
        firmas.push_back(std::move(firma));
    }
    return firmas;
}

std::unique_ptr<Documento> Abrir(const std::string& entrada, const Lx::Control& control, Lx::Aviso& impedimento) {
    LxPdf::Fallo fallo{LxPdf::Defecto::NoSeLee, 0, {}};
    std::unique_ptr<Documento> doc;
    std::unique_ptr<LxPdf::Fuente> fuente = LxPdf::AbrirFichero(entrada);
    if (fuente != nullptr) doc = Documento::Abrir(Cancelable(std::move(fuente), control), fallo);
    if (doc == nullptr) impedimento = Explicar(fallo, entrada);
    return doc;
}

// As the engine goes about it, with its default stamp; what is written goes nowhere.
void Probar(Documento& doc, const std::string& entrada, Resultado& r) {
    const std::string nadie;
    const std::string utc = "000101000000Z";
    for (const int32_t modo : {+kPrimera, +kInvisible}) {
        const Opciones opciones{modo, "", true};
        Plan plan;
        LxPdf::Actualizacion act(doc.Bytes().Longitud(), doc.Base());
        Resultado esta;
        const bool sirve =
            Planificar(doc, &doc, {utc, entrada, nadie, opciones}, plan, esta) && EscribirObjetos(doc, plan, act, esta);
        // Its first page can't take a stamp: it may still be signed without one.
        if (sirve || r.error.empty()) r = std::move(esta);
        if (sirve || r.motivo != Lx::Motivo::Danado) return;
    }
}

}  // namespace

Examinado Examinar(const std::string& entrada, Lx::Control& control) {
    Examinado e;
    control.Pasar(Lx::Etapa::Documento);
    const std::unique_ptr<Documento> doc = Abrir(entrada, control, e.impedimento);
    if (doc != nullptr) {
        Resultado r;
        e.paginas = static_cast<int32_t>(doc->Paginas().size());
        Probar(*doc, entrada, r);
        e.impedimento = {r.motivo, r.error};
        e.avisos = std::move(r.avisos);
        if (r.motivo != Lx::Motivo::Excesivo) e.firmas = FirmasDe(*doc);
    }
    if (control.Cancelado()) return {{Lx::Motivo::Cancelado, kFraseCancelado}, {}, {}, 0};
    return e;
}

}  // namespace LxPdfSigner
