// Tells when the machine runs short of memory, so that what can be had again is let go.
#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "app/Correo.h"

namespace Orvanta {

// What the kernel says of the waits for memory (Linux, accounting/psi: "some avg10=1.50 avg60=..."): programs have
// waited for it a tenth of the last ten seconds or more. False for a text that isn't of that form.
[[nodiscard]] bool FaltaMemoria(std::string_view presion);

// Looks every ten seconds from now on, until `correo` is closed.
void VigilarMemoria(const std::shared_ptr<Correo>& correo, const std::function<void()>& alFaltar);

}  // namespace Orvanta
