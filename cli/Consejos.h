// What a user can do about a document that was not signed, which the failure's sentence itself does not say.
#pragma once

#include <string>

#include "crypto/LxMotivo.h"

namespace Cli {

// A sentence without its "Consejo:"; empty when there is none.
[[nodiscard]] std::string ConsejoPara(Lx::Motivo motivo);

}  // namespace Cli
