// The document of the main window: how it is opened, what there is to know of it, what becomes of it on the disk.
#include <charconv>
#include <climits>
#include <filesystem>
#include <system_error>
#include <utility>

#include "app/AjusteTexto.h"
#include "app/Direccion.h"
#include "app/FicheroPropio.h"
#include "app/LecturaDialog.h"
#include "app/MainWindow.h"
#include "app/Pregunta.h"
#include "crypto/LxApi.h"
#include "crypto/LxSecreto.h"
#include "ui/LxApp.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;
namespace Firma = Lx::Firma;
using Lx::Pdf::Outcome;

namespace {

constexpr const char* kProtegido =
    "El documento está protegido: se puede leer, pero no firmar. Pide a quien lo hizo una copia sin protección o, si "
    "te está permitido, imprímelo a un PDF nuevo y firma ese.";

constexpr std::chrono::milliseconds kPosarse{500};
constexpr size_t kLargoNombre = 44;               // of the file in a dialog
constexpr int kLetraHoja = 13, kLetraMinima = 8;  // of the page edit; large numbers are written small
constexpr int kMargenHoja = 20;                   // what the edit keeps free of text

// The number at the start of a text, as scanf's %d reads it; one that is too large counts as the largest.
[[nodiscard]] bool LeerNumero(const std::string& texto, int& n) {
    const size_t i = texto.find_first_not_of(" \t\n\v\f\r");
    if (i == texto.npos) return false;
    const char* inicio = texto.data() + i;
    const char* fin = texto.data() + texto.size();
    if (*inicio == '+' && inicio + 1 < fin && inicio[1] != '-') ++inicio;
    const auto [hasta, fallo] = std::from_chars(inicio, fin, n);
    if (fallo == std::errc::result_out_of_range) n = *inicio == '-' ? INT_MIN : INT_MAX;
    return fallo != std::errc::invalid_argument;
}

[[nodiscard]] std::string Absoluta(const std::string& ruta) {
    std::error_code fallo;
    return std::filesystem::absolute(ruta, fallo).lexically_normal().string();
}

[[nodiscard]] std::string CarpetaDe(const std::string& ruta) {
    return std::filesystem::path(Absoluta(ruta)).parent_path().string();
}

void Anadir(std::string& texto, const std::string& frase) {
    if (frase.empty()) return;
    if (!texto.empty()) texto += '\n';
    texto += frase;
}

}  // namespace

bool CMainWindow::HayDocumento() const {
    return visor_->HasDocument() && !documento_.empty();
}

// --- Which one

std::string CMainWindow::DocumentoInicial(const std::string& pedido) {
    if (!pedido.empty()) return pedido;
    const std::string carpeta = Lx::Api::ExeDirectory();
    // The first one is no path on this platform; it keeps its place.
    for (std::string ruta : {carpeta + "\\Velmora.pdf", carpeta + "/Velmora.pdf", carpeta + "/../Resources/Velmora.pdf",
                             std::string("Velmora.pdf")})
        if (Lx::Api::FileExists(ruta)) return ruta;
    return {};
}

void CMainWindow::CargarInicial() {
    const std::string ruta = DocumentoInicial(inicial_);
    if (ruta.empty()) return MostrarEstado("Pulsa 'Abrir PDF' para cargar un documento.", false);
    Cargar({.ruta = ruta, .marca = marcaInicial_, .bienvenida = inicial_.empty()});
}

void CMainWindow::Abrir(const std::string& ruta) {
    CargarDocumento(ruta);
    SetFocusControl(visor_);
}

bool CMainWindow::ElegirFichero(std::string& ruta) {
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Abrir documento PDF");
    dialogo.SetFilter("*.pdf");
    const bool propio = !documento_.empty() && !bienvenida_;
    dialogo.SetInitialPath(propio                   ? documento_
                           : ultimaCarpeta_.empty() ? Orvanta::CarpetaDeDocumentos()
                                                    : ultimaCarpeta_);
    if (EnModal([&] { return dialogo.DoModal(); }) != Lx::kAccepted) return false;
    ruta = dialogo.GetPath();
    ultimaCarpeta_ = CarpetaDe(ruta);
    return true;
}

void CMainWindow::OnAbrir() {
    std::string ruta;
    if (Libre() && ElegirFichero(ruta)) Abrir(ruta);
}

