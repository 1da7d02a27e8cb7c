// How the keys of a PKCS#12 file come into memory.
#pragma once

#include <string>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMemoria.h"
#include "crypto/LxMotivo.h"

namespace Lx::CertStore {

inline constexpr size_t kTopeClaves = size_t{1} << 20;

// The openssl program that is run; empty when there is none to trust, or when the job was cancelled.
[[nodiscard]] std::string RutaOpenssl(const Control& control);

// Every private key of the file, unencrypted, as PEM.
[[nodiscard]] Aviso LeerClaves(const std::string& openssl, const std::string& ruta, const std::string& clave,
                               BloqueSecreto& pem, const Control& control);

}  // namespace Lx::CertStore
