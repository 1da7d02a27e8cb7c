#include "app/MainWindow.h"

#include "app/Escasez.h"
#include "app/Teclado.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kAncho = 900, kAlto = 680;
constexpr int kMargen = 14;
constexpr int kAltoCabecera = 46;
constexpr int kAltoBarra = 44;
constexpr int kAltoPie = 28;
constexpr int kArriba = 100, kAbajo = 36;  // of the view: what is above and below it
constexpr int kAnchoPanel = 220;
constexpr int kHueco = 6;

}  // namespace

CMainWindow::CMainWindow() : paleta_(Paleta::DelTema()), correo_(std::make_shared<Correo>()), cambios_(correo_) {
    title = "Velmora 2026";
    rect = {0, 0, kAncho, kAlto};
    backColor = paleta_[Paleta::kFondo];
}

CMainWindow::~CMainWindow() {
    correo_->Cerrar();
    if (firmante_ == this) firmante_ = nullptr;
}

int CMainWindow::AnchoInicial() {
    return Lx::CDocView::FirstWidth({kMargen, kArriba, kAncho - 2 * kMargen, kAlto - kArriba - kAbajo}, 1);
}

// --- Building

// The order is that of Tab, and of what an assistive tool reads.
bool CMainWindow::OnInit() {
    SetResizable(true);
    SetMinSize({720, 520});
    MontarBotones();
    MontarVista();
    MontarEstado();
    Vestir();
    Colocar();
    SetFocusControl(visor_);
    CargarInicial();
    Orvanta::VigilarMemoria(correo_, [this] { visor_->Shrink(); });
    return true;
}

