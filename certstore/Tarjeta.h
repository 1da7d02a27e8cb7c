// What the list and the signing call need of the card layer, and nothing more.
#pragma once

#include <string>
#include <vector>

#include "crypto/LxX509.h"

namespace Lx::CertStore::Tarjeta {

[[nodiscard]] std::vector<std::string> ListarLectores();

// Index of the reader to prefer, negative when there is none.
[[nodiscard]] int PriorizarLector(const std::vector<std::string>& lectores);

// The card's certificates, its issuers' included. `error` may hold a sentence when there are none.
[[nodiscard]] std::vector<X509::Certificado> LeerCertificados(const std::string& lector, std::string& error);

// RSASSA-PKCS1-v1_5 signature with SHA-256 of `datos`; empty on failure, with or without a sentence in `error`.
[[nodiscard]] std::vector<unsigned char> Firmar(const std::string& lector, const X509::Certificado& cert,
                                                const std::vector<unsigned char>& datos, const std::string& pin,
                                                std::string& error);

}  // namespace Lx::CertStore::Tarjeta
