// The commands of the main window that change how the document, or the window, is shown.
#include <utility>

#include "app/AyudaDialog.h"
#include "app/DiagnosticoDialog.h"
#include "app/MainWindow.h"
#include "ui/LxApp.h"

using Orvanta::Tema;
using Fit = Lx::ViewPlace::Fit;

int CMainWindow::ElegirEnMenu(const std::vector<Lx::MenuItem>& menu, const Lx::Point& donde) {
    return EnModal([&] { return Lx::RunPlatformMenu(this, menu, donde); });
}

bool CMainWindow::HayPaginas() const {
    return visor_->HasDocument();
}

// --- Search and selection

void CMainWindow::OnBuscar() {
    const std::string texto = visor_->HasSelection() ? visor_->SelectedText() : std::string();
    busqueda_->Abrir(texto.find('\n') == texto.npos ? texto : std::string());
}

void CMainWindow::OnBuscarSiguiente() {
    busqueda_->Siguiente();
}

void CMainWindow::OnBuscarAnterior() {
    busqueda_->Anterior();
}

bool CMainWindow::HaySeleccion() const {
    return visor_->HasSelection();
}

void CMainWindow::OnCopiar() {
    visor_->CopySelection([](const std::string& texto) { Lx::LxApp::s_pApp->backend->SetClipboard(texto); });
}

void CMainWindow::OnSeleccionarTodo() {
    visor_->SelectAll();
}

// --- How it is shown

void CMainWindow::OnAcercar() {
    visor_->ZoomBy(1);
}

void CMainWindow::OnAlejar() {
    visor_->ZoomBy(-1);
}

void CMainWindow::OnTamanoReal() {
    visor_->SetZoom(1);
}

void CMainWindow::OnAjustarAncho() {
    visor_->SetFit(Fit::Width);
}

void CMainWindow::OnAjustarPagina() {
    visor_->SetFit(Fit::Page);
}

bool CMainWindow::AjustaAncho() const {
    return visor_->GetFit() == Fit::Width;
}

bool CMainWindow::AjustaPagina() const {
    return visor_->GetFit() == Fit::Page;
}

void CMainWindow::OnUnaPagina() {
    visor_->SetSingle(!visor_->IsSingle());
}

bool CMainWindow::EsUnaPagina() const {
    return visor_->IsSingle();
}

void CMainWindow::OnGirarDerecha() {
    visor_->Turn(1);
}

void CMainWindow::OnGirarIzquierda() {
    visor_->Turn(-1);
}

void CMainWindow::OnPanel() {
    panel_->visible = !panel_->visible;
    if (panel_->visible) {
        panel_->Rebuild();
        panel_->Follow(pagina_);
    } else if (focus == panel_) {
        SetFocusControl(visor_);
    }
    Colocar();
}

bool CMainWindow::HayPanel() const {
    return panel_->visible;
}

void CMainWindow::OnPantallaCompleta() {
    SetFullScreen(!IsFullScreen());
    SetFocusControl(visor_);
    Colocar();
}

bool CMainWindow::EsCompleta() const {
    return IsFullScreen();
}

void CMainWindow::OnAtras() {
    visor_->GoBack();
}

void CMainWindow::OnAdelante() {
    visor_->GoForward();
}

// --- The theme

// The desktop's is asked for later: it takes its time to answer.
void CMainWindow::PonerTemaElegido() {
    preferencias_ = Orvanta::LeerPreferencias();
    temaDelEscritorio_.reset();
    temaPedido_ = false;
    if (preferencias_.tema != Tema::DelEscritorio)
        Lx::SetTheme(preferencias_.tema == Tema::Oscuro ? Lx::ThemeSet::Dark : Lx::ThemeSet::Light);
}

void CMainWindow::AplicarTema() {
    if (preferencias_.tema != Tema::DelEscritorio) {
        Lx::LxApp::s_pApp->ChangeTheme(preferencias_.tema == Tema::Oscuro ? Lx::ThemeSet::Dark : Lx::ThemeSet::Light);
        return;
    }
    if (temaDelEscritorio_) return Lx::LxApp::s_pApp->ChangeTheme(*temaDelEscritorio_);
    if (std::exchange(temaPedido_, true)) return;
    Lx::LxApp::s_pApp->backend->AskAppearance([](Lx::ThemeSet tema) {
        temaDelEscritorio_ = tema;
        AplicarTema();
    });
}

void CMainWindow::PonerTema(Tema tema) {
    preferencias_.tema = tema;
    if (!Orvanta::GuardarPreferencias(preferencias_))
        Avisar("El tema se queda así hasta que cierres el programa: no se pudo guardar la elección.", true);
    AplicarTema();
}

void CMainWindow::OnTemaEscritorio() {
    PonerTema(Tema::DelEscritorio);
}

void CMainWindow::OnTemaClaro() {
    PonerTema(Tema::Claro);
}

void CMainWindow::OnTemaOscuro() {
    PonerTema(Tema::Oscuro);
}

bool CMainWindow::EsTemaEscritorio() const {
    return preferencias_.tema == Tema::DelEscritorio;
}

bool CMainWindow::EsTemaClaro() const {
    return preferencias_.tema == Tema::Claro;
}

bool CMainWindow::EsTemaOscuro() const {
    return preferencias_.tema == Tema::Oscuro;
}

// --- The program

void CMainWindow::OnSinRecientes() {
    preferencias_.recientes = !preferencias_.recientes;
    if (!preferencias_.recientes) recientes_.Borrar();
    if (!Orvanta::GuardarPreferencias(preferencias_))
        return Avisar("No se pudo guardar la elección: vale hasta que cierres el programa.", true);
    Avisar(preferencias_.recientes ? "Desde ahora se recuerdan los diez últimos documentos."
                                   : "Se ha borrado la lista de documentos recientes y no se guarda ninguno más.",
           false);
    AnotarReciente();
}

bool CMainWindow::SinRecientes() const {
    return !preferencias_.recientes;
}

void CMainWindow::OnDiagnostico() {
    CDiagnosticoDialog dialogo(this, paleta_);
    static_cast<void>(Preguntar(dialogo));
}

void CMainWindow::OnAyuda() {
    CAyudaDialog dialogo(this, paleta_, LineasDeAyuda());
    static_cast<void>(Preguntar(dialogo));
}

void CMainWindow::OnCerrar() {
    Close();
}

void CMainWindow::OnCerrarTodas() {
    // A copy: each one that closes leaves the list.
    for (Lx::CWindow* ventana : Lx::LxApp::s_pApp->Windows()) ventana->Close();
}
