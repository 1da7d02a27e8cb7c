// What ExeDirectory and ExeName make of a path, apart from the running program's own.
#pragma once

#include <string>

namespace Lx::Api::Interno {

[[nodiscard]] std::string CarpetaDe(const std::string& ruta);  // "/" for the root, "." without a slash
[[nodiscard]] std::string NombreDe(const std::string& ruta);   // all of it without a slash

}  // namespace Lx::Api::Interno
