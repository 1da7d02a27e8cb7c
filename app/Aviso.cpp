#include "app/Aviso.h"

#include <algorithm>

#include "app/AjusteTexto.h"
#include "ui/LxWindow.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kTamano = 12;
constexpr int kAlto = 18;  // of a line
constexpr int kMargen = 12;
constexpr int kFranja = 4;  // the coloured edge at the left
constexpr int kCruz = 8;    // side of the mark that closes it
constexpr float kRadio = 6;

}  // namespace

void CAviso::OnPaint(Lx::CCanvas* canvas) {
    const Lx::Color color = paleta_[error_ ? Paleta::kError : Paleta::kExito];
    canvas->FillRoundRect(rect, kRadio, paleta_[Paleta::kPanel]);
    canvas->FillRect({rect.x, rect.y + kMargen / 2, kFranja, rect.h - kMargen}, color);
    canvas->DrawRoundRect(rect, kRadio, HasFocus() ? color : paleta_[Paleta::kBorde], 1);
    Lx::Point p{rect.x + kMargen + kFranja, rect.y + kMargen};
    for (size_t i = 0; i < lineas_.size();) {
        const size_t fin = std::min(lineas_.find('\n', i), lineas_.size());
        canvas->DrawText(lineas_.substr(i, fin - i), p, paleta_[Paleta::kTexto], "system", kTamano, false, false);
        p.y += kAlto;
        i = fin + 1;
    }
    const Lx::Rect x{rect.x + rect.w - kMargen - kCruz, rect.y + kMargen + 3, kCruz, kCruz};
    canvas->DrawLine({x.x, x.y}, {x.x + x.w, x.y + x.h}, paleta_[Paleta::kTextoSuave], 1.5F);
    canvas->DrawLine({x.x + x.w, x.y}, {x.x, x.y + x.h}, paleta_[Paleta::kTextoSuave], 1.5F);
}

void CAviso::OnEvent(Lx::Event& ev) {
    using Lx::EventType;
    const auto tecla = static_cast<Lx::KeyCode>(ev.key);
    const bool quita =
        ev.type == EventType::MouseUp ||
        (ev.type == EventType::KeyDown && (tecla == Lx::KeyCode::Escape || tecla == Lx::KeyCode::Enter)) ||
        (ev.type == EventType::Char && ev.key == ' ');
    if (Lx::IsMouseEvent(ev.type)) ev.handled = true;
    if (!quita) return;
    ev.handled = true;
    Quitar();
}

Lx::AccessibleInfo CAviso::Accessibility() const {
    Lx::AccessibleInfo info;
    info.role = Lx::AccessibleRole::Button;
    info.name = texto_;
    info.description = "Cerrar el aviso";
    return info;
}

bool CAviso::DoAccessibleAction(Lx::AccessibleAction action, const std::string&, int) {
    if (action != Lx::AccessibleAction::Press) return false;
    Quitar();
    return true;
}

void CAviso::Mostrar(const std::string& texto, bool error) {
    texto_ = texto;
    error_ = error;
    visible = true;
    Colocar(franja_);
}

void CAviso::Quitar() {
    if (!visible) return;
    visible = false;
    Invalidate(nullptr);
    auto* ventana = dynamic_cast<Lx::CWindow*>(parent);
    if (ventana != nullptr && ventana->focus == this) ventana->SetFocusControl(despues_);
}

void CAviso::Colocar(const Lx::Rect& franja) {
    franja_ = franja;
    lineas_ = Orvanta::EnLineas(texto_, kTamano, franja.w - 3 * kMargen - kFranja - kCruz);
    const int lineas = static_cast<int>(std::count(lineas_.begin(), lineas_.end(), '\n')) + 1;
    const int alto = lineas * kAlto + 2 * kMargen - 4;
    rect = {franja.x, franja.y + franja.h - alto, franja.w, alto};
    Invalidate(nullptr);
}
