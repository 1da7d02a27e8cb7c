// What is on the virtual card: throw-away keys and certificates, made by the openssl program while the test runs.
#pragma once

#include <string>
#include <vector>

namespace Apoyo {

using Bytes = std::vector<unsigned char>;

struct ClaveTarjeta {
    Bytes cert;         // DER
    std::string clave;  // path of the private key, PEM
};

// "firma" and "otra" are RSA keys of 2048 bits, "ec" is a P-256 key, "ca" is the certificate of an RSA authority. Each
// is made on first use; the sizes of the RSA certificates never change. Other names must have been registered.
const ClaveTarjeta& ClaveDe(const std::string& nombre);
void RegistrarClave(const std::string& nombre, ClaveTarjeta clave);

const std::string& CarpetaPrivada();

// RSASSA-PKCS1-v1_5 over a ready DigestInfo, by openssl.
Bytes FirmarDigestInfo(const ClaveTarjeta& clave, const Bytes& digestInfo);
// What `openssl dgst -verify` says of `firma` over `datos`.
bool VerificaOpenssl(const ClaveTarjeta& clave, const Bytes& datos, const Bytes& firma);

}  // namespace Apoyo
