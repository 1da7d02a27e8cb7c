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

bool Lector::Saltar(int elementos) {
    Tlv tlv;
    while (elementos > 0 && Leer(tlv)) --elementos;
    return elementos == 0;
}

bool Lector::Entrar(uint8_t tag, Lector& dentro) {
    Tlv tlv;
    if (!Leer(tag, tlv)) return false;
    dentro = Dentro(tlv);
    return true;
}

void PutRaw(std::string& out, unsigned char tag, const void* bytes, size_t n) {
    out += static_cast<char>(tag);
    if (n < 128) {
        out += static_cast<char>(n);
    } else {
        std::string longitud;
        for (size_t resto = n; resto > 0; resto >>= 8)
            longitud.insert(longitud.begin(), static_cast<char>(resto & 0xFF));
        out += static_cast<char>(0x80 | longitud.size());
        out += longitud;
    }
    if (n > 0) out.append(static_cast<const char*>(bytes), n);
}

void Put(std::string& out, unsigned char tag, std::string_view content) {
    PutRaw(out, tag, content.data(), content.size());
}

std::string Elemento(unsigned char tag, std::string_view contenido) {
    std::string salida;
    Put(salida, tag, contenido);
    return salida;
}

// A first bit of 1 would make it negative (X.690, 8.3).
std::string Entero(uint64_t valor) {
    std::string bytes(1, static_cast<char>(valor & 0xFF));
    for (uint64_t resto = valor >> 8; resto > 0; resto >>= 8)
        bytes.insert(bytes.begin(), static_cast<char>(resto & 0xFF));
    if ((bytes[0] & 0x80) != 0) bytes.insert(bytes.begin(), '\0');
    return Elemento(0x02, bytes);
}

std::string Octetos(std::string_view contenido) {
    return Elemento(0x04, contenido);
}

std::string Octetos(const std::vector<unsigned char>& contenido) {
    return Octetos(std::string_view(reinterpret_cast<const char*>(contenido.data()), contenido.size()));
}

std::string Nulo() {
    return Elemento(0x05, {});
}

std::string Oid(std::string_view contenido) {
    return Elemento(0x06, contenido);
}

std::string Secuencia(std::string_view elementos) {
    return Elemento(0x30, elementos);
}

std::string Conjunto(std::string_view elementos) {
    return Elemento(0x31, elementos);
}

std::vector<unsigned char> DigestInfoSha256(const std::vector<unsigned char>& digest) {
    std::vector<unsigned char> info = Api::HexToBin("3031300D060960864801650304020105000420");
    info.insert(info.end(), digest.begin(), digest.end());
    return info;
}

}  // namespace Lx::Der
