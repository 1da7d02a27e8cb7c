// What openssl writes of a PKCS#12 file: certificates, and private keys with whose they are.
#pragma once

#include <string_view>
#include <vector>

#include "crypto/LxX509.h"

namespace Lx::CertStore {

// The DER of every certificate in a PEM text that is Base64 at all.
[[nodiscard]] std::vector<std::vector<unsigned char>> CertificadosPem(std::string_view texto);

// A private key and its public half.
struct ClavePem {
    std::string_view pem;                  // its block, in the text that was read
    std::vector<unsigned char> modulo;     // RSA, big-endian without leading zero bytes
    std::vector<unsigned char> exponente;  // the same
    std::vector<unsigned char> punto;      // EC, when the key holds it

    [[nodiscard]] bool EsDe(const X509::Certificado& cert) const;
};

// Every unencrypted private key in a PEM text (RFC 5958), in its order; one that can't be read is nobody's.
[[nodiscard]] std::vector<ClavePem> ClavesPem(std::string_view texto);

// The key of a certificate; null when it isn't there.
[[nodiscard]] const ClavePem* ClaveDe(const std::vector<ClavePem>& claves, const X509::Certificado& cert);

}  // namespace Lx::CertStore
