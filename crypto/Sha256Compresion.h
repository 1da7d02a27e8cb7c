// The compression functions of SHA-256 (FIPS 180-4, 6.2.2) that this build has, and the choice among them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Lx::Api::Interno {

// Takes `n` blocks of 64 bytes, at any address, into the hash words.
using Compresion = void (*)(uint32_t estado[8], const unsigned char* bloques, size_t n);

// `n` blocks of each of two messages into the hash words of each.
using CompresionDos = void (*)(uint32_t estado1[8], const unsigned char* bloques1, uint32_t estado2[8],
                               const unsigned char* bloques2, size_t n);

struct Candidata {
    const char* nombre;
    bool (*disponible)();         // the processor and the system support it
    Compresion funcion;           // to be called only when they do
    CompresionDos dos = nullptr;  // likewise; null where two at once take as long as one after the other
};

// The fastest first; the last is portable and always available.
[[nodiscard]] std::span<const Candidata> Candidatas();

// Whether it gives the right hash words for a message of five blocks.
[[nodiscard]] bool PasaPruebaConocida(Compresion funcion);
[[nodiscard]] bool PasaPruebaConocida(CompresionDos funcion);

// The first of `lista` that is available and passes; the last one in any case.
[[nodiscard]] const Candidata& Elegir(std::span<const Candidata> lista);

// The process's own choice, made once.
[[nodiscard]] const Candidata& Elegida();

// Round constants (FIPS 180-4, 4.2.2).
alignas(64) inline constexpr uint32_t kRonda[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

}  // namespace Lx::Api::Interno
