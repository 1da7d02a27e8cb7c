// The colours that the application's windows share, and the style sheets made of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "ui/LxButton.h"
#include "ui/LxTypes.h"

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

[[nodiscard]] constexpr Lx::Color Opaco(uint32_t rrggbb) {
    return {static_cast<uint8_t>(rrggbb >> 16), static_cast<uint8_t>(rrggbb >> 8), static_cast<uint8_t>(rrggbb), 255};
}

inline constexpr Lx::Color kBlanco = Opaco(0xFFFFFF);

inline constexpr Colores kColores = {
    Opaco(0xF5F7FB), Opaco(0xFFFFFF), Opaco(0x0D2B5E), Opaco(0xDFE4EC), Opaco(0x10203A),
    Opaco(0xCDD8EC), Opaco(0xFFFFFF), Opaco(0x101828), Opaco(0x5A687E), Opaco(0x788498),
    Opaco(0xC8D2E0), Opaco(0x208C52), Opaco(0xC63434), Opaco(0x10203A), Opaco(0xFFFFFF),
    Opaco(0x1E3E74), Opaco(0xBE2E2E), Opaco(0x243046), Opaco(0xC6D2E6),
};

// Style sheet of a button. Alpha is ignored.
[[nodiscard]] std::string Css(const Lx::Color& fondo, const Lx::Color& texto, const Lx::Color& borde, bool negrita,
                              int tamano);

// The look of a button that does something, and of one that gives up.
void VestirBoton(Lx::CButton& boton, const Colores& c, bool negrita);
void VestirCancelar(Lx::CButton& boton, const Colores& c);

}  // namespace Orvanta::Paleta
