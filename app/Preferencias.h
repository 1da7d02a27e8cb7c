// What the person has chosen for good.
#pragma once

#include <string>

namespace Orvanta {

enum class Tema { DelEscritorio, Claro, Oscuro };

struct Preferencias {
    Tema tema = Tema::DelEscritorio;
    bool recientes = true;  // documents that were open are remembered
};

// What can't be read, or isn't there, is as above.
[[nodiscard]] Preferencias LeerPreferencias();
// False when it can't be kept.
[[nodiscard]] bool GuardarPreferencias(const Preferencias& preferencias);

}  // namespace Orvanta
