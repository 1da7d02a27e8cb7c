// Every certificate that the user could sign with, in one list, and one call that signs with any of them and proves
// that the key was that certificate's.
#pragma once

#include <string>
#include <vector>

#include "certstore/sistema/LxSistema.h"

namespace Lx::CertStore {

// Display name of a source, "?" for any other value.
[[nodiscard]] const char* NombreOrigen(Origen origen);

// The list: card, system store, PKCS#12 file; without duplicates, expired ones last. Never fails as a whole: `resumen`
// says in one line what each source gave.
[[nodiscard]] std::vector<Entrada> Listar(const Contexto& ctx, std::string& resumen);

// Signature with SHA-256 of `datos` (the message, not its hash) by the key of `entrada`. An RSA one (RSASSA-PKCS1-v1_5)
// is checked against its certificate; other keys pass unchecked, and it is the engine that refuses them. On false
// `firma` is empty and `mensaje` holds one sentence for the user.
[[nodiscard]] bool Firmar(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
                          std::vector<unsigned char>& firma, std::string& mensaje);

}  // namespace Lx::CertStore
