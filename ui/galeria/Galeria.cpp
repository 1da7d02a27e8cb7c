#include "ui/galeria/Galeria.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "ui/LxApp.h"
#include "ui/LxFileDialog.h"
#include "ui/galeria/Muestra.h"

namespace Lx {

bool g_anotar = false;

void Anotar(const char* formato, ...) {
    if (!g_anotar) return;
    va_list argumentos;
    va_start(argumentos, formato);
    std::vprintf(formato, argumentos);
    va_end(argumentos);
    std::putchar('\n');
    std::fflush(stdout);
}

namespace {

constexpr int kAncho = 1180, kAlto = 700;
constexpr int kMargen = 20, kColumna = 150, kFila = 40;

}  // namespace

CDialogoMuestra::CDialogoMuestra(CWindow* duena) : CDialog(duena) {
    title = "Diálogo de muestra";
    rect = {0, 0, 380, 150};
}

bool CDialogoMuestra::OnInit() {
    if (impl != nullptr) impl->SetResizable(false);
    AddLabel("Mientras está abierto, la ventana no responde.", {20, 18, 340, 20});
    texto_ = AddEdit("", {20, 50, 340, 32});
    texto_->SetPlaceholder("Un texto");
    texto_->OnEnter(this, &CDialogoMuestra::OnEnter);
    AddButton("Aceptar", {240, 100, 120, 32})->OnClick(this, &CDialogoMuestra::OnAceptar);
    SetFocusControl(texto_);
    return true;
}

bool CDialogoMuestra::OnClose() {
    Anotar("dialogo cierre %s", texto_->GetText().c_str());
    return !texto_->GetText().empty();
}

void CDialogoMuestra::OnKeyDown(KeyCode key, unsigned) {
    if (key == KeyCode::Escape) EndDialog(kCancelled);
}

void CDialogoMuestra::OnAceptar() {
    EndDialog(kAccepted);
}
void CDialogoMuestra::OnEnter(const std::string&) {
    EndDialog(kAccepted);
}

CGaleria::CGaleria(std::string documento) : documento_(std::move(documento)) {
    title = "Galería de controles";
    rect = {0, 0, kAncho, kAlto};
    backColor = ThemeColor(ColorRole::AppBackground);
}

CGaleria::~CGaleria() {
    Anotar("borrada");
}

CLabel* CGaleria::Titulo(const char* texto, int x, int y) {
    CLabel* titulo = AddLabel(texto, {x, y, 300, 20});
    titulo->bold = true;
    return titulo;
}

CButton* CGaleria::Boton(const char* texto, int columna, int fila) {
    return AddButton(texto, {kMargen + columna * kColumna, 48 + fila * kFila, kColumna - 10, 32});
}

bool CGaleria::OnInit() {
    SetMinSize({640, 400});
    PonerBotones();
    PonerEdiciones();
    PonerListas();
    estado_ = AddLabel("Pulse, escriba o suelte aquí un fichero.", {kMargen, kAlto - 30, 560, 20});
    AddControl(new CMuestra({kMargen + 500, 334, 100, 24}));
    nota_ = new CNota("Aviso de muestra, que no cabe <b>entero</b> en su sitio");
    nota_->rect = {kMargen + 300, kAlto - 30, 200, 20};
    nota_->visible = false;
    AddControl(nota_);
    PonerPagina();
    Anotar("inicio");
    return true;
}

void CGaleria::PonerBotones() {
    Titulo("Botones", kMargen, 18);
    Boton("Normal", 0, 0)->OnClick(this, &CGaleria::OnPulsado);
    CButtonStyle& principal = Boton("Principal", 1, 0)->style;
    for (const ButtonState estado : {ButtonState::Normal, ButtonState::Focused, ButtonState::Hover})
        principal.Get(estado) = principal.Get(ButtonState::Pressed);
    Boton("Plano", 2, 0)->SetFlat(true);
    Boton("Deshabilitado", 3, 0)->SetEnabled(false);
    marcado_ = Boton("Marcable", 0, 1);
    marcado_->checkable = true;
    marcado_->OnClick(this, &CGaleria::OnMarcado);
    CButton* marcado = Boton("Marcado", 1, 1);
    marcado->checkable = true;
    marcado->SetChecked(true);
    Boton("Diálogo…", 2, 1)->OnClick(this, &CGaleria::OnDialogo);
    Boton("Fichero…", 3, 1)->OnClick(this, &CGaleria::OnFichero);
    // Looks that last only while the pointer or the keyboard are there: these keep them until they meet either.
    Boton("Bajo el puntero", 0, 2)->hovered = true;
    Boton("Hundido", 1, 2)->pressed = true;
    Boton("Con foco", 2, 2)->focused = true;
    CButton* apagado = Boton("Marcado, no", 3, 2);
    apagado->checkable = true;
    apagado->SetChecked(true);
    apagado->SetEnabled(false);
}

void CGaleria::PonerEdiciones() {
    Titulo("Texto y elección", kMargen, 180);
    const int ancho = 2 * kColumna - 10, derecha = kMargen + 2 * kColumna;
    edicion_ = AddEdit("", {kMargen, 208, ancho, 32});
    edicion_->SetPlaceholder("Escriba aquí");
    edicion_->OnChange(this, &CGaleria::OnEdicion);
    CEdit* clave = AddEdit("1234", {derecha, 208, ancho, 32});
    clave->SetMasked(true);
    AddEdit("Un texto más largo que su caja, que se desplaza con el cursor: áéíóú ñ € ¿?", {kMargen, 248, ancho, 32});
    AddEdit("Deshabilitado", {derecha, 248, ancho, 32})->SetEnabled(false);
    CComboBox* combo = AddComboBox({"Todas las páginas", "Primera página", "Última página", "Páginas elegidas"},
                                   {kMargen, 290, ancho, 32});
    combo->SetSelected(0);
    combo->OnSelectionChanged(this, &CGaleria::OnCombo);
    CComboBox* apagado = AddComboBox({"Deshabilitado"}, {derecha, 290, ancho, 32});
    apagado->SetSelected(0);
    apagado->SetEnabled(false);
}

void CGaleria::PonerListas() {
    Titulo("Listas", kMargen, 338);
    const auto lista = [this](int x, int modo) {
        CListView* l = AddListView({x, 364, 2 * kColumna - 10, 290});
        l->AddColumn("Titular", modo == CListView::kRows ? 150 : 0);
        l->AddColumn("Emisor", 0);
        l->SetMode(modo);
        constexpr const char* kNombres[] = {"Ana Núñez Peña", "José Ibáñez", "María Quispe", "Íñigo Güell"};
        for (int i = 0; i < 12; ++i) l->AddItem({kNombres[i % 4], "Autoridad " + std::to_string(i + 1)});
        l->SetSelected(1);
        return l;
    };
    lista(kMargen, CListView::kRows)->OnSelectionChanged(this, &CGaleria::OnFila);
    lista(kMargen + 2 * kColumna, CListView::kCards)->OnSelectionChanged(this, &CGaleria::OnFila);
}

void CGaleria::PonerPagina() {
    const int x = kMargen + 4 * kColumna + 10;
    Titulo("Página", x, 18);
    pagina_ = AddPdfView({x, 48, kAncho - x - kMargen, kAlto - 68});
    pagina_->OnPageChanged(this, &CGaleria::OnPagina);
    if (!documento_.empty()) OnDropFile(documento_);
}

void CGaleria::Estado(const std::string& texto) {
    estado_->SetText(texto);
}

bool CGaleria::OnClose() {
    Anotar("cierre %s", cerrable_ ? "concedido" : "negado");
    return cerrable_;
}

void CGaleria::OnDestroy() {
    Anotar("fin");
}
void CGaleria::OnTimer(unsigned id) {
    Anotar("reloj %u", id);
}

void CGaleria::OnSize(unsigned, const Size& size) {
    Anotar("medida %d %d", size.cx, size.cy);
    if (pagina_ == nullptr) return;
    const int x = pagina_->rect.x;
    pagina_->rect = {x, 48, std::max(100, size.cx - x - kMargen), std::max(100, size.cy - 68)};
    pagina_->ClampScroll();
}

void CGaleria::OnLButtonDown(unsigned, const Point& pt) {
    Anotar("abajo %d %d", pt.x, pt.y);
}
void CGaleria::OnRButtonDown(unsigned, const Point& pt) {
    Anotar("derecho %d %d", pt.x, pt.y);
}
void CGaleria::OnMouseDoubleClick(unsigned, const Point& pt) {
    Anotar("doble %d %d", pt.x, pt.y);
}

void CGaleria::OnMouseMove(unsigned, const Point& pt) {
    if (pt.x == kOutside.x) Anotar("fuera");
}

void CGaleria::OnMouseWheel(unsigned modifiers, int delta, const Point&) {
    Anotar("rueda %d %u", delta, modifiers);
}

void CGaleria::OnKeyDown(KeyCode key, unsigned modifiers) {
    Anotar("tecla %d %u", static_cast<int>(key), modifiers);
    // Keys that try what else a window can do.
    if (key == KeyCode::F2) SetTimer(7, 50);
    if (key == KeyCode::F3) KillTimer(7);
    if (key == KeyCode::F4) cerrable_ = !cerrable_;
    if (key == KeyCode::F5) throw 5;
    if (key == KeyCode::F6) OnMenu();
    if (key == KeyCode::F10) {
        nota_->visible = !nota_->visible;
        InvalidateRect(nullptr);
    }
    if (key == KeyCode::F7) Elegir("Guardar como", true);
    if (key == KeyCode::F8 && LxApp::s_pApp->backend->OpenAddress("https://example.org/")) Anotar("dirección");
    if (key == KeyCode::F9) LxApp::s_pApp->backend->ShowInFolder(documento_);
    if (key == KeyCode::F11) SetFullScreen(!IsFullScreen());
}

// What is watched can be read for good: it is told once, for it is watched no more then.
void CGaleria::Vigilar() {
    int tubo[2];
    if (pipe2(tubo, O_CLOEXEC) != 0 || write(tubo[1], "x", 1) != 1) return;
    static unsigned vigilado;
    vigilado = LxApp::s_pApp->backend->Watch(tubo[0], [] {
        LxApp::s_pApp->backend->Unwatch(vigilado);
        Anotar("avisado");
    });
}

void CGaleria::OnKeyUp(KeyCode key, unsigned) {
    Anotar("suelta %d", static_cast<int>(key));
}
void CGaleria::OnChar(unsigned ch) {
    Anotar("letra %u", ch);
}
void CGaleria::OnSetFocus() {
    Anotar("activa");
}
void CGaleria::OnKillFocus() {
    Anotar("inactiva");
}

void CGaleria::OnShortcut(char letter, unsigned modifiers) {
    Anotar("atajo %c %u", letter, modifiers);
    if (letter == 'Q') Close();
    if (letter == 'P') OnImprimir();
    if (letter == 'J') Vigilar();
    if (letter == 'K') LxApp::s_pApp->backend->SetClipboard("del portapapeles");
    if (letter == 'T') LxApp::s_pApp->ChangeTheme(ThemeSet::Dark);
    if (letter == 'N') {
        auto* otra = new CGaleria("");
        otra->title = "Otra galería";
        const bool abierta = LxApp::s_pApp->AddWindow(otra);
        Anotar("ventanas %d %zu", abierta ? 1 : 0, LxApp::s_pApp->Windows().size());
    }
}

void CGaleria::OnContextMenu(const Point& pt) {
    Anotar("menu %d %d", pt.x, pt.y);
}

void CGaleria::OnDropFile(const std::string& path) {
    Anotar("soltado %s", path.c_str());
    if (!pagina_->LoadDocument(path)) Estado(pagina_->GetLastError());
}

void CGaleria::OnPulsado() {
    Anotar("pulsado");
    Estado("Pulsado.");
}

void CGaleria::OnMarcado() {
    Anotar("marcado %d", marcado_->checked ? 1 : 0);
}

void CGaleria::OnDialogo() {
    CDialogoMuestra dialogo(this);
    const int resultado = dialogo.DoModal();
    Anotar("dialogo %d", resultado);
}

void CGaleria::OnMenu() {
    std::vector<MenuItem> ordenes = {{.text = "Abrir…", .shortcut = "Ctrl+O", .command = 1},
                                     {},
                                     {.text = "Girar", .items = {{.text = "A la derecha", .command = 2}}},
                                     {.text = "Imprimir…", .enabled = false, .command = 3},
                                     {.text = "Página & página", .checkable = true, .checked = true, .command = 4}};
    Anotar("menu %d", RunPlatformMenu(this, ordenes, {kMargen, 48}));
}

void CGaleria::OnImprimir() {
    std::string error;
    const auto obra = RunPlatformPrintDialog({.owner = this, .title = "Galería", .pages = 3, .current = 1}, error);
    if (obra == nullptr) return Anotar("sin imprimir %s", error.c_str());
    for (const int pagina : obra->Pages()) {
        Size papel;
        int giro = 0;
        if (!obra->BeginPage(300, 200, papel, giro)) return Anotar("sin papel");
        const std::vector<unsigned char> fila(static_cast<size_t>(papel.cx) * 4);
        const bool pintada = obra->DrawBand(fila.data(), papel.cx, 1, papel.cx * 4, pagina);
        Anotar("impresa %d %d", pagina + 1, pintada ? 1 : 0);
    }
    Anotar("imprimir %d", obra->Finish() ? 1 : 0);
}

void CGaleria::OnFichero() {
    Elegir("Elegir documento", false);
}

void CGaleria::Elegir(const char* titulo, bool guardar) {
    CFileDialog dialogo(this);
    dialogo.SetTitle(titulo);
    dialogo.SetSave(guardar);
    dialogo.SetFilter("*.pdf");
    dialogo.SetInitialPath(documento_);
    const int resultado = dialogo.DoModal();
    Anotar("fichero %d %s", resultado, dialogo.GetPath().c_str());
    if (resultado == 1 && !guardar) OnDropFile(dialogo.GetPath());
}

void CGaleria::OnEdicion(const std::string& texto) {
    Anotar("texto %s", texto.c_str());
}
void CGaleria::OnCombo(int indice) {
    Anotar("combo %d", indice);
}
void CGaleria::OnFila(int indice) {
    Anotar("fila %d", indice);
}
void CGaleria::OnPagina(int pagina, int total) {
    Anotar("pagina %d de %d", pagina + 1, total);
}

}  // namespace Lx
