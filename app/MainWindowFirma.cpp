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
#include "ui/LxApp.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;
namespace Firma = Lx::Firma;
using Lx::CertStore::Origen;

namespace {

constexpr const char* kCancelada = "Firma cancelada por el usuario.";
constexpr const char* kHayOtra = "Ya hay una firma en marcha: espera a que acabe, o cancélala.";
constexpr const char* kSeImprime = "Se está imprimiendo: espera a que acabe, o cancélalo.";
constexpr const char* kOtraVentana = "Otra ventana de Velmora está firmando: espera a que acabe, o cancela esa firma.";
constexpr unsigned kPaciencia = 800;  // ms that a job has to end when the program is told to

[[nodiscard]] std::string Quedan(int intentos) {
    if (intentos < 0) return "El PIN no era correcto.";
    return "El PIN no era correcto: " +
           (intentos == 1 ? std::string("queda 1 intento.") : "quedan " + std::to_string(intentos) + " intentos.");
}

[[nodiscard]] Lx::Pdf::Box CajaDe(const LxPdfSigner::Estampa& e) {
    return {static_cast<float>(e.izquierda), static_cast<float>(e.arriba), static_cast<float>(e.derecha),
            static_cast<float>(e.abajo)};
}

}  // namespace

std::string CMainWindow::RutaSalida(const std::string& ruta) {
    return LxPdfSigner::RutaSalida(ruta);
}

// --- The command

void CMainWindow::OnFirmar() {
    if (!Libre()) return;
    if (firmante_ != nullptr) return Avisar(kOtraVentana, true);
    aviso_->Quitar();
    if (!HayDocumento()) return PonerEstado("No hay ningun documento abierto.", false);
    firmando_ = true;
    firmante_ = this;
    examen_ ? SeguirFirma() : Examinar([this] { SeguirFirma(); });
}

bool CMainWindow::Libre() {
    if (!firmando_ && impresion_ == nullptr) return true;
    recado_ = firmando_ ? kHayOtra : kSeImprime;
    if (tarea_.EnMarcha()) MostrarProgreso(tarea_.Ver());
    return false;
}

// Whether it is what is shown that would be signed, and can be: told before anything is asked for.
bool CMainWindow::PuedeFirmarse() {
    if (cambios_.HayCambio()) {
        noFirmado_ = true;
        Avisar("El documento ha cambiado en el disco después de que se leyera: míralo otra vez antes de firmarlo.",
               true);
        return false;
    }
    if (examen_->impedimento) {
        AvisarDelExamen();
        return false;
    }
    if (examen_->paginas > 0 && examen_->paginas != visor_->GetPageCount()) {
        Avisar("No se firma: se ven " + std::to_string(visor_->GetPageCount()) + " páginas, pero el documento tiene " +
                   std::to_string(examen_->paginas) + ". Pide otra copia a quien lo hizo.",
               true);
        return false;
    }
    return true;
}

void CMainWindow::SeguirFirma() {
    Firma::Encargo encargo;
    // It may have changed while the certificate was being chosen.
    if (!PuedeFirmarse() || !ElegirCertificado(encargo) || !PuedeFirmarse()) return AcabarFirma();
    const bool conTarjeta = encargo.elegida.origen == Origen::Dnie;
    const std::string quien = encargo.elegida.cert.subjectCN;
    const auto trabajo = std::make_shared<Firma::FirmarDocumentos>(std::move(encargo), Preguntas(quien));
    if (!conTarjeta) MostrarEstado("Firmando con " + quien + " ...", false);
    recado_.clear();
    tarea_.Empezar(
        trabajo, [this](const auto& estado) { MostrarProgreso(estado); },
        [this, trabajo, conTarjeta, quien] {
            aviso_->Quitar();
            if (conTarjeta) Recordar(*trabajo);
            ContarResultado(trabajo->Respuesta(), quien);
            AcabarFirma();
        });
}

void CMainWindow::AcabarFirma() {
    firmando_ = false;
    firmante_ = nullptr;
    if (cerrarAlAcabar_) return correo_->Enviar([this] { Close(); });
    // What the file became meanwhile, unless it is another one now.
    if (!reemplazo_ && cambios_.HayCambio()) AlCambiarEnDisco();
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
    encargo.esElVisto = [ruta = documento_, visto = pedido_.marca] { return CCambiosDisco::MarcaDe(ruta) == visto; };
    encargo.salida = dialogo.Salida();
    encargo.reemplazar = dialogo.Reemplazar();
    carpeta_ = dialogo.Carpeta();
    return true;
}