void CMainWindow::OnAbrirAparte() {
    std::string ruta;
    if (!ElegirFichero(ruta)) return;
    auto* otra = new CMainWindow;
    otra->PonerDocumentoInicial(ruta);
    if (!Lx::LxApp::s_pApp->AddWindow(otra)) Avisar("No se pudo abrir otra ventana: cierra alguna y repítelo.", true);
}

void CMainWindow::OnDropFile(const std::string& path) {
    if (Libre()) Abrir(path);
}

bool CMainWindow::AcceptsFiles() const {
    return true;
}

// --- Opening

void CMainWindow::CargarDocumento(const std::string& ruta) {
    Cargar({.ruta = ruta});
}

void CMainWindow::OlvidarDocumento() {
    examinando_.Abandonar();
    cambios_.Dejar();
    examen_.reset();
    trasExamen_ = nullptr;
    antesDelExamen_.clear();
    firmadoAqui_.clear();
    reemplazo_.reset();
    recarga_.reset();
    estampa_ = {};
    protegido_ = bienvenida_ = noFirmado_ = false;
    documento_.clear();
    PonerFirmas();
}

void CMainWindow::Cargar(Pedido pedido) {
    GuardarLugar();
    aviso_->Quitar();
    busqueda_->Cerrar();
    OlvidarDocumento();
    pedido_ = std::move(pedido);
    if (!pedido_.marca.hay) pedido_.marca = CCambiosDisco::MarcaDe(pedido_.ruta);
    std::optional<Lx::ViewPlace> lugar;
    if (!pedido_.bienvenida && preferencias_.recientes) lugar = recientes_.LugarDe(Absoluta(pedido_.ruta));
    visor_->Open(pedido_.ruta, lugar ? &*lugar : nullptr);
}

void CMainWindow::OnAbierto(const Lx::Pdf::Opened& como) {
    if (como.outcome == Outcome::Locked) return PedirLecturaLuego();
    if (panel_->visible) panel_->Rebuild();
    if (como.outcome != Outcome::Good) {
        OnPagina(0, 0);
        return MostrarEstado("Error al abrir " + Orvanta::SinControl(pedido_.ruta) + ": " + visor_->GetLastError(),
                             true);
    }
    documento_ = pedido_.ruta;
    bienvenida_ = pedido_.bienvenida;
    protegido_ = como.isProtected;
    PonerEstado(documento_, false);
    OnPagina(visor_->GetCurrentPage(), visor_->GetPageCount());
    if (protegido_) Avisar(kProtegido, false);
}

// Not from within what told it: the question waits in a loop of its own.
void CMainWindow::PedirLecturaLuego() {
    correo_->Enviar([this, ruta = pedido_.ruta] {
        if (ruta == pedido_.ruta) PedirLectura();
    });
}

void CMainWindow::PedirLectura() {
    Lx::PaginasBloqueadas paginas;
    std::string clave;
    CLecturaDialog dialogo(this, paleta_,
                           "Documento: " + Orvanta::Citado(Orvanta::NombreFichero(pedido_.ruta), kLargoNombre),
                           std::exchange(pedido_.claveRechazada, true), clave);
    if (Preguntar(dialogo) == Lx::kAccepted)
        visor_->Unlock(clave);
    else if (std::exchange(recarga_, std::nullopt))
        Avisar("El documento ha cambiado en el disco y ahora pide una contraseña: se sigue viendo lo que había.", true);
    else
        MostrarEstado(
            "Error al abrir " + Orvanta::SinControl(pedido_.ruta) + ": está protegido y no se dio su contraseña.",
            true);
    Lx::Limpiar(clave);
}

// What isn't needed to show the first page waits until that is seen.
void CMainWindow::AlVerse() {
    correo_->Enviar([this] {
        AplicarTema();
        if (!HayDocumento()) return;
        cambios_.Vigilar(documento_, pedido_.marca, [this] { AlCambiarEnDisco(); });
        AnotarReciente();
        if (cambios_.HayCambio()) return AlCambiarEnDisco();
        if (!examen_ && !examinando_.EnMarcha()) Examinar(nullptr);
    });
}

// --- What there is to know before it is signed

void CMainWindow::Examinar(std::function<void()> luego) {
    trasExamen_ = std::move(luego);
    if (examinando_.EnMarcha()) return;
    const auto trabajo = std::make_shared<Firma::Examinar>(documento_);
    static_cast<void>(examinando_.Preparar());
    examinando_.Empezar(
        trabajo,
        [this](const auto& estado) {
            if (trasExamen_) MostrarProgreso(estado);
        },
        [this, trabajo] {
            examen_ = trabajo->Respuesta();
            AlExaminar();
        });
}

