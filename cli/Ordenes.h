// The program's orders. Each returns the exit status: 0 all done, 1 something not, 2 wrong use, 3 no certificate.
#pragma once

#include <string>

#include "cli/Argumentos.h"

namespace Cli {

inline constexpr int kBien = 0;
inline constexpr int kAlgoFallo = 1;
inline constexpr int kMalUso = 2;
inline constexpr int kSinCertificado = 3;

[[nodiscard]] int OrdenFirmar(const Argumentos& a);
[[nodiscard]] std::string JsonDeFalloFirmar(const Argumentos& a, const std::string& error);

[[nodiscard]] int OrdenCertificados(const Argumentos& a);
[[nodiscard]] std::string JsonDeFalloCertificados(const Argumentos& a, const std::string& error);

[[nodiscard]] int OrdenCrear(const Argumentos& a);

[[nodiscard]] int OrdenDiagnosticar(const Argumentos& a);
[[nodiscard]] std::string JsonDeFalloDiagnosticar(const Argumentos& a, const std::string& error);

}  // namespace Cli