void CMainWindow::ContarResultado(const Firma::Firmados& firmados, const std::string& quien) {
    const LxPdfSigner::Resultado& r = firmados.documentos.front().r;
    if (!r.firmado) {
        if (r.motivo == Lx::Motivo::Cancelado) {
            MostrarEstado(kCancelada, false);
            return Avisar(kCancelada, false);
        }
        noFirmado_ = r.motivo == Lx::Motivo::Cambiado;
        const std::string frase = r.error.empty() ? "No se pudo firmar." : r.error;
        PonerEstado(frase, true);
        const bool porPin = r.motivo == Lx::Motivo::PinIncorrecto;
        return Avisar(porPin ? Quedan(firmados.intentos) : Lx::ParaLeer({r.motivo, frase}), true);
    }
    AvisarFirmado(r);
    GuardarLugar();
    firmadoAqui_.push_back(quien);
    reemplazo_ = r;
    pedido_ = {.ruta = r.salida, .marca = CCambiosDisco::MarcaDe(r.salida)};
    visor_->Replace(r.salida);
}

void CMainWindow::AvisarFirmado(const LxPdfSigner::Resultado& r, const std::string& pero) {
    std::string frase = "Firmado: " + Orvanta::SinControl(r.salida) + "  (" + std::to_string(r.bytes) + " bytes)";
    if (!r.nota.empty()) frase += "  [" + r.nota + "]";
    if (!r.aviso.empty()) frase += " " + r.aviso;
    if (!pero.empty()) frase += "\n" + pero;
    // What came out otherwise than was asked for is told without the colour of what is well.
    const auto tono = !pero.empty()     ? CAviso::Tono::Error
                      : r.aviso.empty() ? CAviso::Tono::Logro
                                        : CAviso::Tono::Informa;
    Avisar(frase, tono,
           {"Mostrar en la carpeta", [ruta = r.salida] { Lx::LxApp::s_pApp->backend->ShowInFolder(ruta); }});
}

// The signed document is in the view, where the one without the signature was.
void CMainWindow::OnReemplazado(const Lx::Pdf::Opened& como) {
    const LxPdfSigner::Resultado r = *std::exchange(reemplazo_, std::nullopt);
    if (como.outcome != Lx::Pdf::Outcome::Good) {
        firmadoAqui_.clear();
        return AvisarFirmado(r, "Se sigue viendo el original: la copia firmada no se puede mostrar. " + como.sentence);
    }
    documento_ = r.salida;
    bienvenida_ = false;
    PonerEstado(documento_, false);
    cambios_.Vigilar(documento_, pedido_.marca, [this] { AlCambiarEnDisco(); });
    AnotarReciente();
    examen_.reset();
    PonerFirmas();  // the band takes its place before the stamp is brought into sight
    estampa_ = r.estampa;
    if (estampa_.pagina >= 0) {
        const Lx::Pdf::Box caja = CajaDe(estampa_);
        visor_->Reveal(estampa_.pagina, caja);
        visor_->Flash(estampa_.pagina, caja);
    }
    if (panel_->visible) panel_->Rebuild();
    OnPagina(visor_->GetCurrentPage(), visor_->GetPageCount());
    AvisarFirmado(r);
    examinando_.Abandonar();
    Examinar(nullptr);
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
    const int resultado = EnModal([&] { return dialogo.DoModal(); });
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
    if (impresion_ != nullptr) return DejarDeImprimir();
    tarea_.Cancelar();
    MostrarProgreso(tarea_.Ver());
}

bool CMainWindow::OnClose() {
    if (tarea_.EnMarcha()) {
        if (!tarea_.Cancelar() && !cerrarAlAcabar_) {
            CPregunta pregunta(this, paleta_,
                               {"Firma en marcha",
                                "La clave se está usando y la firma no se puede dejar a medias. ¿Cerrar la "
                                "ventana cuando acabe?",
                                "Cerrar al acabar", "Seguir abierto"});
            if (Preguntar(pregunta) != Lx::kAccepted) return false;
        }
        cerrarAlAcabar_ = true;
        if (tarea_.EnMarcha()) return false;
    }
    if (modales_ > 0) {
        cerrarAlAcabar_ = true;
        return false;
    }
    if (impresion_ != nullptr && !PuedeDejarDeImprimir()) return false;
    GuardarLugar();
    return true;
}

void CMainWindow::Terminar(const std::function<void()>& alFinal) {
    cerrarAlAcabar_ = true;
    tarea_.Cancelar();
    examinando_.Abandonar();
    impresion_.reset();
    correo_->Luego(kPaciencia, [this, alFinal] {
        if (tarea_.Ver().comprometido) return;
        if (!tarea_.EnMarcha()) return alFinal();
        tarea_.Abandonar();
        AcabarFirma();
    });
    for (auto i = dialogos_.rbegin(); i != dialogos_.rend(); ++i) (*i)->EndDialog(Lx::kCancelled);
    Close();
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
