#include "app/DlgFirmar.h"

#include <iterator>

#include "app/Pregunta.h"
#include "app/Teclado.h"
#include "crypto/LxSecreto.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

namespace Paleta = Orvanta::Paleta;
using Lx::CertStore::Origen;

namespace {

// In the order of the list, which is not that of the engine's modes.
constexpr struct {
    const char* texto;
    LxPdfSigner::Sello modo;
} kSellos[] = {
    {"Primera pagina (defecto)", LxPdfSigner::kPrimera},
    {"Todas las paginas", LxPdfSigner::kTodas},
    {"Ultima pagina", LxPdfSigner::kUltima},
    {"Paginas especificas...", LxPdfSigner::kPaginas},
    {"Invisible (sin sello)", LxPdfSigner::kInvisible},
};

[[nodiscard]] std::string ConMayuscula(const std::string& frase) {
    if (frase.empty() || frase[0] < 'a' || frase[0] > 'z') return frase;
    return static_cast<char>(frase[0] - 'a' + 'A') + frase.substr(1);
}

}  // namespace

CDlgFirmar::CDlgFirmar(Lx::CWindow* padre, const Paleta::Colores& paleta, const std::string& documento,
                       const Lx::CertStore::Contexto& ctx)
    : CDialog(padre), paleta_(paleta), documento_(documento), ctx_(ctx), correo_(std::make_shared<Correo>()) {
    title = "Selecciona el certificado digital";
    rect = {0, 0, 660, 520};
    footer = 520 - 397;  // from above "Firmar" on
    backColor = paleta_[Paleta::kFondo];
    seleccion_.origen = Origen::Personal;
}

CDlgFirmar::~CDlgFirmar() {
    correo_->Cerrar();
}

bool CDlgFirmar::OnInit() {
    SetResizable(false);
    MontarLista();
    MontarSello();
    MontarBotones();
    MontarPkcs12();
    aviso_ = new CAviso(paleta_, lista_);
    AddControl(aviso_);
    aviso_->Colocar({28, 40, 604, 243});
    vigilante_ =
        std::make_unique<Lx::Firma::Vigilante>([correo = correo_, this] { correo->Enviar([this] { OnTarjeta(); }); });
    SetFocusControl(lista_);
    Recargar();
    return true;
}

void CDlgFirmar::OnDestroy() {
    vigilante_.reset();
    tarea_.Abandonar();
    CDialog::OnDestroy();
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
    examinar_ = AddButton("Examinar...", {358, 450, 94, 28});
    Paleta::VestirBoton(*examinar_, paleta_, false);
    examinar_->OnClick(this, &CDlgFirmar::OnExaminar);
    clavePkcs12_ = AddEdit("", {460, 450, 184, 28});
    clavePkcs12_->SetMasked(true);
    clavePkcs12_->SetPlaceholder("Contraseña");
    clavePkcs12_->SetText(ctx_.clavePkcs12);
    clavePkcs12_->OnEnter(this, &CDlgFirmar::OnEnterPkcs12);
    detalle_ = Etiqueta("", {16, 484, 628, 32}, Paleta::kTextoSuave, 10);
}

void CDlgFirmar::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnCancelar();
    if (key == Lx::KeyCode::Enter) OnAceptar();
}

void CDlgFirmar::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CDlgFirmar::TomarPkcs12() {
    ctx_.rutaPkcs12 = rutaPkcs12_->GetText();
    Lx::Limpiar(ctx_.clavePkcs12);
    ctx_.clavePkcs12 = clavePkcs12_->GetText();
}

void CDlgFirmar::OnSelSello(int indice) {
    const bool valido = indice >= 0 && static_cast<size_t>(indice) < std::size(kSellos);
    modo_ = valido ? kSellos[indice].modo : LxPdfSigner::kPrimera;
    edicionPaginas_->SetEnabled(modo_ == LxPdfSigner::kPaginas);
    if (modo_ == LxPdfSigner::kPaginas) SetFocusControl(edicionPaginas_);
    etiquetaPaginas_->SetTextColor(paleta_[modo_ == LxPdfSigner::kPaginas ? Paleta::kTexto : Paleta::kTextoSuave]);
    ActualizarOpts();
    Invalidate(nullptr);
}

void CDlgFirmar::ActualizarOpts() {
    paginas_ = modo_ == LxPdfSigner::kPaginas ? edicionPaginas_->GetText() : "";
}

void CDlgFirmar::OnEnterLista(const std::string&) {
    ActualizarOpts();
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
    if (clavePkcs12_->GetText().empty()) SetFocusControl(clavePkcs12_);
}

void CDlgFirmar::OnAceptar() {
    if (!haySeleccion_) {
        MostrarEstado("Elige un certificado de la lista.");
        return;
    }
    if (!aptitud_.Salvable()) {
        MostrarEstado(ConMayuscula(Lx::Firma::Explicar(seleccion_, aptitud_).frase), true);
        return;
    }
    if (!aptitud_.Apto() && !AceptaImpedimentos()) return;
    TomarPkcs12();
    ActualizarOpts();
    EndDialog(Lx::kAccepted);
}

bool CDlgFirmar::AceptaImpedimentos() {
    std::string frase;
    for (const Lx::Motivo m : aptitud_.impedimentos)
        frase += ConMayuscula(Lx::Firma::Explicar(seleccion_, {{m}}).frase) + " ";
    CPregunta pregunta(this, paleta_,
                       {"Certificado no apto", frase + "¿Firmar con él de todos modos?", "Firmar con él", "No firmar"});
    // While it was asked, the card may have gone.
    return pregunta.DoModal() == Lx::kAccepted && haySeleccion_;
}

void CDlgFirmar::OnCancelar() {
    EndDialog(Lx::kCancelled);
}
