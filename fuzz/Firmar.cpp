// Any bytes as a document to sign, read in either of the two ways. What comes out is either one sentence and no file,
// or the same bytes and an update that passed the self-check.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "crypto/LxApi.h"
#include "fuzz/CertificadoFijo.h"
#include "signer/Motor.h"

namespace {

Lx::X509::Certificado LeerCertificado() {
    Lx::X509::Certificado cert;
    if (!Lx::X509::Parsear(Lx::Api::HexToBin(kCertificadoFijo), cert)) abort();
    return cert;
}

std::string Ruta(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Lx::X509::Certificado cert = LeerCertificado();
    static const int entrada = memfd_create("entrada", 0);
    static const int salida = memfd_create("salida", 0);
    if (size == 0) return 0;
    const LxPdfSigner::Opciones opciones{data[0] % 5, "1, 3-4", data[0] >= 128};
    if (ftruncate(entrada, 0) != 0 || ftruncate(salida, 0) != 0) abort();
    if (pwrite(entrada, data + 1, size - 1, 0) != static_cast<ssize_t>(size - 1)) abort();
    const auto firmar = [](const std::vector<unsigned char>&, std::string&) {
        return std::vector<unsigned char>(256, 7);
    };
    const auto r =
        LxPdfSigner::Interno::FirmarEn("261115170509Z", Ruta(entrada), Ruta(salida), cert, 8192, firmar, {}, opciones);

    const auto largo = static_cast<size_t>(lseek(salida, 0, SEEK_END));
    if (r.error.empty() != (r.motivo == Lx::Motivo::Ninguno)) abort();
    if (r.firmado != r.error.empty() || r.firmado != r.escrito || (r.firmado ? largo != r.bytes : largo != 0)) abort();
    std::string copia(size - 1, '\0');
    if (r.firmado && pread(salida, copia.data(), copia.size(), 0) != static_cast<ssize_t>(copia.size())) abort();
    if (r.firmado && copia != std::string(reinterpret_cast<const char*>(data + 1), size - 1)) abort();
    return 0;
}
