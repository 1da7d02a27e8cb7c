// The signing command of the main window, from the choice of a certificate to the signed document in the view, and what
// else may happen while it goes on.
#include <utility>

#include "app/AjusteTexto.h"
#include "app/ClaveDialog.h"
#include "app/DlgFirmar.h"
#include "app/Etapas.h"
#include "app/MainWindow.h"
#include "app/PinDialog.h"
#include "app/Pregunta.h"
#include "ui/LxLabel.h"
#include "ui/LxPdfView.h"

namespace Paleta = Orvanta::Paleta;
namespace Firma = Lx::Firma;
using Lx::CertStore::Origen;

namespace {

constexpr const char* kProtegido =
    "El documento está protegido contra cambios: se abre sin contraseña, pero no se puede firmar. Pide a quien lo hizo "
    "una copia sin protección o, si te está permitido, imprímelo a un PDF nuevo y firma ese.";
constexpr const char* kCancelada = "Firma cancelada por el usuario.";
constexpr const char* kHayOtra = "Ya hay una firma en marcha: espera a que acabe, o cancélala.";
constexpr unsigned kPaciencia = 800;  // ms that a job has to end when the program is told to

[[nodiscard]] std::string Quedan(int intentos) {
    if (intentos < 0) return "El PIN no era correcto.";
    return "El PIN no era correcto: " +
           (intentos == 1 ? std::string("queda 1 intento.") : "quedan " + std::to_string(intentos) + " intentos.");
}

}  // namespace

bool CMainWindow::HayDocumento() const {
    return visor_->HasDocument() && !documento_.empty();
}

std::string CMainWindow::RutaSalida(const std::string& ruta) {
    return LxPdfSigner::RutaSalida(ruta);
}

// --- The command

void CMainWindow::OnFirmar() {
    if (!Libre()) return;
    firmando_ = true;
    HacerFirma();
    firmando_ = false;
    if (cerrarAlAcabar_) Close();
}

bool CMainWindow::Libre() {
    if (!firmando_) return true;
    recado_ = kHayOtra;
    if (tarea_.EnMarcha()) MostrarProgreso(tarea_.Ver());
    return false;
}

