#include "app/MainWindow.h"

#include <charconv>
#include <climits>
#include <system_error>

#include "app/AjusteTexto.h"
#include "app/Teclado.h"
#include "crypto/LxApi.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"
#include "ui/LxPdfView.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kMargen = 14;
constexpr int kAltoCabecera = 46;
constexpr int kAltoBarra = 44;
constexpr int kAltoPie = 28;

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

}  // namespace

CMainWindow::CMainWindow() : paleta_(Paleta::DelTema()), correo_(std::make_shared<Correo>()) {
    title = "Velmora 2026";
    rect = {0, 0, 900, 680};
    backColor = paleta_[Paleta::kFondo];
}

CMainWindow::~CMainWindow() {
    correo_->Cerrar();
}

// --- Building

bool CMainWindow::OnInit() {
    SetResizable(true);
    SetMinSize({720, 520});
    MontarBotones();
    MontarEstado();
    SetFocusControl(visor_);
    return true;
}

void CMainWindow::MontarBotones() {
    struct Boton {
        Lx::CButton* CMainWindow::*donde;
        const char* texto;
        Lx::Rect rect;
        bool negrita;
        bool activo;
        void (CMainWindow::*alPulsar)();
    };
    static constexpr Boton kAntes[] = {
        {&CMainWindow::abrir_, "Abrir PDF", {14, 53, 104, 30}, false, true, &CMainWindow::OnAbrir},
        {&CMainWindow::firmar_, "Firmar", {126, 53, 96, 30}, true, true, &CMainWindow::OnFirmar},
        {&CMainWindow::primero_, "<<", {0, 53, 44, 30}, false, false, &CMainWindow::OnPrimero},
        {&CMainWindow::anterior_, "<", {0, 53, 44, 30}, false, false, &CMainWindow::OnAnterior},
    };
    static constexpr Boton kDespues[] = {
        {&CMainWindow::siguiente_, ">", {0, 53, 44, 30}, false, false, &CMainWindow::OnSiguiente},
        {&CMainWindow::ultimo_, ">>", {0, 53, 44, 30}, false, false, &CMainWindow::OnUltimo},
    };
    const auto montar = [this](const Boton& b) {
        Lx::CButton* boton = AddButton(b.texto, b.rect);
        Paleta::VestirBoton(*boton, paleta_, b.negrita);
        boton->SetEnabled(b.activo);
        boton->OnClick(this, b.alPulsar);
        this->*b.donde = boton;
    };
    for (const Boton& b : kAntes) montar(b);
    hoja_ = AddEdit("0 / 0", {0, 54, 90, 28});
    hoja_->SetPlaceholder("Página");  // its name too, for who can't see it
    hoja_->SetStyle("text-align:center;");
    hoja_->OnEnter(this, &CMainWindow::OnIrHoja);
    for (const Boton& b : kDespues) montar(b);
}

