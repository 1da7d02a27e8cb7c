#include "crypto/Sha256Compresion.h"

#include <algorithm>
#include <bit>

#include "crypto/LxSha256.h"
#include "crypto/Sha256Rondas.h"
#include "crypto/Sha256X86.h"

namespace Lx::Api::Interno {
namespace {

uint32_t Leer32(const unsigned char* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}

uint32_t s0(uint32_t x) {
    return std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3);
}
uint32_t s1(uint32_t x) {
    return std::rotr(x, 17) ^ std::rotr(x, 19) ^ (x >> 10);
}

// The sixteen words of the schedule that follow the sixteen in `w`, in their place.
void Extender(uint32_t w[16]) {
    for (size_t t = 0; t < 16; ++t) {
        w[t] += s1(w[(t + 14) % 16]) + w[(t + 9) % 16] + s0(w[(t + 1) % 16]);
    }
}

void DieciseisRondas(Palabras& v, const uint32_t w[16], const uint32_t* k, uint32_t& bc) {
    uint32_t wk[16];
    for (size_t t = 0; t < 16; ++t) wk[t] = w[t] + k[t];
    OchoRondas(v, wk, wk + 4, bc);
    OchoRondas(v, wk + 8, wk + 12, bc);
}

void ComprimirPortable(uint32_t estado[8], const unsigned char* bloques, size_t n) {
    for (; n > 0; --n, bloques += 64) {
        uint32_t w[16];
        for (size_t t = 0; t < 16; ++t) w[t] = Leer32(bloques + 4 * t);
        Palabras v = Cargar(estado);
        uint32_t bc = v.b ^ v.c;
        DieciseisRondas(v, w, kRonda, bc);
        for (size_t t = 16; t < 64; t += 16) {
            Extender(w);
            DieciseisRondas(v, w, kRonda + t, bc);
        }
        Sumar(estado, v);
    }
}

// SHA-256 of the bytes 0, 1, ... 255, 0, ... 54: with its padding five blocks, so that a function that takes two at a
// time goes through its loop twice and has one left over.
constexpr size_t kLargoConocido = 311;
constexpr uint32_t kResumenConocido[8] = {0x72723792, 0x75efc55b, 0x566b4f45, 0x4af29c6a,
                                          0xee1fe994, 0x4cc4b1c3, 0x2c038a33, 0x6e1eecb3};

constexpr size_t kBloquesConocidos = 5;

struct MensajeConocido {
    MensajeConocido() {
        for (size_t i = 0; i < kLargoConocido; ++i) bytes[i] = static_cast<unsigned char>(i & 0xFF);
        bytes[kLargoConocido] = 0x80;
        bytes[sizeof bytes - 2] = static_cast<unsigned char>((kLargoConocido * 8) >> 8);
        bytes[sizeof bytes - 1] = static_cast<unsigned char>((kLargoConocido * 8) & 0xFF);
    }
    unsigned char bytes[kBloquesConocidos * 64] = {};
};

bool EsConocido(const Sha256Ctx& ctx) {
    return std::equal(std::begin(kResumenConocido), std::end(kResumenConocido), ctx.estado);
}

bool Siempre() {
    return true;
}

constexpr Candidata kCandidatas[] = {
#if defined(__x86_64__)
    {"sha-ni", &HayShaNi, &ComprimirShaNi, &ComprimirDosShaNi},
    {"avx2", &HayAvx2, &ComprimirAvx2},
    {"ssse3", &HaySsse3, &ComprimirSsse3},
#endif
    {"portable", &Siempre, &ComprimirPortable},
};

}  // namespace

std::span<const Candidata> Candidatas() {
    return kCandidatas;
}

bool PasaPruebaConocida(Compresion funcion) {
    const MensajeConocido conocido;
    Sha256Ctx ctx;
    funcion(ctx.estado, conocido.bytes, kBloquesConocidos);
    return EsConocido(ctx);
}

// The message in either place, beside another one.
bool PasaPruebaConocida(CompresionDos funcion) {
    const MensajeConocido conocido;
    const unsigned char otro[sizeof conocido.bytes] = {};
    Sha256Ctx primero;
    Sha256Ctx segundo;
    Sha256Ctx vecino;
    funcion(primero.estado, conocido.bytes, vecino.estado, otro, kBloquesConocidos);
    funcion(vecino.estado, otro, segundo.estado, conocido.bytes, kBloquesConocidos);
    return EsConocido(primero) && EsConocido(segundo);
}

const Candidata& Elegir(std::span<const Candidata> lista) {
    for (const Candidata& c : lista.first(lista.size() - 1)) {
        if (c.disponible() && PasaPruebaConocida(c.funcion)) return c;
    }
    return lista.back();
}

const Candidata& Elegida() {
    static const Candidata& unica = Elegir(Candidatas());
    return unica;
}

}  // namespace Lx::Api::Interno
