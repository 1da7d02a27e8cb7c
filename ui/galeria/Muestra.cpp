#include "ui/galeria/Muestra.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "ui/LxTheme.h"
#include "ui/galeria/Galeria.h"

namespace Lx {

namespace {

constexpr int kLado = 16, kHueco = 4;  // device pixels

std::vector<uint32_t> Ajedrez() {
    std::vector<uint32_t> puntos(size_t{kLado} * kLado);
    for (size_t i = 0; i < puntos.size(); ++i) puntos[i] = (i + i / kLado) % 2 == 0 ? 0 : 0xFFFFFF;
    return puntos;
}

}  // namespace

void CMuestra::OnPaint(CCanvas* canvas) {
    const auto enPuntos = [escala = canvas->DeviceScale()](int n) {
        return static_cast<int>(std::lround(static_cast<float>(n) * escala));
    };
    const Rect tablero{enPuntos(rect.x) - 1, enPuntos(rect.y) - 1, kLado, kLado};
    static const std::vector<uint32_t> puntos = Ajedrez();
    const auto* filas = reinterpret_cast<const unsigned char*>(puntos.data());
    canvas->DrawPixels(filas, kLado, kLado, 4 * kLado, {0, 0, kLado, kLado}, tablero);
    // One of its white squares, made larger.
    const Rect grande{tablero.x + kLado + kHueco, tablero.y + 1, kLado, kLado};
    canvas->DrawPixels(filas, kLado, kLado, 4 * kLado, {1, 0, 1, 1}, grande);
    canvas->FillDevice({grande.x + kLado + kHueco, grande.y, 1, kLado}, ThemeColor(ColorRole::AppText));
    if (!dicha_) Anotar("muestra %d %d", tablero.x + 1, tablero.y + 1);
    dicha_ = true;
}

void CMuestra::OnEvent(Event& ev) {
    if (ev.type == EventType::MouseDown) Anotar("toca %u", ev.modifiers);
    if (ev.type != EventType::Scroll) return;
    Anotar("desplaza %g %g", static_cast<double>(ev.scrollX), static_cast<double>(ev.scrollY));
    // The far side lets it through.
    ev.handled = ev.pt.x < rect.x + rect.w / 2;
}

void CMuestra::OnThemeChanged() {
    Anotar("tema");
}

}  // namespace Lx
