#include "signer/Motor.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include "crypto/LxApi.h"
#include "pdf/LxActualizacion.h"
#include "pdf/LxBarrido.h"
#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"
#include "signer/PdfCierre.h"
#include "signer/PdfCopia.h"
#include "signer/PdfFichero.h"
#include "signer/PdfFrases.h"
#include "signer/PdfHueco.h"
#include "signer/PdfSello.h"
#include "signer/PdfVigia.h"

namespace LxPdfSigner::Interno {

namespace {

using Lx::Motivo;
using LxPdf::Actualizacion;
using LxPdf::Campos;
using LxPdf::Documento;
using LxPdf::Lectura;
using LxPdf::Ref;
using LxPdf::Texto;

constexpr size_t kBytesId = 16;                // of the hash that goes into /ID
constexpr uint64_t kCopiaTemprana = 2U << 20;  // documents from this size on are copied while they are read

bool Fallo(Resultado& r, Motivo motivo, std::string frase) {
    r.motivo = motivo;
    r.error = std::move(frase);
    return false;
}

bool Fallo(Resultado& r, Lx::Aviso aviso) {
    return Fallo(r, aviso.motivo, std::move(aviso.frase));
}

bool FalloPagina(Resultado& r) {
    return Fallo(r, Motivo::Danado, "la pagina de referencia del PDF no es un diccionario legible.");
}

bool FalloPerderia(Resultado& r, const char* que) {
    return Fallo(r, Motivo::Danado, std::string("no se pudo leer ") + que + " del PDF: firmar perderia datos.");
}

// The document, read in one of two ways; the second is there when it was read by its cross-references. Of a large one
// the copy is made while it is still being read: the copy goes first.
struct Abierto {
    std::shared_ptr<const LxPdf::Fuente> fuente;
    std::unique_ptr<Lectura> doc;
    Documento* porReferencias = nullptr;
    std::unique_ptr<Copia> copia;
    Resultado alCopiar;  // why the copy could not begin
};

// What is asked for, all of it.
struct Encargo {
    const std::string& utc;
    const std::string& entrada;
    const std::string& salida;
    const Lx::X509::Certificado& cert;
    size_t reserva;
    const Callback& firmar;
    const Metadatos& meta;
    const Opciones& opciones;
    Lx::Control& control;
};

enum class TipoAcroForm { Ausente, Referencia, EnLinea };

// What the update will hold and under which numbers.
struct Plan {
    std::string catalogo;
    std::vector<Ref> paginas;  // page objects that get a stamp; none for an invisible signature
    Campos campos;
    std::string nombreCampo;
    TipoAcroForm tipo = TipoAcroForm::Ausente;
    Ref acroForm;  // its object, or the number for a new one
    Ref campo;
    uint32_t primerHijo = 0;  // widgets of two or more stamp pages are numbered on from here
    Ref fuente;
    Ref apariencia;
    Ref firma;
    Sello sello;