void CMainWindow::HacerFirma() {
    aviso_->Quitar();
    if (!HayDocumento()) {
        PonerEstado("No hay ningun documento abierto.", Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
        return;
    }
    Firma::Encargo encargo;
    if (!ElegirCertificado(encargo)) return;
    const bool conTarjeta = encargo.elegida.origen == Origen::Dnie;
    const std::string quien = encargo.elegida.cert.subjectCN;
    auto trabajo = std::make_shared<Firma::FirmarDocumentos>(std::move(encargo), Preguntas(quien));
    if (!conTarjeta) MostrarEstado("Firmando con " + quien + " ...", false);
    recado_.clear();
    tarea_.Empezar(
        trabajo, [this](const auto& estado) { MostrarProgreso(estado); }, [this] { aviso_->Quitar(); });
    if (!tarea_.Esperar()) return;
    if (conTarjeta) Recordar(*trabajo);
    ContarResultado(trabajo->Respuesta());
}

bool CMainWindow::ElegirCertificado(Firma::Encargo& encargo) {
    CDlgFirmar dialogo(this, paleta_, documento_, recuerdo_.Ver(), visor_->GetPageCount());
    dialogo.PonerCarpeta(carpeta_);
    if (Preguntar(dialogo) != Lx::kAccepted || !dialogo.HaySeleccion()) return false;
    recuerdo_.Guardar(dialogo.Contexto());
    encargo.documentos = {documento_};
    encargo.elegida = dialogo.Seleccion();
    encargo.ctx = dialogo.Contexto();
    encargo.aunque = dialogo.Aunque();
    encargo.meta = {encargo.elegida.cert.subjectCN, "Orvanta", "Firma de documento"};
    encargo.modo = dialogo.ModoSello();
    encargo.paginas = dialogo.Paginas();
    encargo.paginasVistas = visor_->GetPageCount();
    encargo.salida = dialogo.Salida();
    encargo.reemplazar = dialogo.Reemplazar();
    carpeta_ = dialogo.Carpeta();
    return true;
}

void CMainWindow::ContarResultado(const Firma::Firmados& firmados) {
    const LxPdfSigner::Resultado& r = firmados.documentos.front().r;
    if (!r.firmado) {
        if (r.motivo == Lx::Motivo::Cancelado) {
            MostrarEstado(kCancelada, false);
            return aviso_->Mostrar(kCancelada, false);
        }
        // The document is on the screen: it opens without a password.
        const std::string motivo = r.motivo == Lx::Motivo::Cifrado ? kProtegido : r.error;
        MostrarEstado(motivo.empty() ? "No se pudo firmar." : motivo, true);
        if (r.motivo == Lx::Motivo::PinIncorrecto) aviso_->Mostrar(Quedan(firmados.intentos), true);
        return;
    }
    CargarDocumento(r.salida);
    std::string frase = "Firmado: " + r.salida + "  (" + std::to_string(r.bytes) + " bytes)";
    if (!r.nota.empty()) frase += "  [" + r.nota + "]";
    MostrarEstado(frase, false);
    aviso_->Mostrar(r.aviso.empty() ? frase : frase + " " + r.aviso, false);
}

// --- What the job asks, on its own thread

Firma::Preguntas CMainWindow::Preguntas(const std::string& quien) {
    const std::shared_ptr<Correo> correo = tarea_.Preparar();
    Firma::Preguntas p;
    p.pin = [this, correo, quien](const Firma::PreguntaPin& pregunta, std::string& pin) {
        Lx::Aviso fallo{Lx::Motivo::Cancelado, kCancelada};
        const bool hay = correo->Preguntar([&] {
            fallo = PedirPin(pregunta, pin);
            if (!fallo) MostrarEstado("Firmando con " + quien + " ...", false);
        });
        return hay ? fallo : Lx::Aviso{Lx::Motivo::Cancelado, kCancelada};
    };
    p.pinRepetible = true;
    p.pinSiempre = true;
    p.pinCorregible = false;
    p.claveAlmacen = [this, correo](const std::string& almacen, int intento, bool ultimo, std::string& clave) {
        bool hay = false;
        return correo->Preguntar([&] { hay = PedirClave(almacen, intento, ultimo, clave); }) && hay;
    };
    return p;
}

Lx::Aviso CMainWindow::PedirPin(const Firma::PreguntaPin& pregunta, std::string& pin) {
    if (pregunta.rechazado) {
        OlvidarPin();
        MostrarEstado(Quedan(pregunta.intentos), true);
    } else {
        aviso_->Quitar();
    }
    CPinDialog dialogo(this, paleta_, pregunta.titular, pin);
    dialogo.PonerIntentos(pregunta.intentos, pregunta.rechazado);
    if (Preguntar(dialogo) != Lx::kAccepted) return {Lx::Motivo::Cancelado, kCancelada};
    if (pin.empty()) return {Lx::Motivo::PinAusente, "Firma cancelada: se requiere el PIN del DNIe."};
    return {};
}

bool CMainWindow::PedirClave(const std::string& almacen, int intento, bool ultimo, std::string& clave) {
    aviso_->Quitar();
    CClaveDialog dialogo(this, paleta_, almacen, intento, ultimo, clave);
    return Preguntar(dialogo) == Lx::kAccepted;
}

int CMainWindow::Preguntar(Lx::CDialog& dialogo) {
    dialogos_.push_back(&dialogo);
    const int resultado = dialogo.DoModal();
    dialogos_.pop_back();
    return resultado;
}

// --- While it goes on

void CMainWindow::MostrarProgreso(const Lx::Control::Estado& estado) {
    std::string frase = Orvanta::FraseDe(estado);
    if (!frase.empty() && !recado_.empty()) frase += "\n" + recado_;
    aviso_->MostrarProgreso(frase, Orvanta::ParteDe(estado));
}

void CMainWindow::OnCancelar() {
    tarea_.Cancelar();
    MostrarProgreso(tarea_.Ver());
}

bool CMainWindow::OnClose() {
    if (!firmando_) return true;
    if (!tarea_.Cancelar() && !cerrarAlAcabar_) {
        CPregunta pregunta(this, paleta_,
                           {"Firma en marcha",
                            "La clave se está usando y la firma no se puede dejar a medias. ¿Cerrar el "
                            "programa cuando acabe?",
                            "Cerrar al acabar", "Seguir abierto"});
        if (Preguntar(pregunta) != Lx::kAccepted) return false;
    }
    cerrarAlAcabar_ = true;
    return false;
}

void CMainWindow::Terminar(const std::function<void()>& alFinal) {
    cerrarAlAcabar_ = true;
    tarea_.Cancelar();
    correo_->Luego(kPaciencia, [this, alFinal] {
        if (tarea_.Ver().comprometido) return;
        if (tarea_.EnMarcha())
            tarea_.Abandonar();
        else
            alFinal();
    });
    for (auto i = dialogos_.rbegin(); i != dialogos_.rend(); ++i) (*i)->EndDialog(Lx::kCancelled);
    if (!firmando_) Close();
}

// --- What is remembered

void CMainWindow::Recordar(const Firma::FirmarDocumentos& trabajo) {
    const Lx::CertStore::Contexto& ctx = trabajo.Contexto();
    if (!trabajo.Respuesta().documentos.front().r.firmado || ctx.pin.empty()) return OlvidarPin();
    recuerdo_.Guardar(ctx);
    vigilante_ =
        std::make_unique<Firma::Vigilante>([this, correo = correo_] { correo->Enviar([this] { OlvidarPin(); }); });
    constexpr auto kMargen = std::chrono::milliseconds(100);
    const auto espera = std::chrono::milliseconds(Firma::Recuerdo::kSinUso) + kMargen;
    correo_->Luego(static_cast<unsigned>(espera.count()), [this] { static_cast<void>(recuerdo_.Ver()); });
}

void CMainWindow::OlvidarPin() {
    recuerdo_.OlvidarPin();
    vigilante_.reset();
}
