// What a user can do about an engine's refusal, which the sentence itself does not say.
#pragma once

#include <string>

namespace Cli {

// Advice on `error`, the engine's sentence about the document `entrada`; empty when there is none.
[[nodiscard]] std::string ConsejoPara(const std::string& error, const std::string& entrada);

}  // namespace Cli
