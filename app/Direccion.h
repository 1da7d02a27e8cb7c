// Addresses that a document wants opened. Nothing of them is to be believed.
#pragma once

#include <string>

namespace Orvanta {

// The address as it may be shown and opened: what isn't printable ASCII as %XX, so that what one reads is what is
// meant. Empty, with a sentence in `error`, when it is none of http, https and mailto.
[[nodiscard]] std::string DireccionSegura(const std::string& direccion, std::string& error);
// The host that a page's address leads to, with its port, whatever stands before it; empty for a mail's.
[[nodiscard]] std::string SitioDe(const std::string& direccion);

}  // namespace Orvanta
