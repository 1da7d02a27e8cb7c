// The identity card's PIN, once per run.
#pragma once

#include <string>

#include "cli/Argumentos.h"

namespace Cli {

// Reads the PIN from its source, or asks for it after telling the tries that it has left. Nothing is sent to the card
// but the question for those tries, which costs none: a blocked PIN isn't asked for, one of the wrong length is refused
// here. On false `pin` is empty and `error` a sentence.
[[nodiscard]] bool ObtenerPin(const Argumentos& a, const std::string& lector, std::string& pin, std::string& error);

}  // namespace Cli
