// Unsigned big numbers for the RSA check, exposed so that tests can reach the rare branches of the division.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Lx::Api::Interno {

// Limbs of 32 bits, least significant first; leading zero limbs are allowed everywhere.
using Numero = std::vector<uint32_t>;

[[nodiscard]] Numero DeBytes(const std::vector<unsigned char>& bytes);       // from big-endian bytes
[[nodiscard]] std::vector<unsigned char> ABytes(const Numero& a, size_t n);  // the low n bytes, big-endian
[[nodiscard]] int Comparar(const Numero& a, const Numero& b);                // below, equal to or above 0

// Limbs without the leading zero ones.
[[nodiscard]] size_t Significativos(const Numero& a);

// a mod m in place, in m.size() + 1 limbs, or in one limb for a modulus of one. A modulus of zero leaves `a` as it is.
void Mod(Numero& a, const Numero& m);

// a·b mod m, shaped as by Mod.
[[nodiscard]] Numero MulMod(const Numero& a, const Numero& b, const Numero& m);

}  // namespace Lx::Api::Interno
