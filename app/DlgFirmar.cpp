#include "app/DlgFirmar.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "app/AjusteTexto.h"
#include "app/Teclado.h"
#include "crypto/LxSecreto.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

namespace Paleta = Orvanta::Paleta;
using Lx::CertStore::Entrada;
using Lx::CertStore::Origen;

namespace {

constexpr unsigned kPrimera = 1;  // also for a choice that is none
constexpr unsigned kEspecificas = 4;

// In the order of the list, which is not that of the engine's modes.
constexpr struct {
    const char* texto;
    unsigned modo;
} kSellos[] = {
    {"Primera pagina (defecto)", kPrimera},   {"Todas las paginas", 3},     {"Ultima pagina", 2},
    {"Paginas especificas...", kEspecificas}, {"Invisible (sin sello)", 0},
};

constexpr size_t kLargoEmisor = 45;  // in characters; one as long as this is cut
constexpr size_t kCorteEmisor = 43;

[[nodiscard]] std::string EmisorDe(const Entrada& e) {
    const std::string& emisor = e.cert.issuerCN.empty() ? e.cert.issuerDN : e.cert.issuerCN;
    if (Orvanta::FinDeCaracteres(emisor, kLargoEmisor) == emisor.npos) return emisor;
    return emisor.substr(0, Orvanta::FinDeCaracteres(emisor, kCorteEmisor)) + ".";
}

[[nodiscard]] const char* LugarDeClave(const Entrada& e) {
    if (e.origen == Origen::Dnie) return "en la tarjeta (DNIe)";
    if (e.origen != Origen::Pkcs12) return "lista";
    return e.conClave ? "del fichero" : "sin clave";
}

[[nodiscard]] std::vector<std::string> FilaDe(const Entrada& e) {
    const std::string vence = e.cert.FechaVencimiento();
    return {e.cert.subjectCN.empty() ? "Certificado" : e.cert.subjectCN, Lx::CertStore::NombreOrigen(e.origen),
            EmisorDe(e), vence.empty() ? "-" : vence, LugarDeClave(e)};
}

// What the summary says of a PKCS#12 file begins with the number of its certificates, or says why there are none.
[[nodiscard]] bool FalloPkcs12(const std::string& resumen) {
    constexpr std::string_view kParte = " | PKCS#12: ";
    const size_t i = resumen.find(kParte);
    if (i == resumen.npos) return false;
    const char c = resumen.c_str()[i + kParte.size()];
    return c < '0' || c > '9';
}

}  // namespace

CDlgFirmar::CDlgFirmar(Lx::CWindow* padre, const Paleta::Colores& paleta, const std::string& documento,
                       const Lx::CertStore::Contexto& ctx)
    : CDialog(padre), paleta_(paleta), documento_(documento), ctx_(ctx) {
    title = "Selecciona el certificado digital";
    rect = {0, 0, 660, 520};
    backColor = paleta_[Paleta::kFondo];
    seleccion_.origen = Origen::Personal;
}

CDlgFirmar::~CDlgFirmar() {
    Lx::Limpiar(ctx_.pin);
    Lx::Limpiar(ctx_.clavePkcs12);
}

bool CDlgFirmar::OnInit() {
    SetResizable(false);
    MontarLista();
    MontarSello();
    MontarBotones();
    MontarPkcs12();
    Recargar();
    Seleccionar(0);
    SetFocusControl(lista_);
    return true;
}

Lx::CLabel* CDlgFirmar::Etiqueta(const std::string& texto, const Lx::Rect& donde, Paleta::Rol color, int tamano) {
    Lx::CLabel* l = AddLabel(texto, donde);
    l->SetTextColor(paleta_[color]);
    l->fontSize = tamano;
    return l;
}