void CMainWindow::AlExaminar() {
    // It has fewer than were made here: another document has taken its place.
    if (examen_->firmas.size() < firmadoAqui_.size()) firmadoAqui_.clear();
    PonerFirmas();
    if (const auto luego = std::exchange(trasExamen_, nullptr)) {
        aviso_->Quitar();
        return luego();
    }
    if (!firmando_ && firmadoAqui_.empty()) AvisarDelExamen();
}

void CMainWindow::AvisarDelExamen() {
    std::string texto = std::exchange(antesDelExamen_, {});
    if (examen_->impedimento) {
        Anadir(texto, protegido_ ? kProtegido : examen_->impedimento.frase);
    } else if (!examen_->firmas.empty()) {
        const size_t n = examen_->firmas.size();
        Anadir(texto,
               n == 1 ? "El documento ya tiene una firma: la tuya se añade y no la cambia."
                      : "El documento ya tiene " + std::to_string(n) + " firmas: la tuya se añade y no las cambia.");
    }
    for (const Lx::Aviso& aviso : examen_->avisos) Anadir(texto, aviso.frase);
    if (!texto.empty()) Avisar(texto, static_cast<bool>(examen_->impedimento));
}

void CMainWindow::PonerFirmas() {
    const std::vector<Firma::FirmaAnterior> ninguna;
    if (barraFirmas_->Poner(examen_ ? examen_->firmas : ninguna, firmadoAqui_)) Colocar();
}

// --- What becomes of it on the disk

void CMainWindow::AlCambiarEnDisco() {
    // When what goes on has ended it is looked at again.
    if (firmando_ || reemplazo_ || impresion_ != nullptr || !HayDocumento()) return;
    const CCambiosDisco::Marca marca = CCambiosDisco::MarcaDe(documento_);
    if (!marca.hay)
        return Avisar(
            "El documento ya no está en su sitio: alguien lo ha borrado o movido. Se sigue viendo lo que se "
            "leyó, pero no se puede firmar.",
            true);
    recarga_ = marca;
    visor_->Reload();
}

void CMainWindow::OnRecargado(const Lx::Pdf::Opened& como) {
    if (reemplazo_) return OnReemplazado(como);
    if (!recarga_) return;
    if (como.outcome == Outcome::Locked) return PedirLecturaLuego();
    const CCambiosDisco::Marca marca = *std::exchange(recarga_, std::nullopt);
    if (como.outcome != Outcome::Good)
        return Avisar("El documento ha cambiado en el disco y no se puede leer como está ahora: " + como.sentence +
                          " Se sigue viendo lo que había.",
                      true);
    cambios_.Poner(marca);
    pedido_.marca = marca;
    protegido_ = como.isProtected;
    firmadoAqui_.clear();
    estampa_ = {};
    examen_.reset();
    PonerFirmas();
    if (panel_->visible) panel_->Rebuild();
    OnPagina(visor_->GetCurrentPage(), visor_->GetPageCount());
    antesDelExamen_ =
        std::exchange(noFirmado_, false)
            ? "No se ha firmado: el documento ha cambiado en el disco y se ha vuelto a leer. Míralo otra vez "
              "y, si es lo que quieres firmar, pulsa Firmar."
            : "El documento ha cambiado en el disco y se ha vuelto a leer.";
    Avisar(antesDelExamen_, false);
    examinando_.Abandonar();
    Examinar(nullptr);
}

// --- What it holds

void CMainWindow::OnGuardarAdjunto(int cual, const Lx::Pdf::Attachment& adjunto) {
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Guardar el fichero adjunto");
    dialogo.SetSave(true);
    dialogo.SetInitialPath(CarpetaDe(documento_) + "/" + adjunto.name);
    if (EnModal([&] { return dialogo.DoModal(); }) != Lx::kAccepted || visor_->Pages() == nullptr) return;
    const std::string ruta = dialogo.GetPath();
    visor_->Pages()->SaveAttachment(cual, ruta, [this, ruta](Outcome como, const std::string& frase) {
        if (como != Outcome::Good) return Avisar(frase, true);
        Avisar("El fichero adjunto se ha guardado en " + Orvanta::SinControl(ruta) +
                   ". Ábrelo solo si te fías de quien hizo el documento.",
               CAviso::Tono::Informa,
               {"Mostrar en la carpeta", [ruta] { Lx::LxApp::s_pApp->backend->ShowInFolder(ruta); }});
    });
}

