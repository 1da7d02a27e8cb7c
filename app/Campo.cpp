#include "app/Campo.h"

#include <cstdio>

namespace Orvanta {

void MarcarCampo(Lx::CEdit& edicion, const Paleta::Colores& paleta, bool error) {
    const Lx::Color& c = paleta[Paleta::kError];
    char hoja[96] = "";
    if (error) {
        std::snprintf(hoja, sizeof hoja, "color:#%02x%02x%02x; border-color:#%02x%02x%02x; focus-color:#%02x%02x%02x;",
                      c.r, c.g, c.b, c.r, c.g, c.b, c.r, c.g, c.b);
    }
    edicion.SetStyle(hoja);
}

}  // namespace Orvanta
