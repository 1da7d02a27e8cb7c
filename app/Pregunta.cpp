#include "app/Pregunta.h"

#include <algorithm>
#include <utility>

#include "app/AjusteTexto.h"
#include "app/Teclado.h"
#include "ui/LxButton.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kAncho = 420;
constexpr int kMargen = 24;
constexpr int kLetra = 13;
constexpr int kAltoLinea = 17;
constexpr int kBoton = 140;
constexpr int kAltoBoton = 34;

}  // namespace

CPregunta::CPregunta(Lx::CWindow* padre, const Paleta::Colores& paleta, Textos textos)
    : CDialog(padre), paleta_(paleta), textos_(std::move(textos)) {
    title = textos_.titulo;
    textos_.frase = Orvanta::EnLineas(textos_.frase, kLetra, kAncho - 2 * kMargen);
    const auto lineas = static_cast<int>(std::count(textos_.frase.begin(), textos_.frase.end(), '\n')) + 1;
    rect = {0, 0, kAncho, 3 * kMargen + lineas * kAltoLinea + kAltoBoton};
    backColor = paleta_[Paleta::kFondo];
}

bool CPregunta::OnInit() {
    SetResizable(false);
    const int ancho = kAncho - 2 * kMargen;
    const int y = rect.h - kMargen - kAltoBoton;
    Lx::CLabel* frase = AddLabel(textos_.frase, {kMargen, kMargen, ancho, y - 2 * kMargen});
    frase->SetTextColor(paleta_[Paleta::kTexto]);
    frase->fontSize = kLetra;
    Lx::CButton* si = AddButton(textos_.si, {kAncho - kMargen - 2 * kBoton - 10, y, kBoton, kAltoBoton});
    Paleta::VestirBoton(*si, paleta_, true);
    si->OnClick(this, &CPregunta::OnSi);
    Lx::CButton* no = AddButton(textos_.no, {kAncho - kMargen - kBoton, y, kBoton, kAltoBoton});
    Paleta::VestirCancelar(*no, paleta_);
    no->OnClick(this, &CPregunta::OnNo);
    SetFocusControl(no);
    return true;
}

void CPregunta::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnNo();
    if (key == Lx::KeyCode::Enter) Orvanta::PulsarFoco(*this);
}

void CPregunta::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CPregunta::OnSi() {
    EndDialog(Lx::kAccepted);
}

void CPregunta::OnNo() {
    EndDialog(Lx::kCancelled);
}