void CMainWindow::MontarBotones() {
    struct Boton {
        Lx::CButton* CMainWindow::*donde;
        const char* texto;
        Lx::Rect rect;
        bool activo;
        void (CMainWindow::*alPulsar)();
    };
    static constexpr Boton kAntes[] = {
        {&CMainWindow::abrir_, "Abrir PDF", {14, 53, 104, 30}, true, &CMainWindow::OnAbrir},
        {&CMainWindow::firmar_, "Firmar", {126, 53, 96, 30}, true, &CMainWindow::OnFirmar},
        {&CMainWindow::menu_, "Menú", {230, 53, 72, 30}, true, &CMainWindow::OnMenu},
        {&CMainWindow::primero_, "<<", {0, 53, 44, 30}, false, &CMainWindow::OnPrimero},
        {&CMainWindow::anterior_, "<", {0, 53, 44, 30}, false, &CMainWindow::OnAnterior},
    };
    static constexpr Boton kDespues[] = {
        {&CMainWindow::siguiente_, ">", {0, 53, 44, 30}, false, &CMainWindow::OnSiguiente},
        {&CMainWindow::ultimo_, ">>", {0, 53, 44, 30}, false, &CMainWindow::OnUltimo},
    };
    const auto montar = [this](const Boton& b) {
        Lx::CButton* boton = AddButton(b.texto, b.rect);
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

void CMainWindow::MontarVista() {
    barraFirmas_ = new CBarraFirmas(paleta_);
    AddControl(barraFirmas_);
    busqueda_ = new CBarraBusqueda(*this, correo_, [this] { Colocar(); });
    visor_ = new Lx::CDocView;
    busqueda_->PonerVista(visor_);
    panel_ = new Lx::CSidePane(visor_);
    panel_->visible = false;
    AddControl(panel_);
    AddControl(visor_);
    visor_->onOpened = [this](const Lx::Pdf::Opened& como) { OnAbierto(como); };
    visor_->onReloaded = [this](const Lx::Pdf::Opened& como) { OnRecargado(como); };
    visor_->onFirstPage = [this] { AlVerse(); };
    visor_->onPageChanged = [this](int actual, int total) { OnPagina(actual, total); };
    visor_->onZoomChanged = [this] { ColocarAviso(); };
    visor_->onSearch = [this] { busqueda_->AlBuscar(); };
    visor_->onAddress = [this](const std::string& direccion) { OnEnlace(direccion); };
    visor_->onContextMenu = [this](const Lx::Point& pt) { OnContexto(pt); };
    panel_->onSave = [this](int cual, const Lx::Pdf::Attachment& adjunto) { OnGuardarAdjunto(cual, adjunto); };
}

void CMainWindow::MontarEstado() {
    estado_ = AddLabel("", {kMargen, 0, 100, 14});
    estado_->fontSize = 11;
    credito_ = AddLabel("Creado por Zerbin  :", {0, 0, 200, 14});
    credito_->fontSize = 11;
    credito_->bold = true;
    credito_->align = 2;
    aviso_ = new CAviso(paleta_, visor_);
    AddControl(aviso_);
    aviso_->PonerBotonAccion(AddButton("", {}));
    Lx::CButton* cancelar = AddButton("Cancelar", {});
    cancelar->OnClick(this, &CMainWindow::OnCancelar);
    aviso_->PonerBoton(cancelar);
}

void CMainWindow::Vestir() {
    backColor = paleta_[Paleta::kFondo];
    for (Lx::CButton* b : {abrir_, menu_, primero_, anterior_, siguiente_, ultimo_})
        Paleta::VestirBoton(*b, paleta_, false);
    Paleta::VestirBoton(*firmar_, paleta_, true);
    credito_->SetTextColor(paleta_[Paleta::kCredito]);
    busqueda_->Vestir(paleta_);
    aviso_->OnThemeChanged();
    PonerEstado(estado_->text, estadoError_);
}

void CMainWindow::OnThemeChanged() {
    paleta_ = Paleta::DelTema();
    Vestir();
    Invalidate(nullptr);
}

// --- Places

void CMainWindow::OnSize(unsigned, const Lx::Size&) {
    Colocar();
}

Lx::Rect CMainWindow::SitioDeLaVista() const {
    if (IsFullScreen()) return {0, 0, rect.w, rect.h};
    return {kMargen, kArriba, rect.w - 2 * kMargen, rect.h - kArriba - kAbajo};
}

void CMainWindow::Colocar() {
    const int w = rect.w, h = rect.h;
    const bool completa = IsFullScreen();
    ultimo_->rect = {w - 58, 53, 44, 30};
    siguiente_->rect = {w - 106, 53, 44, 30};
    hoja_->rect = {w - 206, 54, 90, 28};
    anterior_->rect = {w - 260, 53, 44, 30};
    primero_->rect = {w - 308, 53, 44, 30};
    for (Lx::CControl* c : std::initializer_list<Lx::CControl*>{abrir_, firmar_, menu_, primero_, anterior_, hoja_,
                                                                siguiente_, ultimo_, estado_, credito_})
        c->visible = !completa;
    Lx::Rect sitio = SitioDeLaVista();
    const auto quitarDeArriba = [&sitio](int alto) {
        const Lx::Rect franja{sitio.x, sitio.y, sitio.w, alto};
        sitio.y += alto + kHueco;
        sitio.h -= alto + kHueco;
        return franja;
    };
    if (barraFirmas_->visible) barraFirmas_->rect = quitarDeArriba(CBarraFirmas::kAlto);
    if (busqueda_->visible) busqueda_->Colocar(quitarDeArriba(CBarraBusqueda::kAlto));
    if (panel_->visible) {
        panel_->rect = {sitio.x, sitio.y, kAnchoPanel, sitio.h};
        sitio.x += kAnchoPanel + kHueco;
        sitio.w -= kAnchoPanel + kHueco;
    }
    visor_->rect = sitio;
    estado_->rect = {kMargen, h - 22, w - 230, 14};
    credito_->rect = {w - 220, h - 22, 206, 14};
    ColocarAviso();
    Invalidate(nullptr);
}

// At the bottom of the document, unless it would stand on the signature's stamp there.
void CMainWindow::ColocarAviso() {
    const Lx::Rect& v = visor_->rect;
    const Lx::Rect franja{v.x + 12, v.y + 12, v.w - 36, v.h - 24};
    aviso_->Colocar(franja);
    if (!aviso_->visible || estampa_.pagina < 0) return;
    const Lx::Pdf::Box caja{static_cast<float>(estampa_.izquierda), static_cast<float>(estampa_.arriba),
                            static_cast<float>(estampa_.derecha), static_cast<float>(estampa_.abajo)};
    const Lx::Rect sello = visor_->RectOf(estampa_.pagina, caja);
    if (sello.h > 0 && sello.y + sello.h > aviso_->rect.y) aviso_->Colocar(franja, true);
}

void CMainWindow::OnPaint(Lx::CCanvas* canvas) {
    if (IsFullScreen()) return;
    const int w = rect.w, h = rect.h;
    canvas->FillRect({0, 0, w, kAltoCabecera}, paleta_[Paleta::kCabecera]);
    canvas->DrawText("Velmora", {18, 2}, paleta_[Paleta::kTitulo], "system", 24, true, false);
    canvas->DrawText("Software de firma digital (PAdES / CMS)", {19, 30},
                     Lx::ThemeColor(Lx::ColorRole::AppSubtitleText), "system", 11, false, false);
    canvas->DrawLine({0, kAltoCabecera - 1}, {w, kAltoCabecera - 1}, paleta_[Paleta::kLinea], 1.0F);
    canvas->FillRect({0, kAltoCabecera, w, kAltoBarra}, paleta_[Paleta::kBarra]);
    canvas->FillRect({0, h - kAltoPie, w, kAltoPie}, paleta_[Paleta::kPie]);
}

// --- Keys

// Whatever has the focus, the commands' keys and those that turn pages do, unless it wanted them itself.
void CMainWindow::OnKeyDown(Lx::KeyCode key, unsigned modifiers) {
    const unsigned con = modifiers & (Lx::kShift | Lx::kControl | Lx::kOption);
    if (MandarTecla({key, 0, con})) return;
    if (key == Lx::KeyCode::Escape) {
        if (busqueda_->visible) return busqueda_->Cerrar();
        if (aviso_->visible && !aviso_->EnProgreso()) return aviso_->Quitar();
        if (IsFullScreen()) return OnPantallaCompleta();
        if (tarea_.EnMarcha() || impresion_ != nullptr) return OnCancelar();
    }
    if (key == Lx::KeyCode::Enter && Orvanta::PulsarFoco(*this)) return;
    if (key == Lx::KeyCode::Enter && busqueda_->TieneElFoco())
        return (con & Lx::kShift) != 0 ? busqueda_->Anterior() : busqueda_->Siguiente();
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

void CMainWindow::OnShortcut(char letter, unsigned) {
    MandarTecla({Lx::KeyCode::Unknown, letter, 0});
}

void CMainWindow::OnContextMenu(const Lx::Point& pt) {
    OnContexto(pt);
}
