// The program's command line.
#pragma once

#include <string>
#include <vector>

namespace Orvanta {

struct LineaDeOrdenes {
    enum class Accion { Abrir, Ayuda, Version, Diagnostico, Error };

    Accion accion = Accion::Abrir;
    std::vector<std::string> documentos;  // one window each
    std::string error;                    // a sentence, of Accion::Error
};

// Of what stands after the program's name.
[[nodiscard]] LineaDeOrdenes LeerLinea(const std::vector<std::string>& palabras);
[[nodiscard]] std::string TextoDeAyuda();

}  // namespace Orvanta
