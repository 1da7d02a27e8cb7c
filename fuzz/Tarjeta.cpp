// Any bytes as what a card answers to a listing, a signature and a diagnosis. First byte: the card's ATR and the kind
// of reader. Then one answer after another: a byte below 4 stands for a usual status word, any other is the length of
// the answer that follows.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "card/LxDnie.h"
#include "tests/apoyo/pcsc/PcscFalso.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct Respuestas {
    const uint8_t* data;
    size_t size;

    long Siguiente(Bytes& respuesta) {
        static const Bytes kUsuales[] = {{0x90, 0x00}, {0x6A, 0x82}, {0x61, 0x10}, {0x6C, 0x10}};
        if (size == 0) return 0x80100069L;
        const size_t n = *data < 4 ? 0 : std::min<size_t>(*data, size - 1);
        respuesta = *data < 4 ? kUsuales[*data] : Bytes(data + 1, data + 1 + n);
        data += n + 1;
        size -= n + 1;
        return 0;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Bytes kAtr[] = {
        {0x3B, 0x00}, {0x3B, 0x80, 0x80, 0x01, 0x01}, {0x3B, 0x8F, 0x80, 0x01, 0x80, 0x73, 0x84, 0x21, 0xE0}};
    if (size == 0) return 0;
    auto& falso = Apoyo::NuevoPcscFalso();
    falso.lectores = {data[0] & 1 ? "Lector NFC" : "Lector Chip"};
    falso.atr = kAtr[(data[0] >> 1) % 3];
    Respuestas respuestas{data + 1, size - 1};
    falso.transmitir = [&respuestas](const Bytes&, Bytes& respuesta) { return respuestas.Siguiente(respuesta); };
    std::string texto;
    const auto lista = Lx::Dnie::CDnie::LeerCertificados(falso.lectores[0], texto);
    const auto cert = lista.empty() ? Lx::X509::Certificado{} : lista[0].cert;
    (void)Lx::Dnie::CDnie::Firmar(falso.lectores[0], cert, {1, 2, 3}, "1234", texto);
    (void)Lx::Dnie::CDnie::DiagnosticarFirma(falso.lectores[0], texto);
    if (falso.tarjetas != 0 || falso.contextos != 0 || !falso.desvios.empty()) __builtin_trap();
    return 0;
}
