#include "app/DlgFirmar.h"

#include "app/Campo.h"
#include "app/Pregunta.h"
#include "app/Teclado.h"
#include "crypto/LxSecreto.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

namespace Paleta = Orvanta::Paleta;
using Lx::CertStore::Origen;
using Orvanta::MarcarCampo;

CDlgFirmar::CDlgFirmar(Lx::CWindow* padre, const Paleta::Colores& paleta, const std::string& documento,
                       const Lx::CertStore::Contexto& ctx, int paginas)
    : CDialog(padre),
      paleta_(paleta),
      documento_(documento),
      ctx_(ctx),
      total_(paginas),
      correo_(std::make_shared<Correo>()) {
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
    MontarDestino();
    MontarBotones();
    MontarPkcs12();
    RevisarDestino();
    aviso_ = new CAviso(paleta_, lista_);
    AddControl(aviso_);
    // Over the line that will say what was found, never over what was.
    aviso_->Colocar({144, 240, 500, 105});
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

void CDlgFirmar::MontarBotones() {
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
    for (Lx::CEdit* e : {rutaPkcs12_, clavePkcs12_}) e->OnChange(this, &CDlgFirmar::OnCambioPkcs12);
    detalle_ = Etiqueta("", {16, 484, 628, 32}, Paleta::kTextoSuave, 10);
}

void CDlgFirmar::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnCancelar();
    if (key == Lx::KeyCode::Enter && !Orvanta::PulsarFoco(*this)) OnAceptar();
}

void CDlgFirmar::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CDlgFirmar::TomarPkcs12() {
    ctx_.rutaPkcs12 = rutaPkcs12_->GetText();
    Lx::Limpiar(ctx_.clavePkcs12);
    ctx_.clavePkcs12 = clavePkcs12_->GetText();
}

void CDlgFirmar::OnExaminar() {
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Elegir certificado PKCS#12");
    dialogo.SetFilter("*.pfx;*.p12");
    dialogo.SetInitialPath(rutaPkcs12_->GetText());
    if (dialogo.DoModal() != Lx::kAccepted) return;
    rutaPkcs12_->SetText(dialogo.GetPath());
    MarcarCampo(*rutaPkcs12_, paleta_, false);
    SetFocusControl(clavePkcs12_);
    OnEnterPkcs12("");
}

void CDlgFirmar::OnAceptar() {
    if (!listaBuena_) return SetFocusControl(edicionPaginas_);
    if (!destinoBueno_) return SetFocusControl(guardarComo_);
    if (!haySeleccion_) {
        MostrarEstado("Elige un certificado de la lista.");
        return;
    }
    if (!aptitud_.Salvable()) {
        MostrarEstado(Lx::ComoFrase(Lx::Firma::Explicar(seleccion_, aptitud_).frase), true);
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
        frase += Lx::ComoFrase(Lx::Firma::Explicar(seleccion_, {{m}}).frase) + " ";
    CPregunta pregunta(this, paleta_,
                       {"Certificado no apto", frase + "¿Firmar con él de todos modos?", "Firmar con él", "No firmar"});
    // While it was asked, the card may have gone.
    return pregunta.DoModal() == Lx::kAccepted && haySeleccion_;
}

void CDlgFirmar::OnCancelar() {
    EndDialog(Lx::kCancelled);
}
