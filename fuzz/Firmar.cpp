// Any bytes as a document to sign, read in either of the two ways. What comes out is either one sentence and no file,
// or the same bytes and an update that passed the self-check.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "crypto/LxApi.h"
#include "crypto/LxDescriptor.h"
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

// Of an output that is a file of its own, whole or not at all; free again after each input.
std::string RutaLibre() {
    return "/dev/shm/fuzz_firmar_" + std::to_string(getpid()) + ".pdf";
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
    const std::string destino = opciones.referencias ? RutaLibre() : Ruta(salida);
    const auto r =
        LxPdfSigner::Interno::FirmarEn("261115170509Z", Ruta(entrada), destino, cert, 8192, firmar, {}, opciones);

    const Lx::Api::Descriptor hecho(open(destino.c_str(), O_RDONLY));
    if (opciones.referencias && hecho && unlink(destino.c_str()) != 0) abort();
    const auto largo = hecho ? static_cast<size_t>(lseek(hecho.Valor(), 0, SEEK_END)) : 0;
    if (r.error.empty() != (r.motivo == Lx::Motivo::Ninguno)) abort();
    if (r.firmado != r.error.empty() || r.firmado != r.escrito || (r.firmado ? largo != r.bytes : largo != 0)) abort();
    std::string copia(size - 1, '\0');
    if (r.firmado && pread(hecho.Valor(), copia.data(), copia.size(), 0) != static_cast<ssize_t>(copia.size())) abort();
    if (r.firmado && copia != std::string(reinterpret_cast<const char*>(data + 1), size - 1)) abort();
    return 0;
}