void CDlgFirmar::MontarLista() {
    Etiqueta("Elige el certificado digital con el que deseas firmar el PDF:", {16, 16, 628, 16}, Paleta::kTextoSuave,
             12);
    lista_ = AddListView({16, 40, 628, 255});
    for (const char* columna : {"Certificado", "Origen", "Emisor", "Vencimiento"}) lista_->AddColumn(columna, 0);
    lista_->SetMode(Lx::CListView::kCards);
    lista_->SetSelected(-1);
    lista_->SetPlaceholder("Inserta el DNIe, o indica abajo un fichero PKCS#12 y pulsa Intro.");
    lista_->OnSelectionChanged(this, &CDlgFirmar::OnLista);
    lista_->OnActivate(this, &CDlgFirmar::OnActivar);

    Lx::CButton* actualizar = AddButton("Actualizar lista", {16, 306, 120, 26});
    Paleta::VestirBoton(*actualizar, paleta_, false);
    actualizar->OnClick(this, &CDlgFirmar::OnActualizar);
    estado_ = AddLabel("", {144, 310, 500, 20});
    estado_->fontSize = 11;
}

void CDlgFirmar::MontarSello() {
    AddLabel("Sello visual", {16, 348, 85, 24})->fontSize = 12;
    std::vector<std::string> textos;
    for (const auto& fila : kSellos) textos.emplace_back(fila.texto);
    sello_ = AddComboBox(textos, {105, 346, 230, 28});
    sello_->SetSelected(0);
    sello_->OnSelectionChanged(this, &CDlgFirmar::OnSelSello);
    etiquetaPaginas_ = Etiqueta("Paginas:", {350, 350, 55, 20}, Paleta::kTextoSuave, 12);
    edicionPaginas_ = AddEdit("", {410, 346, 234, 28});
    edicionPaginas_->SetPlaceholder("ej. 1, 3, 5-8");
    edicionPaginas_->SetEnabled(false);
    edicionPaginas_->OnEnter(this, &CDlgFirmar::OnEnterLista);
}

void CDlgFirmar::MontarBotones() {
    Etiqueta("Documento: " + documento_, {16, 414, 410, 18}, Paleta::kTextoSuave, 11);
    firmar_ = AddButton("Firmar", {440, 405, 102, 34});
    Paleta::VestirBoton(*firmar_, paleta_, true);
    firmar_->SetEnabled(false);
    firmar_->OnClick(this, &CDlgFirmar::OnAceptar);
    Lx::CButton* cancelar = AddButton("Cancelar", {550, 405, 94, 34});
    Paleta::VestirCancelar(*cancelar, paleta_);
    cancelar->OnClick(this, &CDlgFirmar::OnCancelar);
}

void CDlgFirmar::MontarPkcs12() {
    AddLabel("PKCS#12", {16, 454, 70, 20})->fontSize = 12;
    rutaPkcs12_ = AddEdit(ctx_.rutaPkcs12, {88, 450, 262, 28});
    rutaPkcs12_->SetPlaceholder("Fichero .pfx o .p12");
    rutaPkcs12_->OnEnter(this, &CDlgFirmar::OnEnterPkcs12);
    Lx::CButton* examinar = AddButton("Examinar...", {358, 450, 94, 28});
    Paleta::VestirBoton(*examinar, paleta_, false);
    examinar->OnClick(this, &CDlgFirmar::OnExaminar);
    clavePkcs12_ = AddEdit("", {460, 450, 184, 28});
    clavePkcs12_->SetMasked(true);
    clavePkcs12_->SetPlaceholder("Contraseña");
    clavePkcs12_->SetText(ctx_.clavePkcs12);
    clavePkcs12_->OnEnter(this, &CDlgFirmar::OnEnterPkcs12);
    detalle_ = Etiqueta("", {16, 484, 628, 32}, Paleta::kTextoSuave, 10);
}

void CDlgFirmar::OnTimer(unsigned) {}

void CDlgFirmar::OnSetFocus() {}

void CDlgFirmar::OnKillFocus() {}

void CDlgFirmar::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnCancelar();
    if (key == Lx::KeyCode::Enter) OnAceptar();
}

void CDlgFirmar::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CDlgFirmar::Recargar() {
    SetBusy(true);
    FlushPaint();
    entradas_ = Lx::CertStore::Listar(ctx_, resumen_);
    SetBusy(false);
    lista_->Clear();
    bool tarjeta = false;
    for (const Entrada& e : entradas_) {
        lista_->AddItem(FilaDe(e));
        tarjeta = tarjeta || e.origen == Origen::Dnie;
    }
    // A reader that gives no card any more must not keep the next listing from choosing another one.
    if (!tarjeta) ctx_.lector.clear();
    MostrarEstado(resumen_ + (entradas_.empty() ? "  |  No hay ningun certificado disponible."
                                                : "  |  " + std::to_string(entradas_.size()) + " certificado(s)."));
    haySeleccion_ = false;
    firmar_->SetEnabled(false);
}

