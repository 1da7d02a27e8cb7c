#include "app/AyudaDialog.h"

#include <utility>

#include "app/Teclado.h"
#include "ui/LxButton.h"
#include "ui/LxListView.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kAncho = 640, kAlto = 480, kMargen = 16;
constexpr int kAnchoTeclas = 190;
constexpr Lx::Size kBoton{110, 32};

}  // namespace

CAyudaDialog::CAyudaDialog(Lx::CWindow* padre, const Paleta::Colores& paleta, std::vector<Orvanta::Ayuda> lineas)
    : CDialog(padre), paleta_(paleta), lineas_(std::move(lineas)) {
    title = "Ayuda de Velmora";
    rect = {0, 0, kAncho, kAlto};
    least = {kAncho / 2, kAlto / 2};
    backColor = paleta_[Paleta::kFondo];
}

bool CAyudaDialog::OnInit() {
    SetResizable(true);
    SetMinSize(least);
    lista_ = AddListView({});
    lista_->AddColumn("Tecla", kAnchoTeclas);
    lista_->AddColumn("Qué hace", 0);
    for (const Orvanta::Ayuda& linea : lineas_) lista_->AddItem({linea.tecla, linea.para});
    cerrar_ = AddButton("Cerrar", {});
    Paleta::VestirBoton(*cerrar_, paleta_, false);
    cerrar_->OnClick(this, &CAyudaDialog::OnCerrar);
    SetFocusControl(lista_);
    OnSize(0, {rect.w, rect.h});
    return true;
}

void CAyudaDialog::OnSize(unsigned, const Lx::Size& size) {
    const int y = size.cy - kMargen - kBoton.cy;
    lista_->rect = {kMargen, kMargen, size.cx - 2 * kMargen, y - 2 * kMargen};
    cerrar_->rect = {size.cx - kMargen - kBoton.cx, y, kBoton.cx, kBoton.cy};
}

void CAyudaDialog::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape || key == Lx::KeyCode::Enter) OnCerrar();
}

void CAyudaDialog::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CAyudaDialog::OnCerrar() {
    EndDialog(Lx::kCancelled);
}
