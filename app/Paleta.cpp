#include "app/Paleta.h"

#include <cstdio>

namespace Orvanta::Paleta {

namespace {

constexpr int kTamanoBoton = 12;

}  // namespace

Colores DelTema() {
    // The theme has the palette's roles first, in the same order.
    static_assert(static_cast<size_t>(Lx::ColorRole::AppCredit) == kCredito);
    Colores colores;
    for (size_t i = 0; i < colores.size(); ++i) colores[i] = Lx::ThemeColor(static_cast<Lx::ColorRole>(i));
    return colores;
}

std::string Css(const Lx::Color& fondo, const Lx::Color& texto, const Lx::Color& borde, bool negrita, int tamano) {
    char hoja[224];
    std::snprintf(hoja, sizeof hoja,
                  "background-color:#%02x%02x%02x; color:#%02x%02x%02x; border-color:#%02x%02x%02x; border-width:1; "
                  "border-radius:6; %sfont-size:%d;",
                  fondo.r, fondo.g, fondo.b, texto.r, texto.g, texto.b, borde.r, borde.g, borde.b,
                  negrita ? "font-weight-bold:true; " : "", tamano);
    return hoja;
}

void VestirBoton(Lx::CButton& boton, const Colores& c, bool negrita) {
    boton.SetStyle(Css(c[kBoton], c[kBotonTexto], c[kBoton], negrita, kTamanoBoton));
    boton.SetHoverStyle(Css(c[kBotonEncima], c[kBotonTexto], c[kBotonEncima], false, kTamanoBoton));
    // Or one could not tell that it is disabled.
    boton.style.Get(Lx::ButtonState::Disabled).SetProperty("color", c[kSubtitulo]);
}

void VestirMarcado(Lx::CButton& boton, const Colores& c) {
    boton.style.Get(Lx::ButtonState::Checked)
        .ParseCSS(Css(c[kBotonEncima], c[kBotonTexto], c[kTitulo], true, kTamanoBoton));
}

void VestirCancelar(Lx::CButton& boton, const Colores& c) {
    const std::string hoja =
        Css(c[kCancelar], Lx::ThemeColor(Lx::ColorRole::AppOnCancel), c[kCancelar], false, kTamanoBoton);
    boton.SetStyle(hoja);
    boton.SetHoverStyle(hoja);
}

}  // namespace Orvanta::Paleta
