// What a front end may know of the identity card besides its certificates. None of this spends a try of the PIN.
#pragma once

#include <string>

#include "card/LxDnie.h"

namespace Lx::CertStore {

using DiagnosticoTarjeta = Dnie::Diagnostico;

// All the way from the service to the signature. An empty name chooses the reader.
[[nodiscard]] DiagnosticoTarjeta DiagnosticarTarjeta(const std::string& lector);

// The tries that the PIN has left, 0 when it is blocked; -1, with a sentence, when the card doesn't say.
[[nodiscard]] int IntentosPin(const std::string& lector, std::string& mensaje);

// Whether the PIN has a length that is sent to a card at all; `mensaje` says so when it hasn't.
[[nodiscard]] bool PinAdmisible(const std::string& pin, std::string& mensaje);

}  // namespace Lx::CertStore
