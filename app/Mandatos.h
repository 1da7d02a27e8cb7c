// What the commands of the main window have in common with its menu, its keys and its help.
#pragma once

#include <string>
#include <vector>

#include "ui/LxBackend.h"

namespace Orvanta {

// In the order of the menu; a line stands between two of them.
enum class Grupo { Documento, Editar, Zoom, Ver, Ir, Tema, Programa };

struct Tecla {
    Lx::KeyCode codigo = Lx::KeyCode::Unknown;
    char letra = 0;    // with Control, instead of a code: 'A' to 'Z', '+', '-', '0'
    unsigned con = 0;  // modifiers

    [[nodiscard]] bool Hay() const { return codigo != Lx::KeyCode::Unknown || letra != 0; }
    [[nodiscard]] bool operator==(const Tecla& otra) const = default;
};

// "Ctrl+O", "Mayús+F3"; empty without one.
[[nodiscard]] std::string TextoDe(const Tecla& tecla);

// A line of the help sheet.
struct Ayuda {
    std::string tecla, para;
};
// What the mouse and the keys do that is no command: the page keys, the wheel.
[[nodiscard]] const std::vector<Ayuda>& Gestos();

}  // namespace Orvanta
