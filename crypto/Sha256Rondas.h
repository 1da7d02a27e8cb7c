// The scalar rounds of SHA-256 (FIPS 180-4, 6.2.2), shared by the compression functions that differ only in how
// they make the message schedule. Always inlined: compiled with the instruction set of the function that uses them.
#pragma once

#include <bit>
#include <cstdint>

#include "crypto/Sha256Compresion.h"

namespace Lx::Api::Interno {

struct Palabras {
    uint32_t a, b, c, d, e, f, g, h;
};

// One round, without moving the words: the caller renames them. `bc` is b ^ c on entry and that of the next round on
// return, which makes Maj(a, b, c) = b ^ ((a ^ b) & (b ^ c)) one operation shorter.
[[gnu::always_inline]] inline void Ronda(uint32_t a, uint32_t b, uint32_t& d, uint32_t e, uint32_t f, uint32_t g,
                                         uint32_t& h, uint32_t wk, uint32_t& bc) {
    const uint32_t ab = a ^ b;
    // The two halves of Ch have no bit in common, so they can be added separately.
    h += wk + (~e & g);
    h += e & f;
    h += std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    d += h;
    h += b ^ (ab & bc);
    h += std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    bc = ab;
}

// Four rounds, after which the words a, b, c, d stand in e, f, g, h and the other way round.
[[gnu::always_inline]] inline void CuatroRondas(uint32_t& a, uint32_t& b, uint32_t& c, uint32_t& d, uint32_t& e,
                                                uint32_t& f, uint32_t& g, uint32_t& h, const uint32_t* wk,
                                                uint32_t& bc) {
    Ronda(a, b, d, e, f, g, h, wk[0], bc);
    Ronda(h, a, c, d, e, f, g, wk[1], bc);
    Ronda(g, h, b, c, d, e, f, wk[2], bc);
    Ronda(f, g, a, b, c, d, e, wk[3], bc);
}

// Eight rounds on two groups of W + K, after which every word is in its own place.
[[gnu::always_inline]] inline void OchoRondas(Palabras& v, const uint32_t* wk1, const uint32_t* wk2, uint32_t& bc) {
    CuatroRondas(v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h, wk1, bc);
    CuatroRondas(v.e, v.f, v.g, v.h, v.a, v.b, v.c, v.d, wk2, bc);
}

[[gnu::always_inline]] inline Palabras Cargar(const uint32_t e[8]) {
    return {e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7]};
}

[[gnu::always_inline]] inline void Sumar(uint32_t e[8], const Palabras& v) {
    const uint32_t w[8] = {v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h};
    for (int i = 0; i < 8; ++i) e[i] += w[i];
}

}  // namespace Lx::Api::Interno