void CMainWindow::MontarEstado() {
    visor_ = AddPdfView({kMargen, 100, 100, 100});
    visor_->background = Lx::ThemeColor(Lx::ColorRole::AppView);
    visor_->OnPageChanged(this, &CMainWindow::OnPagina);
    estado_ = AddLabel("", {kMargen, 0, 100, 14});
    estado_->fontSize = 11;
    estado_->SetTextColor(Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
    credito_ = AddLabel("Creado por Zerbin  :", {0, 0, 200, 14});
    credito_->fontSize = 11;
    credito_->bold = true;
    credito_->align = 2;
    credito_->SetTextColor(paleta_[Paleta::kCredito]);
    aviso_ = new CAviso(paleta_, visor_);
    AddControl(aviso_);
    Lx::CButton* cancelar = AddButton("Cancelar", {});
    Paleta::VestirCancelar(*cancelar, paleta_);
    cancelar->OnClick(this, &CMainWindow::OnCancelar);
    aviso_->PonerBoton(cancelar);
}

void CMainWindow::OnSize(unsigned, const Lx::Size& size) {
    const int w = size.cx, h = size.cy;
    ultimo_->rect = {w - 58, 53, 44, 30};
    siguiente_->rect = {w - 106, 53, 44, 30};
    hoja_->rect = {w - 206, 54, 90, 28};
    anterior_->rect = {w - 260, 53, 44, 30};
    primero_->rect = {w - 308, 53, 44, 30};
    visor_->rect = {kMargen, 100, w - 28, h - 136};
    estado_->rect = {kMargen, h - 22, w - 230, 14};
    credito_->rect = {w - 220, h - 22, 206, 14};
    aviso_->Colocar({visor_->rect.x + 12, visor_->rect.y, visor_->rect.w - 36, visor_->rect.h - 12});
    Invalidate(nullptr);
}

void CMainWindow::OnPaint(Lx::CCanvas* canvas) {
    const int w = rect.w, h = rect.h;
    canvas->FillRect({0, 0, w, kAltoCabecera}, paleta_[Paleta::kCabecera]);
    canvas->DrawText("Velmora", {18, 2}, paleta_[Paleta::kTitulo], "system", 24, true, false);
    canvas->DrawText("Software de firma digital (PAdES / CMS)", {19, 30},
                     Lx::ThemeColor(Lx::ColorRole::AppSubtitleText), "system", 11, false, false);
    canvas->DrawLine({0, kAltoCabecera - 1}, {w, kAltoCabecera - 1}, paleta_[Paleta::kLinea], 1.0F);
    canvas->FillRect({0, kAltoCabecera, w, kAltoBarra}, paleta_[Paleta::kBarra]);
    canvas->FillRect({0, h - kAltoPie, w, kAltoPie}, paleta_[Paleta::kPie]);
    if (!inicio_) CargarLuego();
}

// Whatever has the focus, the keys that turn pages do, unless it wanted them itself.
void CMainWindow::OnKeyDown(Lx::KeyCode key, unsigned modifiers) {
    if (key == Lx::KeyCode::Escape) tarea_.EnMarcha() ? OnCancelar() : aviso_->Quitar();
    if (focus == visor_) return;
    Lx::Event ev;
    ev.type = Lx::EventType::KeyDown;
    ev.key = static_cast<uint16_t>(key);
    ev.modifiers = modifiers;
    visor_->OnEvent(ev);
}

void CMainWindow::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

// --- The document

// Opening a document may take its time: the window is there before.
void CMainWindow::CargarLuego() {
    inicio_ = true;
    visor_->visible = false;
    correo_->Luego(0, [this] {
        visor_->visible = true;
        CargarInicial();
    });
}

void CMainWindow::CargarInicial() {
    if (!inicial_.empty()) {
        CargarDocumento(inicial_);
        visor_->SetCurrentPage(0);
        return;
    }
    const std::string carpeta = Lx::Api::ExeDirectory();
    // The first one is no path on this platform; it keeps its place.
    const std::string candidatos[] = {carpeta + "\\Velmora.pdf", carpeta + "/Velmora.pdf",
                                      carpeta + "/../Resources/Velmora.pdf", "Velmora.pdf"};
    for (const std::string& ruta : candidatos) {
        if (!Lx::Api::FileExists(ruta)) continue;
        CargarDocumento(ruta);
        visor_->SetCurrentPage(0);
        return;
    }
    MostrarEstado("Pulsa 'Abrir PDF' para cargar un documento.", false);
}

void CMainWindow::Abrir(const std::string& ruta) {
    CargarDocumento(ruta);
    visor_->SetCurrentPage(0);
    SetFocusControl(visor_);
}

void CMainWindow::OnAbrir() {
    if (!Libre()) return;
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Abrir documento PDF");
    dialogo.SetFilter("*.pdf");
    dialogo.SetInitialPath(documento_);
    if (dialogo.DoModal() == Lx::kAccepted) Abrir(dialogo.GetPath());
}

void CMainWindow::OnDropFile(const std::string& path) {
    if (Libre()) Abrir(path);
}

bool CMainWindow::AcceptsFiles() const {
    return true;
}

void CMainWindow::OnShortcut(char letter, unsigned) {
    if (letter == 'O') OnAbrir();
    if (letter == 'W' || letter == 'Q') Close();
}

void CMainWindow::CargarDocumento(const std::string& ruta) {
    aviso_->Quitar();
    if (visor_->LoadDocument(ruta)) {
        documento_ = ruta;
        PonerEstado(ruta, Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
        PonerHoja();
    } else {
        MostrarEstado("Error al abrir " + ruta + ": " + visor_->GetLastError(), true);
    }
    Invalidate(nullptr);
}

void CMainWindow::PonerEstado(const std::string& texto, const Lx::Color& color) {
    estado_->SetTextColor(color);
    estado_->SetText(texto);
}

void CMainWindow::MostrarEstado(const std::string& texto, bool error) {
    if (error) {
        PonerEstado(texto, Lx::ThemeColor(Lx::ColorRole::AppErrorOnFooter));
        aviso_->Mostrar(texto, true);
    } else {
        PonerEstado(documento_.empty() ? texto : documento_, Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
        aviso_->Quitar();
    }
    Invalidate(nullptr);
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

void CMainWindow::OnPagina(int actual, int total) {
    pagina_ = actual;
    paginas_ = total;
    if (!aviso_->EnProgreso()) aviso_->Quitar();
    PonerHoja();
    Invalidate(nullptr);
}

void CMainWindow::PonerHoja() {
    const bool hay = paginas_ >= 1;
    hoja_->SetText(hay ? std::to_string(pagina_ + 1) + " / " + std::to_string(paginas_) : "0 / 0");
    for (Lx::CButton* b : {primero_, anterior_}) b->SetEnabled(pagina_ > 0);
    for (Lx::CButton* b : {siguiente_, ultimo_}) b->SetEnabled(hay && pagina_ < paginas_ - 1);
}
