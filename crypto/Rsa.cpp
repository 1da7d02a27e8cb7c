#include <algorithm>
#include <bit>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"
#include "crypto/RsaInterno.h"

namespace Lx::Api {
namespace Interno {
namespace {

constexpr uint64_t kBase = uint64_t{1} << 32;

uint32_t Bajo(uint64_t v) {
    return static_cast<uint32_t>(v & 0xFFFFFFFFU);
}

// The first `limbos` limbs of a·2^bits, bits below 32, with one limb more for what is shifted out.
Numero Desplazar(const Numero& a, size_t limbos, int bits) {
    Numero r(limbos + 1, 0);
    for (size_t i = 0; i < limbos; ++i) {
        const uint64_t v = uint64_t{a[i]} << bits;
        r[i] |= Bajo(v);
        r[i + 1] = Bajo(v >> 32);
    }
    return r;
}

uint32_t RestoDeUnLimbo(const Numero& a, uint32_t m) {
    uint64_t resto = 0;
    for (size_t i = a.size(); i > 0; --i) resto = ((resto << 32) | a[i - 1]) % m;
    return Bajo(resto);
}

// u[j, j + n] -= q·v; whether it went below zero.
bool RestarProducto(Numero& u, size_t j, const Numero& v, size_t n, uint64_t q) {
    uint64_t acarreo = 0;
    uint64_t prestado = 0;
    for (size_t i = 0; i <= n; ++i) {
        const uint64_t p = (i < n ? q * v[i] : 0) + acarreo;
        acarreo = p >> 32;
        const uint64_t d = uint64_t{u[j + i]} - Bajo(p) - prestado;
        u[j + i] = Bajo(d);
        prestado = (d >> 32) & 1;
    }
    return prestado != 0;
}

void SumarDivisor(Numero& u, size_t j, const Numero& v, size_t n) {
    uint64_t acarreo = 0;
    for (size_t i = 0; i < n; ++i) {
        acarreo += uint64_t{u[j + i]} + v[i];
        u[j + i] = Bajo(acarreo);
        acarreo >>= 32;
    }
    u[j + n] = Bajo(u[j + n] + acarreo);
}

// Long division by limbs (Knuth, The Art of Computer Programming, 4.3.1, algorithm D); `u` ends as the remainder.
// The divisor `v` has n limbs with its top bit set, `u` one limb more than the dividend.
void Dividir(Numero& u, const Numero& v, size_t n) {
    for (size_t j = u.size() - n; j-- > 0;) {
        const uint64_t cabeza = (uint64_t{u[j + n]} << 32) | u[j + n - 1];
        uint64_t q = cabeza / v[n - 1];
        uint64_t resto = cabeza % v[n - 1];
        while (q >= kBase || q * v[n - 2] > ((resto << 32) | u[j + n - 2])) {
            --q;
            resto += v[n - 1];
            if (resto >= kBase) break;
        }
        if (RestarProducto(u, j, v, n, q)) SumarDivisor(u, j, v, n);
    }
}

}  // namespace

size_t Significativos(const Numero& a) {
    size_t n = a.size();
    while (n > 0 && a[n - 1] == 0) --n;
    return n;
}

Numero DeBytes(const std::vector<unsigned char>& bytes) {
    const size_t n = bytes.size();
    Numero a((n + 3) / 4, 0);
    for (size_t i = 0; i < n; ++i) {
        const size_t desdeElFinal = n - 1 - i;
        a[desdeElFinal / 4] |= uint32_t{bytes[i]} << (8 * (desdeElFinal % 4));
    }
    return a;
}

std::vector<unsigned char> ABytes(const Numero& a, size_t n) {
    std::vector<unsigned char> bytes(n, 0);
    for (size_t i = 0; i < n; ++i) {
        const size_t desdeElFinal = n - 1 - i;
        if (desdeElFinal / 4 >= a.size()) continue;
        bytes[i] = static_cast<unsigned char>((a[desdeElFinal / 4] >> (8 * (desdeElFinal % 4))) & 0xFF);
    }
    return bytes;
}

int Comparar(const Numero& a, const Numero& b) {
    const size_t na = Significativos(a);
    const size_t nb = Significativos(b);
    if (na != nb) return na < nb ? -1 : 1;
    for (size_t i = na; i > 0; --i) {
        if (a[i - 1] != b[i - 1]) return a[i - 1] < b[i - 1] ? -1 : 1;
    }
    return 0;
}

void Mod(Numero& a, const Numero& m) {
    const size_t n = Significativos(m);
    if (n == 0) return;
    if (n == 1) {
        const uint32_t resto = RestoDeUnLimbo(a, m[0]);
        a.assign(m.size() == 1 ? 1 : m.size() + 1, 0);
        a[0] = resto;
        return;
    }
    const size_t na = Significativos(a);
    if (na >= n) {
        const int bits = std::countl_zero(m[n - 1]);
        Numero u = Desplazar(a, na, bits);
        Dividir(u, Desplazar(m, n, bits), n);
        for (size_t i = 0; i < n; ++i) a[i] = Bajo(((uint64_t{u[i + 1]} << 32) | u[i]) >> bits);
        std::fill(a.begin() + static_cast<std::ptrdiff_t>(n), a.end(), 0U);
    }
    a.resize(m.size() + 1, 0);
}

Numero MulMod(const Numero& a, const Numero& b, const Numero& m) {
    Numero producto(a.size() + b.size(), 0);
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] == 0) continue;
        uint64_t acarreo = 0;
        for (size_t j = 0; j < b.size(); ++j) {
            acarreo += uint64_t{a[i]} * b[j] + producto[i + j];
            producto[i + j] = Bajo(acarreo);
            acarreo >>= 32;
        }
        producto[i + b.size()] = Bajo(acarreo);
    }
    Mod(producto, m);
    return producto;
}

}  // namespace Interno

