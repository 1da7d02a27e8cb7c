// The system's error numbers for people.
#pragma once

#include <string>

namespace Lx::Api {

// What the number means, in Spanish whatever the locale, without a full stop.
[[nodiscard]] std::string ExplicarErrno(int numero);

// The path as one word of the shell, for commands that are shown to a person.
[[nodiscard]] std::string Citar(const std::string& ruta);

}  // namespace Lx::Api
