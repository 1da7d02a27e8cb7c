// Any bytes as what openssl writes of a PKCS#12 file: certificates and private keys, and whose a key is.
#include <cstdlib>
#include <string_view>
#include <vector>

#include "certstore/ClavesPem.h"

namespace {

void Exigir(bool condicion) {
    if (!condicion) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace Lx::CertStore;
    const std::string_view texto(reinterpret_cast<const char*>(data), size);
    const std::vector<ClavePem> claves = ClavesPem(texto);
    for (const ClavePem& clave : claves) {
        Exigir(clave.pem.data() >= texto.data() && clave.pem.data() + clave.pem.size() <= texto.data() + size);
        Exigir(clave.punto.empty() || clave.modulo.empty());
        Exigir(clave.modulo.empty() || clave.modulo[0] != 0);
    }
    for (const std::vector<unsigned char>& der : CertificadosPem(texto)) {
        Lx::X509::Certificado cert;
        if (!Lx::X509::Parsear(der, cert)) continue;
        const ClavePem* suya = ClaveDe(claves, cert);
        Exigir(suya == nullptr || suya->EsDe(cert));
        Exigir(Lx::X509::ClavePublica(cert).size() < der.size());
    }
    return 0;
}
