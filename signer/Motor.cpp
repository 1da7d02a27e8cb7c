#include "signer/Motor.h"

#include <memory>
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
#include "signer/PdfObjetos.h"
#include "signer/PdfPlan.h"
#include "signer/PdfVigia.h"

namespace LxPdfSigner::Interno {

namespace {

using Lx::Motivo;
using LxPdf::Actualizacion;
using LxPdf::Documento;
using LxPdf::Lectura;

constexpr size_t kBytesId = 16;                // of the hash that goes into /ID
constexpr uint64_t kCopiaTemprana = 2U << 20;  // documents from this size on are copied while they are read

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
    return Fallo(r, Motivo::SalidaEsEntrada, "la salida " + salida + " es el propio documento: elige otro nombre.");
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
    const Pedido pedido{encargo.utc, encargo.entrada, encargo.meta.nombre, encargo.opciones};
    if (!AbrirDocumento(encargo, abierto, r) || !Planificar(*abierto.doc, abierto.porReferencias, pedido, plan, r))
        return;
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
    if (!r.firmado) r.estampa = {};
    for (const Lx::Aviso& aviso : r.avisos) r.aviso += (r.aviso.empty() ? "" : " ") + aviso.frase;
    return r;
}

}  // namespace LxPdfSigner::Interno
