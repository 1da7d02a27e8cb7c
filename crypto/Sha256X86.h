// The compression functions for x86-64 and the tests of whether the processor runs them.
#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstdint>

namespace Lx::Api::Interno {

[[nodiscard]] bool HayShaNi();
[[nodiscard]] bool HayAvx2();
[[nodiscard]] bool HaySsse3();

void ComprimirShaNi(uint32_t estado[8], const unsigned char* bloques, size_t n);
void ComprimirDosShaNi(uint32_t estado1[8], const unsigned char* bloques1, uint32_t estado2[8],
                       const unsigned char* bloques2, size_t n);
void ComprimirAvx2(uint32_t estado[8], const unsigned char* bloques, size_t n);
void ComprimirSsse3(uint32_t estado[8], const unsigned char* bloques, size_t n);

}  // namespace Lx::Api::Interno

#endif
