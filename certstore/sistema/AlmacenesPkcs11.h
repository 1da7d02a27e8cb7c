// Every token that may hold the user's certificates, one after the other: the NSS databases, then what p11-kit knows.
#pragma once

#include <functional>

#include "certstore/sistema/Pkcs11.h"

namespace Lx::CertStore::Pkcs11 {

struct Recorrido {
    bool faltaSoftokn = false;  // there are databases, and nothing to read them with
    CK_RV codigo = CKR_OK;      // of the first database that failed
};

// What is done with a token, which goes after the call. Clearing `seguir` ends the walk.
using Visita = std::function<CK_RV(const Token& token, bool& seguir)>;

// Modules that hold trust and not keys, and those that own card readers, are left out.
[[nodiscard]] Recorrido Recorrer(const Visita& visita);

}  // namespace Lx::CertStore::Pkcs11