    [[nodiscard]] bool Varias() const { return paginas.size() >= 2; }
};

void EmpezarCopia(const Encargo& encargo, const LxPdf::Fuente& fuente, Abierto& abierto) {
    abierto.copia = std::make_unique<Copia>();
    Resultado& r = abierto.alCopiar;
    Destino destino = DestinoDe(encargo.salida, encargo.opciones, fuente);
    if (!abierto.copia->Empezar(fuente, std::move(destino), encargo.control, r.motivo, r.error)) abierto.copia.reset();
}

bool AbrirDocumento(const Encargo& encargo, Abierto& abierto, Resultado& r) {
    const std::string& entrada = encargo.entrada;
    LxPdf::Fallo fallo;
    if (!encargo.opciones.referencias) {
        std::string datos;
        if (!Leer(entrada, datos)) return Fallo(r, Motivo::NoSeLee, "no se pudo leer " + entrada + ".");
        abierto.doc = LxPdf::Barrido::Abrir(std::move(datos), fallo);
        return abierto.doc || Fallo(r, Explicar(fallo, entrada));
    }
    std::unique_ptr<LxPdf::Fuente> fuente = LxPdf::AbrirFichero(entrada);
    if (!fuente) return Fallo(r, Motivo::NoSeLee, "no se pudo leer " + entrada + ".");
    abierto.fuente = Cancelable(std::move(fuente), encargo.control);
    const bool grande = abierto.fuente->Longitud() >= kCopiaTemprana;
    if (grande && !Documento::TienePrincipioYFin(*abierto.fuente, fallo)) return Fallo(r, Explicar(fallo, entrada));
    if (grande && PuedeFirmar(encargo.cert, encargo.reserva, encargo.firmar) &&
        !MismoFichero(entrada, encargo.salida)) {
        EmpezarCopia(encargo, *abierto.fuente, abierto);
    }
    std::unique_ptr<Documento> doc = Documento::Abrir(abierto.fuente, fallo);
    abierto.porReferencias = doc.get();
    abierto.doc = std::move(doc);
    return abierto.doc || Fallo(r, Explicar(fallo, entrada));
}

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
        if (vistas.insert(doc.Paginas()[i]).second) plan.paginas.push_back(doc.Paginas()[i]);
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

bool Planificar(const Abierto& abierto, const Encargo& encargo, Plan& plan, Resultado& r) {
    Lectura& doc = *abierto.doc;
    if (!doc.DictDe(doc.Raiz(), plan.catalogo)) {
        return Fallo(r, Motivo::Danado, "el catalogo del PDF no es un diccionario legible.");
    }
    ElegirPaginas(doc, encargo.opciones, plan, r);
    std::string dict;
    if (!doc.DictDe(plan.paginas.empty() ? doc.Paginas().back() : plan.paginas.front(), dict)) return FalloPagina(r);
    if (!LeerAcroForm(doc, plan)) return FalloPerderia(r, "AcroForm");
    LxPdf::Fallo fallo;
    if (!doc.LeerCampos(plan.paginas, plan.campos, fallo)) return Fallo(r, Explicar(fallo, encargo.entrada));
    if (!SonVigentes(doc, plan, r)) return false;
    plan.nombreCampo = LxPdf::NombreCampoLibre(plan.campos.nombres);
    if (plan.campos.firmados > 0) {
        r.nota = "el documento ya contenia " + std::to_string(plan.campos.firmados) +
                 " firma(s); se anade otra sin alterar las anteriores.";
    }
    if (abierto.porReferencias != nullptr && !RespetarPermisos(*abierto.porReferencias, encargo.entrada, plan, r)) {
        return false;
    }
    if (!plan.paginas.empty()) plan.sello = ConstruirSello(encargo.meta.nombre, encargo.utc);
    Numerar(doc, plan);
    return true;
}

// The writing of one update: what is written about, where, and what went wrong.
struct Escritor {
    const Lectura& doc;
    const Plan& plan;
    Actualizacion& act;
    Resultado& r;