void CDlgFirmar::MostrarEstado(const std::string& texto) {
    estado_->SetText(texto);
    const bool cabe = Orvanta::Cabe(texto, estado_->fontSize, estado_->rect.w);
    detalle_->SetTextColor(paleta_[FalloPkcs12(texto) ? Paleta::kError : Paleta::kTextoSuave]);
    detalle_->SetText(cabe ? "" : Orvanta::EnLineas(texto, detalle_->fontSize, detalle_->rect.w));
}

void CDlgFirmar::Seleccionar(int fila) {
    if (fila < 0 || fila >= lista_->GetCount()) return;
    lista_->SetSelected(fila);
    OnLista(fila);
}

void CDlgFirmar::OnLista(int indice) {
    haySeleccion_ = indice >= 0 && static_cast<size_t>(indice) < entradas_.size();
    if (haySeleccion_) {
        seleccion_ = entradas_[static_cast<size_t>(indice)];
        ctx_.lector = seleccion_.origen == Origen::Dnie ? seleccion_.lector : "";
    }
    firmar_->SetEnabled(haySeleccion_);
    if (haySeleccion_) Invalidate(nullptr);
}

void CDlgFirmar::OnActivar(int) {
    OnAceptar();
}

void CDlgFirmar::TomarPkcs12() {
    ctx_.rutaPkcs12 = rutaPkcs12_->GetText();
    Lx::Limpiar(ctx_.clavePkcs12);
    ctx_.clavePkcs12 = clavePkcs12_->GetText();
}

void CDlgFirmar::OnActualizar() {
    TomarPkcs12();
    Recargar();
    Seleccionar(0);
}

void CDlgFirmar::OnSelSello(int indice) {
    const bool valido = indice >= 0 && static_cast<size_t>(indice) < std::size(kSellos);
    modo_ = valido ? kSellos[indice].modo : kPrimera;
    edicionPaginas_->SetEnabled(modo_ == kEspecificas);
    if (modo_ == kEspecificas) SetFocusControl(edicionPaginas_);
    etiquetaPaginas_->SetTextColor(paleta_[modo_ == kEspecificas ? Paleta::kTexto : Paleta::kTextoSuave]);
    ActualizarOpts();
    Invalidate(nullptr);
}

void CDlgFirmar::ActualizarOpts() {
    paginas_ = modo_ == kEspecificas ? edicionPaginas_->GetText() : "";
}

void CDlgFirmar::OnEnterLista(const std::string&) {
    ActualizarOpts();
}

// Who has just named a file means one of its certificates.
void CDlgFirmar::OnEnterPkcs12(const std::string&) {
    TomarPkcs12();
    Recargar();
    const auto suya =
        std::find_if(entradas_.begin(), entradas_.end(), [](const Entrada& e) { return e.origen == Origen::Pkcs12; });
    Seleccionar(suya == entradas_.end() ? 0 : static_cast<int>(suya - entradas_.begin()));
}

void CDlgFirmar::OnExaminar() {
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Elegir certificado PKCS#12");
    dialogo.SetFilter("*.pfx;*.p12");
    dialogo.SetInitialPath(rutaPkcs12_->GetText());
    if (dialogo.DoModal() != Lx::kAccepted) return;
    rutaPkcs12_->SetText(dialogo.GetPath());
    ctx_.rutaPkcs12 = dialogo.GetPath();
    TomarPkcs12();
    Recargar();
    Seleccionar(0);
    if (clavePkcs12_->GetText().empty()) SetFocusControl(clavePkcs12_);
}

void CDlgFirmar::OnAceptar() {
    if (!haySeleccion_) {
        MostrarEstado("Elige un certificado de la lista.");
        return;
    }
    TomarPkcs12();
    ActualizarOpts();
    EndDialog(Lx::kAccepted);
}

void CDlgFirmar::OnCancelar() {
    EndDialog(Lx::kCancelled);
}
