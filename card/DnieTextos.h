// Status words of the card as sentences.
#pragma once

#include <string>
#include <vector>

namespace Lx::Dnie {

// Four upper-case digits of the low 16 bits; -1 reads FFFF.
[[nodiscard]] std::string Hex16(int valor);
[[nodiscard]] std::string ExplicarSw(int sw);
// The answer to VERIFY.
[[nodiscard]] std::string ExplicarPin(int sw);
// Why a reading failed; empty for a status word that is no failure by itself.
[[nodiscard]] std::string ExplicarLectura(int sw);
// Tries left by the answer to a VERIFY without a PIN; 0 when blocked, -1 when the answer doesn't say.
[[nodiscard]] int IntentosDe(int sw);
// Enough to recognise a signature in a log: its length and the start of its SHA-256.
[[nodiscard]] std::string FirmaInfo(const std::vector<unsigned char>& firma);

}  // namespace Lx::Dnie
