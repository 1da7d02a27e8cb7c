#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "crypto/LxSha256.h"
#include "crypto/Sha256Compresion.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using namespace Lx::Api::Interno;

std::string Minusculas(const std::vector<unsigned char>& resumen) {
    return ToLowerAscii(BinToHex(resumen.data(), resumen.size()));
}

// Vectors of FIPS 180-4's example papers.
TEST(Sha256, VectoresPublicados) {
    const Apoyo::Filas<std::string, const char*> filas = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& [mensaje, resumen] : filas) EXPECT_EQ(Minusculas(Sha256(mensaje)), resumen) << mensaje.size();
}

// The digests of the bytes 3, 10, 17, ... of every length from 0 to 300 one after another, hashed once more; expected
// value from Python's hashlib. Catches a wrong padding at any distance from the end of a block.
TEST(Sha256, TodasLasLongitudes) {
    Sha256Ctx ctx;
    std::string mensaje, resumenes;
    for (int n = 0; n <= 300; ++n) {
        const auto r = Sha256(mensaje);
        EXPECT_EQ(Sha256Fin(ctx), r) << n << " bytes one by one";
        resumenes.append(r.begin(), r.end());
        mensaje.push_back(static_cast<char>(n * 7 + 3));
        Sha256Update(ctx, &mensaje.back(), 1);
    }
    EXPECT_EQ(Minusculas(Sha256(resumenes)), "7d917fbd2cf49ddff9ad0a8706bba32d204e92e71d2e369c5a03d6af29278c9f");
}

// Two messages at once, begun anywhere in a block and of every size.
TEST(Sha256, DosMensajesALaVez) {
    std::mt19937 azar(3);
    std::string una(4096, '\0');
    for (char& c : una) c = static_cast<char>(azar());
    const std::string otra(una.rbegin(), una.rend());
    for (size_t antesUna : {0U, 1U, 64U}) {
        for (size_t antesOtra : {0U, 64U, 100U}) {
            for (size_t n : {0U, 1U, 63U, 64U, 65U, 1000U, 3968U}) {
                Sha256Ctx a, b;
                Sha256Update(a, una.data(), antesUna);
                Sha256Update(b, otra.data(), antesOtra);
                Sha256UpdateDos(a, una.data() + antesUna, b, otra.data() + antesOtra, n);
                EXPECT_EQ(Sha256Fin(a), Sha256(una.substr(0, antesUna + n))) << antesUna << ' ' << n;
                EXPECT_EQ(Sha256Fin(b), Sha256(otra.substr(0, antesOtra + n)));
            }
        }
    }
}

// Every compression function that this processor has, against the portable one, at every alignment.
TEST(Sha256, LasCandidatasCoinciden) {
    const auto lista = Candidatas();
    std::mt19937 azar(2);
    std::vector<unsigned char> datos(9 * 64 + 64);
    for (auto& b : datos) b = static_cast<unsigned char>(azar());
    for (const Candidata& c : lista) {
        if (!c.disponible()) continue;
        SCOPED_TRACE(c.nombre);
        EXPECT_TRUE(PasaPruebaConocida(c.funcion));
        EXPECT_TRUE(c.dos == nullptr || PasaPruebaConocida(c.dos));
        for (size_t n = 0; n <= 9; ++n) {
            for (size_t desde = 0; desde < 64; ++desde) {
                Sha256Ctx suyo;
                for (auto& palabra : suyo.estado) palabra = static_cast<uint32_t>(azar());
                Sha256Ctx otro = suyo;
                c.funcion(suyo.estado, datos.data() + desde, n);
                lista.back().funcion(otro.estado, datos.data() + desde, n);
                ASSERT_TRUE(std::equal(suyo.estado, suyo.estado + 8, otro.estado)) << n << " blocks at " << desde;
            }
        }
    }
}

void OlvidaElUltimoBloque(uint32_t estado[8], const unsigned char* bloques, size_t n) {
    Candidatas().back().funcion(estado, bloques, n > 0 ? n - 1 : 0);
}
void NoSeLlama(uint32_t*, const unsigned char*, size_t) {
    ADD_FAILURE() << "called although not available";
}

TEST(Sha256, UnaFuncionEquivocadaNoSeElige) {
    const Compresion buena = Candidatas().back().funcion;
    const auto si = [] { return true; };
    const auto no = [] { return false; };
    const Candidata lista[] = {
        {"ausente", no, &NoSeLlama}, {"mala", si, &OlvidaElUltimoBloque}, {"buena", si, buena}, {"ultima", si, buena}};
    EXPECT_STREQ(Elegir(lista).nombre, "buena");
    constexpr CompresionDos laSegundaMal = [](uint32_t* e1, const unsigned char* p1, uint32_t* e2,
                                              const unsigned char* p2, size_t n) {
        Candidatas().back().funcion(e1, p1, n);
        OlvidaElUltimoBloque(e2, p2, n);
    };
    EXPECT_FALSE(PasaPruebaConocida(laSegundaMal));
    EXPECT_STREQ(Elegir(std::span(lista).first(3)).nombre, "buena");
}

}  // namespace