void CMainWindow::OnEnlace(const std::string& direccion) {
    std::string error;
    const std::string segura = Orvanta::DireccionSegura(direccion, error);
    if (segura.empty()) return Avisar(error, true);
    const std::string sitio = Orvanta::SitioDe(segura);
    CPregunta pregunta(this, paleta_,
                       {"Abrir un enlace",
                        "El documento quiere abrir esta dirección en otro programa:\n" + segura +
                            (sitio.empty() ? "" : "\nEl sitio al que lleva es: " + sitio),
                        "Abrir", "No abrir"});
    if (Preguntar(pregunta) == Lx::kAccepted && !Lx::LxApp::s_pApp->backend->OpenAddress(segura))
        Avisar("No se pudo abrir la dirección: no hay ningún programa para ella.", true);
}

// --- Recent documents

void CMainWindow::AnotarReciente() {
    if (HayDocumento() && !bienvenida_ && !protegido_ && preferencias_.recientes)
        recientes_.Anotar({Absoluta(documento_), visor_->GetPlace()});
}

void CMainWindow::GuardarLugar() {
    if (HayDocumento() && !bienvenida_ && !protegido_ && preferencias_.recientes)
        recientes_.Mover({Absoluta(documento_), visor_->GetPlace()});
}

// --- The status line

void CMainWindow::PonerEstado(const std::string& texto, bool error) {
    estadoError_ = error;
    estado_->SetTextColor(Lx::ThemeColor(error ? Lx::ColorRole::AppErrorOnFooter : Lx::ColorRole::AppOnFooter));
    estado_->SetText(Orvanta::SinControl(texto));
}

void CMainWindow::MostrarEstado(const std::string& texto, bool error) {
    PonerEstado(error || documento_.empty() ? texto : documento_, error);
    error ? Avisar(texto, true) : aviso_->Quitar();
    Invalidate(nullptr);
}

void CMainWindow::Avisar(const std::string& texto, bool error) {
    Avisar(texto, error ? CAviso::Tono::Error : CAviso::Tono::Informa, {});
}

void CMainWindow::Avisar(const std::string& texto, CAviso::Tono tono, CAviso::Accion accion) {
    paginaDelAviso_ = visor_->GetCurrentPage();
    momentoDelAviso_ = std::chrono::steady_clock::now();
    aviso_->Mostrar(texto, tono, std::move(accion));
    ColocarAviso();
}

// --- Pages

void CMainWindow::OnPrimero() {
    visor_->SetCurrentPage(0);
}

void CMainWindow::OnAnterior() {
    visor_->SetCurrentPage(visor_->GetCurrentPage() - 1);
}

void CMainWindow::OnSiguiente() {
    visor_->SetCurrentPage(visor_->GetCurrentPage() + 1);
}

void CMainWindow::OnUltimo() {
    visor_->SetCurrentPage(visor_->GetPageCount() - 1);
}

void CMainWindow::OnIrHoja(const std::string& texto) {
    if (paginas_ < 1) return;
    int n = 0;
    if (LeerNumero(texto, n) && n >= 1) visor_->SetCurrentPage((n < paginas_ ? n : paginas_) - 1);
    PonerHoja();
}

// Whoever goes on reading has read the notice; right after it, the view still goes to where it was to be.
void CMainWindow::OnPagina(int actual, int total) {
    pagina_ = actual;
    paginas_ = total;
    if (std::chrono::steady_clock::now() - momentoDelAviso_ < kPosarse) paginaDelAviso_ = actual;
    if (!aviso_->EnProgreso() && actual != paginaDelAviso_) aviso_->Quitar();
    if (panel_->visible) panel_->Follow(actual);
    PonerHoja();
    ColocarAviso();
    Invalidate(nullptr);
}

void CMainWindow::PonerHoja() {
    const bool hay = paginas_ >= 1;
    const std::string texto = hay ? std::to_string(pagina_ + 1) + " / " + std::to_string(paginas_) : "0 / 0";
    int tamano = kLetraHoja;
    while (tamano > kLetraMinima && !Orvanta::Cabe(texto, tamano, hoja_->rect.w - kMargenHoja)) --tamano;
    hoja_->SetStyle("text-align:center; font-size:" + std::to_string(tamano));
    hoja_->SetText(texto);
    for (Lx::CButton* b : {primero_, anterior_}) b->SetEnabled(pagina_ > 0);
    for (Lx::CButton* b : {siguiente_, ultimo_}) b->SetEnabled(hay && pagina_ < paginas_ - 1);
}
