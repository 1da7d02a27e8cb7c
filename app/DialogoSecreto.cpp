#include "app/DialogoSecreto.h"

#include "app/Campo.h"
#include "app/Teclado.h"
#include "crypto/LxSecreto.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr unsigned kParpadeo = 1;
constexpr unsigned kPeriodo = 530;  // ms
// Far above what any card or store takes: one that is too long must be refused, and not be cut and sent.
constexpr int kLargo = 255;

}  // namespace

CDialogoSecreto::CDialogoSecreto(Lx::CWindow* padre, const Paleta::Colores& paleta, std::string& secreto)
    : CDialog(padre), paleta_(paleta), secreto_(secreto) {
    rect = {0, 0, 420, 250};
    backColor = paleta_[Paleta::kFondo];
}

void CDialogoSecreto::Montar(const Textos& textos) {
    SetResizable(false);
    const auto etiqueta = [this](const std::string& texto, const Lx::Rect& donde, Paleta::Rol color, int tamano) {
        Lx::CLabel* l = AddLabel(texto, donde);
        l->SetTextColor(paleta_[color]);
        l->fontSize = tamano;
        return l;
    };
    etiqueta(textos.titulo, {24, 16, 372, 20}, Paleta::kTitulo, 13);
    etiqueta(textos.quien, {24, 38, 372, 18}, Paleta::kTexto, 11);
    etiqueta(textos.peticion, {24, 62, 372, 18}, Paleta::kTextoSuave, 11);
    edicion_ = AddEdit("", {24, 90, 372, 30});
    edicion_->SetMasked(true);
    edicion_->SetMaxLength(kLargo);
    edicion_->SetPlaceholder(textos.indicacion);
    mensaje_ = etiqueta("", {24, 126, 372, 18}, Paleta::kError, 11);
    etiqueta(textos.aviso, {24, 148, 372, 16}, Paleta::kTextoSuave, 10);
    vacio_ = textos.vacio;
    abre_ = textos.abre;
    ultimo_ = textos.ultimo;
    alarma_ = textos.rechazado || textos.ultimo;
    edicion_->OnChange(this, &CDialogoSecreto::OnCambio);
    Decir(abre_, alarma_);
    Marcar(textos.rechazado);

    Lx::CButton* aceptar = AddButton("Aceptar", {194, 188, 100, 34});
    Paleta::VestirBoton(*aceptar, paleta_, true);
    aceptar->OnClick(this, &CDialogoSecreto::OnAceptar);
    Lx::CButton* cancelar = AddButton("Cancelar", {304, 188, 92, 34});
    Paleta::VestirCancelar(*cancelar, paleta_);
    cancelar->OnClick(this, &CDialogoSecreto::OnCancelar);

    SetTimer(kParpadeo, kPeriodo);
    SetFocusControl(edicion_);
}

void CDialogoSecreto::Decir(const std::string& mensaje, bool error) {
    mensaje_->SetTextColor(paleta_[error ? Paleta::kError : Paleta::kTexto]);
    mensaje_->SetText(mensaje);
}

void CDialogoSecreto::Marcar(bool error) {
    Orvanta::MarcarCampo(*edicion_, paleta_, error);
}

void CDialogoSecreto::OnCambio(const std::string&) {
    confirmable_ = {};
    Marcar(false);
    Decir(abre_, alarma_);
}

// A key that is held, or pressed twice by habit, is no second thought.
bool CDialogoSecreto::ConfirmaUltimo() {
    constexpr auto kPausa = std::chrono::milliseconds(500);
    const auto ahora = std::chrono::steady_clock::now();
    const bool confirma = confirmable_.time_since_epoch().count() != 0 && ahora >= confirmable_;
    confirmable_ = ahora + kPausa;
    if (!confirma) Decir("Es el último intento: pulsa Aceptar otra vez para usarlo.");
    return confirma;
}

void CDialogoSecreto::OnAceptar() {
    if (edicion_->GetText().empty()) {
        Decir(vacio_);
        SetFocusControl(edicion_);
        Invalidate(nullptr);
        return;
    }
    if (ultimo_ && !ConfirmaUltimo()) return;
    Lx::Limpiar(secreto_);
    secreto_ = edicion_->GetText();
    EndDialog(Lx::kAccepted);
}

void CDialogoSecreto::OnCancelar() {
    EndDialog(Lx::kCancelled);
}

void CDialogoSecreto::OnTimer(unsigned id) {
    if (id != kParpadeo) return;
    edicion_->caretVisible = !edicion_->caretVisible;
    edicion_->Invalidate(&edicion_->rect);
}

void CDialogoSecreto::OnSetFocus() {
    Lx::Event ev;
    ev.type = Lx::EventType::SetFocus;
    edicion_->OnEvent(ev);
}

void CDialogoSecreto::OnKillFocus() {
    Lx::Event ev;
    ev.type = Lx::EventType::KillFocus;
    edicion_->OnEvent(ev);
}

void CDialogoSecreto::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnCancelar();
    if (key == Lx::KeyCode::Enter && !Orvanta::PulsarFoco(*this)) OnAceptar();
}

void CDialogoSecreto::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}
