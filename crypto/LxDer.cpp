#include "crypto/LxDer.h"

#include "crypto/LxApi.h"

namespace Lx::Der {
namespace {

// Moves `p` past the further bytes of a high tag number (X.690, 8.1.2.4).
bool SaltarNumeroAlto(const unsigned char* buf, size_t size, size_t& p) {
    constexpr int kMaxConContinuacion = 4;
    int seguidos = 0;
    while (p < size && (buf[p] & 0x80) != 0) {
        if (++seguidos > kMaxConContinuacion) return false;
        ++p;
    }
    if (p >= size) return false;
    ++p;
    return true;
}

bool LeerLongitud(const unsigned char* buf, size_t size, size_t& p, size_t& longitud) {
    if (p >= size) return false;
    const unsigned char primero = buf[p++];
    longitud = primero;
    if (primero < 0x80) return true;
    const size_t bytes = primero & 0x7FU;
    if (bytes == 0 || bytes > 4 || bytes > size - p) return false;
    longitud = 0;
    for (size_t i = 0; i < bytes; ++i) longitud = (longitud << 8) | buf[p++];
    return true;
}

}  // namespace

bool Next(const unsigned char* buf, size_t size, size_t& pos, Tlv& tlv) {
    if (buf == nullptr || pos >= size) return false;
    size_t p = pos;
    const uint8_t tag = buf[p++];
    if ((tag & 0x1F) == 0x1F && !SaltarNumeroAlto(buf, size, p)) return false;
    size_t longitud = 0;
    if (!LeerLongitud(buf, size, p, longitud) || longitud > size - p) return false;
    tlv = {tag, pos, p, longitud, p + longitud};
    pos = tlv.fin;
    return true;
}

std::vector<unsigned char> DigestInfoSha256(const std::vector<unsigned char>& digest) {
    std::vector<unsigned char> info = Api::HexToBin("3031300D060960864801650304020105000420");
    info.insert(info.end(), digest.begin(), digest.end());
    return info;
}

}  // namespace Lx::Der
