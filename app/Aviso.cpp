#include "app/Aviso.h"

#include <algorithm>
#include <utility>

#include "app/AjusteTexto.h"
#include "ui/LxWindow.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr int kTamano = 12;
constexpr int kAlto = 18;  // of a line
constexpr int kMargen = 12;
constexpr int kFranja = 4;  // the coloured edge at the left
constexpr int kCruz = 8;    // side of the mark that closes it
constexpr int kBarra = 6;
constexpr int kAnchoBoton = 94;
constexpr int kAnchoAccion = 170;
constexpr int kAltoBoton = 30;
constexpr float kRadio = 6;
constexpr int kPasos = 20;  // of a bar without an end, from side to side

}  // namespace

Lx::Color CAviso::Color() const {
    if (progreso_ || tono_ == Tono::Informa) return Lx::ThemeColor(Lx::ColorRole::Accent);
    return paleta_[tono_ == Tono::Error ? Paleta::kError : Paleta::kExito];
}

void CAviso::OnPaint(Lx::CCanvas* canvas) {
    const Lx::Color color = Color();
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
    progreso_ ? PintarBarra(*canvas) : PintarCruz(*canvas);
}

void CAviso::PintarCruz(Lx::CCanvas& canvas) const {
    const Lx::Rect x{rect.x + rect.w - kMargen - kCruz, rect.y + kMargen + 3, kCruz, kCruz};
    canvas.DrawLine({x.x, x.y}, {x.x + x.w, x.y + x.h}, paleta_[Paleta::kTextoSuave], 1.5F);
    canvas.DrawLine({x.x + x.w, x.y}, {x.x, x.y + x.h}, paleta_[Paleta::kTextoSuave], 1.5F);
}

void CAviso::PintarBarra(Lx::CCanvas& canvas) const {
    const int izquierda = rect.x + kMargen + kFranja;
    const int ancho = rect.w - 2 * kMargen - kFranja - (boton_ == nullptr ? 0 : kAnchoBoton + kMargen);
    const Lx::Rect pista{izquierda, rect.y + rect.h - kMargen - kBarra, ancho, kBarra};
    canvas.FillRoundRect(pista, kBarra / 2.0F, Lx::ThemeColor(Lx::ColorRole::Track));
    Lx::Rect hecho = pista;
    if (parte_ >= 0) {
        hecho.w = static_cast<int>(parte_ * ancho);
    } else {
        // Forth and back.
        const int lugar = paso_ % (2 * kPasos);
        hecho.w = ancho / 4;
        hecho.x += (ancho - hecho.w) * std::min(lugar, 2 * kPasos - lugar) / kPasos;
    }
    if (hecho.w > 0) canvas.FillRoundRect(hecho, kBarra / 2.0F, Lx::ThemeColor(Lx::ColorRole::Accent));
}

void CAviso::OnEvent(Lx::Event& ev) {
    using Lx::EventType;
    const auto tecla = static_cast<Lx::KeyCode>(ev.key);
    const bool quita =
        ev.type == EventType::MouseUp ||
        (ev.type == EventType::KeyDown && (tecla == Lx::KeyCode::Escape || tecla == Lx::KeyCode::Enter)) ||
        (ev.type == EventType::Char && ev.key == ' ');
    if (Lx::IsMouseEvent(ev.type)) ev.handled = true;
    if (!quita || progreso_) return;
    ev.handled = true;
    Quitar();
}

Lx::AccessibleInfo CAviso::Accessibility() const {
    Lx::AccessibleInfo info;
    info.role = Lx::AccessibleRole::Notification;
    info.name = texto_;
    if (!progreso_) info.description = "Cerrar el aviso";
    return info;
}

bool CAviso::DoAccessibleAction(Lx::AccessibleAction action, const std::string&, int) {
    if (action != Lx::AccessibleAction::Press || progreso_) return false;
    Quitar();
    return true;
}

void CAviso::OnThemeChanged() {
    paleta_ = Paleta::DelTema();
    if (boton_ != nullptr) Paleta::VestirCancelar(*boton_, paleta_);
    if (botonAccion_ != nullptr) Paleta::VestirBoton(*botonAccion_, paleta_, false);
}

void CAviso::PonerBoton(Lx::CButton* boton) {
    boton_ = boton;
    boton_->visible = false;
}

void CAviso::PonerBotonAccion(Lx::CButton* boton) {
    botonAccion_ = boton;
    botonAccion_->visible = false;
    botonAccion_->onClick = [this] {
        const auto hacer = accion_.hacer;
        Quitar();
        if (hacer) hacer();
    };
}

void CAviso::Mostrar(const std::string& texto, Tono tono, Accion accion) {
    tono_ = tono;
    progreso_ = false;
    accion_ = std::move(accion);
    if (botonAccion_ != nullptr) botonAccion_->SetText(accion_.texto);
    Ensenar(texto);
}

void CAviso::MostrarProgreso(const std::string& texto, double parte) {
    if (texto.empty()) return Quitar();
    progreso_ = true;
    parte_ = parte;
    ++paso_;
    Ensenar(texto);
}

void CAviso::Ensenar(const std::string& texto) {
    texto_ = Orvanta::SinControl(texto, true);
    visible = true;
    Colocar(franja_, arriba_);
}

void CAviso::Quitar() {
    if (!visible) return;
    visible = progreso_ = false;
    Invalidate(nullptr);
    auto* ventana = dynamic_cast<Lx::CWindow*>(parent);
    bool tenia = ventana != nullptr && ventana->focus == this;
    for (Lx::CButton* boton : {boton_, botonAccion_}) {
        if (boton == nullptr) continue;
        tenia = tenia || (ventana != nullptr && ventana->focus == boton);
        boton->visible = false;
    }
    if (tenia) ventana->SetFocusControl(despues_);
}

void CAviso::Colocar(const Lx::Rect& franja, bool arriba) {
    franja_ = franja;
    arriba_ = arriba;
    const bool conAccion = !progreso_ && botonAccion_ != nullptr && !accion_.texto.empty();
    const int boton = progreso_ && boton_ != nullptr ? kAnchoBoton : conAccion ? kAnchoAccion : 0;
    const int cruz = progreso_ ? 0 : kMargen + kCruz;
    lineas_ =
        Orvanta::EnLineas(texto_, kTamano, franja.w - 2 * kMargen - kFranja - cruz - (boton > 0 ? boton + kMargen : 0));
    const int lineas = static_cast<int>(std::count(lineas_.begin(), lineas_.end(), '\n')) + 1;
    const int alto = lineas * kAlto + 2 * kMargen - 4 + (progreso_ ? kBarra + 8 : 0);
    rect = {franja.x, arriba ? franja.y : franja.y + franja.h - alto, franja.w, alto};
    ColocarBoton(boton_, EnProgreso(), kAnchoBoton, kMargen);
    ColocarBoton(botonAccion_, visible && conAccion, kAnchoAccion, 2 * kMargen + kCruz);
    Invalidate(nullptr);
}

void CAviso::ColocarBoton(Lx::CButton* boton, bool toca, int ancho, int derecha) const {
    if (boton == nullptr) return;
    boton->visible = toca;
    boton->rect = {rect.x + rect.w - derecha - ancho, rect.y + (rect.h - kAltoBoton) / 2, ancho, kAltoBoton};
}
