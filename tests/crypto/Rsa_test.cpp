#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "crypto/RsaInterno.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using Bytes = std::vector<unsigned char>;
using Interno::Numero;

struct Clave {
    Bytes n, e, firma;  // of kMensaje
};

const std::string kMensaje = "Contrato de prueba\n";

// A key of this size and what `openssl dgst` signs with it.
Clave Crear(const std::string& bits, const std::string& exponente, const Bytes& e) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string pem = carpeta / "clave.pem";
    Apoyo::Exigir({"openssl", "genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:" + bits, "-pkeyopt",
                   "rsa_keygen_pubexp:" + exponente, "-out", pem});
    const std::string modulo = Apoyo::Exigir({"openssl", "rsa", "-in", pem, "-noout", "-modulus"}).substr(8);
    const std::string firma = Apoyo::Exigir({"openssl", "dgst", "-sha256", "-sign", pem}, kMensaje);
    return {HexToBin(modulo.substr(0, modulo.find('\n'))), e, {firma.begin(), firma.end()}};
}

bool Valida(const Clave& c, const Bytes& firma, const std::string& mensaje = kMensaje) {
    return RsaFirmaValida(c.n, c.e, firma, mensaje.data(), mensaje.size());
}

TEST(Rsa, FirmasDeOpenssl) {
    const Apoyo::Filas<const char*, const char*, Bytes> filas = {{"512", "65537", {1, 0, 1}},
                                                                 {"1000", "3", {3}},
                                                                 {"2048", "4294967297", {1, 0, 0, 0, 1}},
                                                                 {"4096", "65537", {0, 1, 0, 1}}};
    for (const auto& [bits, exponente, e] : filas) {
        SCOPED_TRACE(bits);
        const Clave c = Crear(bits, exponente, e);
        const size_t k = c.n.size();
        EXPECT_TRUE(Valida(c, c.firma));
        EXPECT_FALSE(Valida(c, c.firma, kMensaje + "."));
        Bytes larga = c.firma;
        larga.insert(larga.begin(), 0);
        for (const Bytes& mala : {larga, Bytes(c.firma.begin(), c.firma.end() - 1), c.n, Bytes(k, 0), Bytes(k, 0xFF)})
            EXPECT_FALSE(Valida(c, mala)) << testing::PrintToString(mala);
    }
}

// With exponent 1 the signature is the encoded message itself (RFC 8017, 9.2), so every byte of it can be chosen.
Clave ConExponenteUno(size_t k) {
    const Bytes t = HexToBin("3031300D060960864801650304020105000420");
    const Bytes h = Sha256(kMensaje);
    Bytes em(k, 0xFF);
    em[0] = 0;
    em[1] = 1;
    em[k - 52] = 0;
    std::copy(t.begin(), t.end(), em.end() - 51);
    std::copy(h.begin(), h.end(), em.end() - 32);
    return {Bytes(k, 0xFF), {1}, em};
}

TEST(Rsa, FormaDelMensajeCodificado) {
    EXPECT_TRUE(Valida(ConExponenteUno(62), ConExponenteUno(62).firma));
    EXPECT_FALSE(Valida(ConExponenteUno(61), ConExponenteUno(61).firma)) << "fewer than eight bytes FF";
    const Clave c = ConExponenteUno(128);
    EXPECT_FALSE(Valida(c, Bytes(c.firma.begin() + 1, c.firma.end()))) << "the same number in a byte less";
    for (size_t i = 0; i < 128; ++i) {
        Bytes otra = c.firma;
        otra[i] ^= 0x40;
        EXPECT_FALSE(Valida(c, otra)) << "byte " << i;
    }
}

// With exponent 1 and a number of zeros in front everything is valid but for its size.
TEST(Rsa, UnaClaveDesmedidaSeRechaza) {
    // Bytes of modulus and exponent.
    const Apoyo::Filas<size_t, size_t, bool> filas = {{2048, 1, true}, {2049, 1, false}, {128, 100000, true}};
    for (const auto& [modulo, exponente, vale] : filas) {
        SCOPED_TRACE(modulo);
        Clave c = ConExponenteUno(modulo);
        c.e.insert(c.e.begin(), exponente - 1, 0);
        EXPECT_EQ(Valida(c, c.firma), vale);
    }
    Clave larga = ConExponenteUno(2048);
    larga.e.assign(2048, 0xFF);
    const std::clock_t antes = std::clock();
    EXPECT_FALSE(Valida(larga, larga.firma));
    EXPECT_LT(static_cast<double>(std::clock() - antes) / CLOCKS_PER_SEC, 1.0);
}

TEST(Rsa, PrecondicionesRotas) {
    const Clave c = ConExponenteUno(128);
    for (const auto& [n, e, firma] :
         {Clave{{}, c.e, {}}, {c.n, {}, c.firma}, {Bytes(128, 0), c.e, c.firma}, {c.n, {0}, c.firma}, {{1}, {1}, {0}}})
        EXPECT_FALSE(RsaFirmaValida(n, e, firma, kMensaje.data(), kMensaje.size())) << n.size() << " " << e.size();
    EXPECT_FALSE(RsaFirmaValida(c.n, c.e, c.firma, nullptr, 0));
    // The same residue, as a number that isn't below the modulus (RFC 8017, 5.2.2).
    Clave otra = c;
    otra.n.assign(128, 0);
    otra.n[0] = 0x70;
    EXPECT_TRUE(Valida(otra, otra.firma));
    otra.firma[0] = 0x70;
    EXPECT_FALSE(Valida(otra, otra.firma));
}

// Dividends made from a quotient and a remainder. Limbs at the edges of the range make the quotient estimate wrong by
// one and by two, and the divisor be added back, which random limbs would do once in thousands of millions.
TEST(Rsa, RestoConLimbosExtremos) {
    constexpr uint32_t kExtremos[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
    std::mt19937 azar(3);
    const auto numero = [&](size_t limbos) {
        Numero a(limbos);
        for (auto& l : a) l = azar() % 4 != 0 ? kExtremos[azar() % 8] : static_cast<uint32_t>(azar());
        return a;
    };
    for (int vuelta = 0; vuelta < 20000; ++vuelta) {
        const Numero m = numero(1 + azar() % 4), q = numero(azar() % 6);
        Numero r = numero(m.size());
        if (Interno::Comparar(r, m) >= 0) continue;
        Numero a = r;
        a.resize(m.size() + q.size() + 1);
        for (size_t i = 0; i < q.size(); ++i) {
            uint64_t suma = 0;
            for (size_t j = i; j < a.size(); ++j, suma >>= 32) {
                suma += a[j] + (j - i < m.size() ? uint64_t{q[i]} * m[j - i] : 0);
                a[j] = static_cast<uint32_t>(suma);
            }
        }
        Numero resto = a;
        Interno::Mod(resto, m);
        r.resize(resto.size());
        ASSERT_EQ(resto, r) << testing::PrintToString(a) << " mod " << testing::PrintToString(m);
    }
}

}  // namespace
