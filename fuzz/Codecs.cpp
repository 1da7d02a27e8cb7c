// Round trips of the text codecs, and any text given to the decoders.
#include <cstdlib>
#include <string>

#include "crypto/LxApi.h"

namespace {

void Exigir(bool condicion) {
    if (!condicion) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace Lx::Api;
    const std::string texto(reinterpret_cast<const char*>(data), size);
    std::string vuelta;
    Exigir(Base64Decode(Base64Encode(texto), vuelta) && vuelta == texto);
    Exigir(UrlDecode(UrlEncode(texto)) == texto);
    const auto binario = HexToBin(BinToHex(data, size));
    Exigir(std::string(binario.begin(), binario.end()) == texto);

    // What a decoder accepts survives another round.
    if (Base64Decode(texto, vuelta)) {
        std::string otra;
        Exigir(Base64Decode(Base64Encode(vuelta), otra) && otra == vuelta);
    }
    const auto hex = HexToBin(texto);
    Exigir(hex.size() <= size / 2 && HexToBin(ToLowerAscii(BinToHex(hex.data(), hex.size()))) == hex);
    Exigir(UrlDecode(texto).size() <= size);
    return 0;
}
