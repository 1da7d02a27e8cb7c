// What a job is doing, in words.
#pragma once

#include <string>

#include "crypto/LxControlTrabajo.h"

namespace Orvanta {

// "Leyendo la tarjeta…", "Firmando 62 %". Empty while the job waits for a person.
[[nodiscard]] std::string FraseDe(const Lx::Control::Estado& estado);
// How much of what is counted is done, from 0 to 1; negative where nothing is counted.
[[nodiscard]] double ParteDe(const Lx::Control::Estado& estado);

}  // namespace Orvanta
