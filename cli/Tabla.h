// How the certificates that can be chosen look.
#pragma once

#include <string>

#include "firma/LxListar.h"

namespace Cli {

// The list with aligned columns, a line each. Cut to `ancho` columns unless that is 0.
[[nodiscard]] std::string Tabla(const Lx::Firma::Certificados& certificados, size_t ancho);

}  // namespace Cli
