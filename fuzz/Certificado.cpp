// Any bytes as a certificate, as a card file that holds one, and as the bearer of an RSA key.
#include <cstdlib>
#include <vector>

#include "crypto/LxApi.h"
#include "crypto/LxX509.h"

namespace {

void Exigir(bool condicion) {
    if (!condicion) std::abort();
}

void Usar(const Lx::X509::Certificado& c) {
    std::vector<unsigned char> n;
    std::vector<unsigned char> e;
    const bool hay = Lx::X509::ClaveRsa(c, n, e);
    Exigir(hay == !n.empty() && hay == !e.empty());
    // A long exponent takes its time without finding anything new.
    if (hay && n.size() <= 256 && e.size() <= 4) (void)Lx::Api::RsaFirmaValida(n, e, n, c.der.data(), c.der.size());
    (void)c.Caducado();
    Exigir(!c.FechaVencimiento().empty() && !c.Alias("").empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Lx::X509::Certificado c;
    const bool parseado = Lx::X509::Parsear(data, size, c);
    Exigir(parseado == c.valid && parseado == !c.der.empty());
    if (parseado) Usar(c);
    const bool hallado = Lx::X509::ExtraerDe(data, size, c);
    Exigir(hallado == c.valid && (hallado || !parseado));
    if (hallado) Usar(c);
    Lx::X509::Certificado suelto;
    suelto.der.assign(data, data + size);
    Usar(suelto);
    return 0;
}
