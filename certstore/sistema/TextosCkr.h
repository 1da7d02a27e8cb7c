// What a PKCS#11 return value means to the user.
#pragma once

#include <string>

namespace Lx::CertStore {

// One Spanish sentence; the number in hexadecimal for a value that says nothing to a user.
[[nodiscard]] std::string ExplicarCkr(unsigned long codigo);

}  // namespace Lx::CertStore
