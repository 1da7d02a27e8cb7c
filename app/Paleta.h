// The colours that the application's windows share, and the style sheets made of them.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "ui/LxButton.h"
#include "ui/LxTheme.h"

namespace Orvanta::Paleta {

// What a colour is for; its place in Colores.
enum Rol : size_t {
    kFondo,
    kCabecera,
    kTitulo,
    kLinea,
    kBarra,
    kBarraTexto,
    kPanel,
    kTexto,
    kTextoSuave,
    kSubtitulo,
    kBorde,
    kExito,
    kError,
    kBoton,
    kBotonTexto,
    kBotonEncima,
    kCancelar,
    kPie,
    kCredito,
    kCuantos,
};

using Colores = std::array<Lx::Color, kCuantos>;

// Those of the theme in force.
[[nodiscard]] Colores DelTema();

// Style sheet of a button. Alpha is ignored.
[[nodiscard]] std::string Css(const Lx::Color& fondo, const Lx::Color& texto, const Lx::Color& borde, bool negrita,
                              int tamano);

// The look of a button that does something, and of one that gives up.
void VestirBoton(Lx::CButton& boton, const Colores& c, bool negrita);
// The look that tells a toggle that is on, after VestirBoton.
void VestirMarcado(Lx::CButton& boton, const Colores& c);
void VestirCancelar(Lx::CButton& boton, const Colores& c);

}  // namespace Orvanta::Paleta