namespace {

using Interno::Numero;

// EM = 0x00 || 0x01 || PS || 0x00 || T (RFC 8017, 9.2)
std::vector<unsigned char> MensajeEsperado(size_t k, const void* data, size_t size) {
    const std::vector<unsigned char> t = Der::DigestInfoSha256(Sha256(data, size));
    constexpr size_t kMinDelante = 11;  // 00 01, eight bytes FF, 00
    if (k < t.size() + kMinDelante) return {};
    std::vector<unsigned char> em(k, 0xFF);
    em[0] = 0x00;
    em[1] = 0x01;
    em[k - t.size() - 1] = 0x00;
    std::copy(t.begin(), t.end(), em.end() - static_cast<std::ptrdiff_t>(t.size()));
    return em;
}

size_t BytesSignificativos(const std::vector<unsigned char>& bytes) {
    const auto primero = std::find_if(bytes.begin(), bytes.end(), [](unsigned char b) { return b != 0; });
    return static_cast<size_t>(bytes.end() - primero);
}

// The key comes with the certificate, from whoever made it: without a limit it could ask for hours of work. At the
// limits a check takes a fifth of a second; keys beyond them are in no use.
bool EsTratable(const std::vector<unsigned char>& modulus, const std::vector<unsigned char>& exponent) {
    constexpr size_t kMaxModulo = 2048;
    constexpr size_t kModuloConExponenteLibre = 512;
    constexpr size_t kMaxExponente = 8;  // with a larger modulus
    const size_t e = BytesSignificativos(exponent);
    return modulus.size() <= kMaxModulo &&
           e <= (modulus.size() <= kModuloConExponenteLibre ? modulus.size() : kMaxExponente);
}

// Square and multiply from the exponent's top bit down.
Numero Potencia(Numero base, const Numero& exponente, const Numero& modulo) {
    Numero acc{1};
    Interno::Mod(acc, modulo);
    Interno::Mod(base, modulo);
    for (size_t i = Interno::Significativos(exponente); i > 0; --i) {
        for (int bit = 31; bit >= 0; --bit) {
            acc = Interno::MulMod(acc, acc, modulo);
            if (((exponente[i - 1] >> bit) & 1) != 0) acc = Interno::MulMod(acc, base, modulo);
        }
    }
    return acc;
}

}  // namespace

bool RsaFirmaValida(const std::vector<unsigned char>& modulus, const std::vector<unsigned char>& exponent,
                    const std::vector<unsigned char>& signature, const void* data, size_t size) {
    const size_t k = modulus.size();
    if (data == nullptr || exponent.empty() || k < 11 || signature.size() != k) return false;
    if (!EsTratable(modulus, exponent)) return false;
    const auto esperado = MensajeEsperado(k, data, size);
    if (esperado.empty()) return false;
    const Numero n = Interno::DeBytes(modulus);
    const Numero s = Interno::DeBytes(signature);
    if (Interno::Comparar(s, n) >= 0) return false;
    return Interno::ABytes(Potencia(s, Interno::DeBytes(exponent), n), k) == esperado;
}

}  // namespace Lx::Api
