// The signing command of the main window, from the choice of a certificate to the signed document in the view.
#include <utility>

#include "app/AjusteTexto.h"
#include "app/ClaveDialog.h"
#include "app/DlgFirmar.h"
#include "app/MainWindow.h"
#include "app/PinDialog.h"
#include "certstore/LxTarjeta.h"
#include "crypto/LxSecreto.h"
#include "ui/LxLabel.h"
#include "ui/LxPdfView.h"

namespace Paleta = Orvanta::Paleta;
using Lx::CertStore::Contexto;
using Lx::CertStore::Entrada;
using Lx::CertStore::Origen;

namespace {

constexpr const char* kProtegido =
    "El documento está protegido contra cambios: se abre sin contraseña, pero no se puede firmar. Pide a quien lo hizo "
    "una copia sin protección o, si te está permitido, imprímelo a un PDF nuevo y firma ese.";
constexpr int kIntentosPin = 3;  // of a card that doesn't say, since its PIN is still accepted from before

void LimpiarSecretos(Contexto& ctx) {
    Lx::Limpiar(ctx.pin);
    Lx::Limpiar(ctx.clavePkcs12);
}

// While it lives the pointer says that work is going on. What is on the screen is up to date when it starts.
class Ocupada {
  public:
    explicit Ocupada(Lx::CWindow& ventana) : ventana_(ventana) {
        ventana_.SetBusy(true);
        ventana_.FlushPaint();
    }
    ~Ocupada() { ventana_.SetBusy(false); }
    Ocupada(const Ocupada&) = delete;
    Ocupada& operator=(const Ocupada&) = delete;

  private:
    Lx::CWindow& ventana_;
};

}  // namespace

// One signature: what was chosen for it.
struct CMainWindow::Peticion {
    Peticion() = default;
    ~Peticion() { LimpiarSecretos(ctx); }
    Peticion(const Peticion&) = delete;
    Peticion& operator=(const Peticion&) = delete;

    Entrada entrada;
    Contexto ctx;
    LxPdfSigner::Opciones sello;
    int intentos = -1;  // of the card's PIN, before it is used
};

bool CMainWindow::HayDocumento() const {
    return visor_->HasDocument() && !documento_.empty();
}

std::string CMainWindow::RutaSalida(const std::string& ruta) {
    return LxPdfSigner::RutaSalida(ruta);
}

void CMainWindow::OnFirmar() {
    aviso_->Quitar();
    if (!HayDocumento()) {
        PonerEstado("No hay ningun documento abierto.", Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
        return;
    }
    Peticion p;
    if (!ElegirCertificado(p)) return;
    for (bool rechazado = false;; rechazado = true) {
        if (p.entrada.origen == Origen::Dnie && !PedirPin(p, rechazado)) return;
        if (FirmarDocumento(p) || p.entrada.origen != Origen::Dnie) return;
        // The card counts: with one try less and some left, it was the PIN, and a person wants to type it again.
        std::string mensaje;
        const int quedan = Lx::CertStore::IntentosPin(p.entrada.lector, mensaje);
        if (quedan <= 0 || quedan >= (p.intentos < 0 ? kIntentosPin : p.intentos)) return;
        aviso_->Mostrar("El PIN no era correcto: " + (quedan == 1 ? std::string("queda 1 intento.")
                                                                  : "quedan " + std::to_string(quedan) + " intentos."),
                        true);
    }
}

bool CMainWindow::ElegirCertificado(Peticion& p) {
    CDlgFirmar dialogo(this, paleta_, Orvanta::NombreFichero(documento_), recordado_);
    if (dialogo.DoModal() != Lx::kAccepted || !dialogo.HaySeleccion()) return false;
    LimpiarSecretos(recordado_);
    recordado_ = dialogo.Contexto();
    p.ctx = recordado_;
    p.entrada = dialogo.Seleccion();
    p.sello = {static_cast<int32_t>(dialogo.ModoSello()), dialogo.Paginas(), true};
    return true;
}

bool CMainWindow::PedirPin(Peticion& p, bool rechazado) {
    std::string mensaje;
    {
        const Ocupada ocupada(*this);
        p.intentos = Lx::CertStore::IntentosPin(p.entrada.lector, mensaje);
    }
    const Lx::X509::Certificado& cert = p.entrada.cert;
    Lx::Secreto pin;
    CPinDialog dialogo(this, paleta_, cert.subjectCN.empty() ? cert.subjectDN : cert.subjectCN, pin.texto);
    dialogo.PonerIntentos(p.intentos, rechazado);
    if (dialogo.DoModal() != Lx::kAccepted) {
        // After a refusal its sentence is what remains to be read.
        if (!rechazado) MostrarEstado("Firma cancelada por el usuario.", false);
        return false;
    }
    if (pin.texto.empty()) {
        MostrarEstado("Firma cancelada: se requiere el PIN del DNIe.", true);
        return false;
    }
    for (Contexto* ctx : {&p.ctx, &recordado_}) {
        Lx::Limpiar(ctx->pin);
        ctx->pin = pin.texto;
    }
    return true;
}

bool CMainWindow::FirmarDocumento(Peticion& p) {
    const std::string salida = RutaSalida(documento_);
    MostrarEstado("Firmando con " + p.entrada.cert.subjectCN + " ...", false);
    const LxPdfSigner::Metadatos meta{p.entrada.cert.subjectCN, "Orvanta", "Firma de documento"};
    const LxPdfSigner::Callback firmar = [&p](const std::vector<unsigned char>& datos, std::string& mensaje) {
        std::vector<unsigned char> firma;
        if (!Lx::CertStore::Firmar(p.entrada, p.ctx, datos, firma, mensaje)) firma.clear();
        return firma;
    };
    LxPdfSigner::Resultado r;
    {
        const Ocupada ocupada(*this);
        r = LxPdfSigner::Firmar(documento_, salida, p.entrada.cert, firmar, meta, p.sello);
    }
    // A PIN that did not sign is never sent again.
    if (!r.firmado && p.entrada.origen == Origen::Dnie)
        for (Contexto* ctx : {&p.ctx, &recordado_}) Lx::Limpiar(ctx->pin);
    ContarResultado(r, salida);
    return r.firmado;
}

void CMainWindow::ContarResultado(const LxPdfSigner::Resultado& r, const std::string& salida) {
    if (!r.firmado) {
        // The document is on the screen: it opens without a password.
        const std::string motivo = r.motivo == Lx::Motivo::Cifrado ? kProtegido : r.error;
        MostrarEstado(motivo.empty() ? "No se pudo firmar." : motivo, true);
        return;
    }
    CargarDocumento(salida);
    std::string frase = "Firmado: " + salida + "  (" + std::to_string(r.bytes) + " bytes)";
    if (!r.nota.empty()) frase += "  [" + r.nota + "]";
    MostrarEstado(frase, false);
    aviso_->Mostrar(r.aviso.empty() ? frase : frase + " " + r.aviso, false);
}

bool CMainWindow::PreguntarClave(const std::string& almacen, int intento, bool ultimo, std::string& clave) {
    SetBusy(false);
    CClaveDialog dialogo(this, paleta_, almacen, intento, ultimo, clave);
    const bool hay = dialogo.DoModal() == Lx::kAccepted;
    SetBusy(true);
    FlushPaint();
    return hay;
}
