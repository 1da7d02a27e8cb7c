// Passwords and PINs: read from a file, from standard input or from the terminal without echo, and wiped after use.
#pragma once

#include <optional>
#include <string>

#include "crypto/LxSecreto.h"

namespace Cli {

using Lx::Limpiar;
using Lx::Secreto;

// What a secret is called in the sentences about it.
struct NombreSecreto {
    const char* ninguno;
    const char* el;
    const char* de;
    const char* larga;  // the adjective
    const char* opcion;
};
inline constexpr NombreSecreto kContrasena = {"ninguna contraseña", "la contraseña", "de la contraseña", "larga",
                                              "--clave-desde"};
inline constexpr NombreSecreto kClaveAlmacen = {"ninguna contraseña", "la contraseña", "de la contraseña", "larga",
                                                "--clave-almacen-desde"};
inline constexpr NombreSecreto kPin = {"ningún PIN", "el PIN", "del PIN", "largo", "--pin-desde"};

// Whether the password will be asked for on the terminal: no source was named, or it is "-" and standard input is one.
[[nodiscard]] bool SePregunta(const std::optional<std::string>& fuente);

// First line of the file `fuente`, or of standard input when it is "-", without its line end. An empty one is legal.
// On false `clave` is empty and `error` a sentence. Tells the user of a file that others may read.
[[nodiscard]] bool LeerClave(const NombreSecreto& que, const std::string& fuente, std::string& clave,
                             std::string& error);

// Asks on the process's own terminal, whatever the standard streams are. The terminal shows what is typed again
// afterwards, also when a signal ends or stops the program meanwhile.
[[nodiscard]] bool PreguntarClave(const NombreSecreto& que, const std::string& pregunta, std::string& clave,
                                  std::string& error);

}  // namespace Cli