    bool Pagina(Ref pagina, Ref anotacion, std::string& rect);
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
    for (const Ref pagina : plan.paginas) {
        std::string rect;
        if (!Pagina(pagina, hijo, rect)) return false;
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

// Fills /ByteRange and hashes what it covers: the document was hashed as it was copied, only the update is new.
std::vector<unsigned char> CubrirTodo(Lx::Api::Interno::Sha256Ctx ctx, size_t base, Actualizacion& act,
                                      const Hueco& hueco) {
    std::string& texto = act.Bytes();
    const std::string rangos = TextoByteRange(base + hueco.abre, base + hueco.Tras(), act.Total());
    texto.replace(hueco.byteRange, rangos.size(), rangos);
    Lx::Api::Interno::Sha256Update(ctx, texto.data(), hueco.abre);
    Lx::Api::Interno::Sha256Update(ctx, texto.data() + hueco.Tras(), texto.size() - hueco.Tras());
    return Lx::Api::Interno::Sha256Fin(ctx);
}

bool ComprobarSalida(const std::string& entrada, const std::string& salida, Resultado& r) {
    if (!MismoFichero(entrada, salida)) return true;
    return Fallo(r, Motivo::SalidaEsEntrada, "la salida " + salida + " es el propio documento: elija otro nombre.");
}

bool SigueIgual(const Lectura& doc, const std::string& entrada, Resultado& r) {
    if (!doc.Bytes().HaCambiado()) return true;
    return Fallo(r, Motivo::Cambiado,
                 "otro programa cambió " + entrada + " mientras se firmaba: ábrelo de nuevo, míralo y fírmalo.");
}

// All that a signature needs is there: from here on only the key and the disk can fail.
void Sellar(const Encargo& encargo, Abierto& abierto, const Plan& plan, const Hueco& hueco, const LxCms::Sid& sid,
            Actualizacion& act, Resultado& r) {
    const LxPdf::Fuente& fuente = abierto.doc->Bytes();
    Lx::Api::Interno::Sha256Ctx ctx;
    if (!abierto.copia && abierto.alCopiar.error.empty()) EmpezarCopia(encargo, fuente, abierto);
    if (!abierto.copia) {
        Fallo(r, abierto.alCopiar.motivo, abierto.alCopiar.error);
        return;
    }
    if (!abierto.copia->Esperar(ctx, r.motivo, r.error)) return;
    CerrarActualizacion(*abierto.doc, abierto.porReferencias, plan.firma.num,
                        Lx::Api::BinToHex(Lx::Api::Interno::Sha256Fin(ctx).data(), kBytesId), act);
    const std::vector<unsigned char> digest = CubrirTodo(ctx, static_cast<size_t>(fuente.Longitud()), act, hueco);
    std::string nota;
    if (!abierto.copia->Reservar(act.Total(), r.motivo, r.error) || !SigueIgual(*abierto.doc, encargo.entrada, r) ||
        !FirmarHueco(act.Bytes(), hueco, digest, encargo.cert, sid, encargo.firmar, nota, r.motivo, r.error) ||
        !SigueIgual(*abierto.doc, encargo.entrada, r) ||
        !abierto.copia->Acabar(act.Bytes(), digest, r.motivo, r.error)) {
        return;
    }
    r.bytes = act.Total();
    r.salida = abierto.copia->Ruta();
    r.escrito = true;
    r.firmado = true;
    r.nota = nota;
}

void Hacer(const Encargo& encargo, Resultado& r) {
    Abierto abierto;
    Plan plan;
    if (!AbrirDocumento(encargo, abierto, r) || !Planificar(abierto, encargo, plan, r)) return;
    Actualizacion act(abierto.doc->Bytes().Longitud(), abierto.doc->Base());
    Reserva hecha;
    if (!EscribirObjetos(*abierto.doc, plan, act, r)) return;
    if (!PuedeFirmar(encargo.cert, encargo.reserva, encargo.firmar)) {
        Fallo(r, Motivo::CertificadoInutil, "no hay certificado valido para firmar.");
        return;
    }
    if (!Reservar(encargo.cert, encargo.reserva, hecha, r.motivo, r.error) ||
        !ComprobarSalida(encargo.entrada, encargo.salida, r)) {
        return;
    }
    act.Abrir(plan.firma);
    const Hueco hueco = EscribirFirma(act.Bytes(), plan.firma.num, encargo.meta, encargo.utc, hecha.bytes);
    Sellar(encargo, abierto, plan, hueco, hecha.sid, act, r);
}

}  // namespace

Metadatos ConValoresPorDefecto(Metadatos meta, const Lx::X509::Certificado& cert) {
    if (meta.nombre.empty()) meta.nombre = cert.subjectCN;
    if (meta.ubicacion.empty()) meta.ubicacion = "Velmora";
    if (meta.razon.empty()) meta.razon = "Firma de documento";
    return meta;
}

Resultado FirmarEn(const std::string& utc, const std::string& entrada, const std::string& salida,
                   const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar, const Metadatos& pedidos,
                   const Opciones& opciones) {
    Resultado r;
    const Metadatos meta = ConValoresPorDefecto(pedidos, cert);
    Lx::Control nadie;
    Lx::Control& control = opciones.referencias && opciones.control != nullptr ? *opciones.control : nadie;
    Turno turno(firmar, control);
    control.Pasar(Lx::Etapa::Documento);
    Hacer({utc, entrada, salida, cert, reserva, firmar ? turno.Funcion() : firmar, meta, opciones, control}, r);
    turno.Explicar(r);
    for (const Lx::Aviso& aviso : r.avisos) r.aviso += (r.aviso.empty() ? "" : " ") + aviso.frase;
    return r;
}

}  // namespace LxPdfSigner::Interno
