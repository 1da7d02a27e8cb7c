// The program's own small files, below the folders that XDG sets aside for each program: nobody else's to read, and
// replaced whole or not at all.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Orvanta {

// What is remembered from one run to the next, and what the person has chosen. They need not exist; empty when nobody
// says where.
[[nodiscard]] std::string CarpetaDeEstado();
[[nodiscard]] std::string CarpetaDeConfiguracion();
// The person's documents, as the desktop's user-dirs.dirs has it; the home folder otherwise.
[[nodiscard]] std::string CarpetaDeDocumentos();

// A regular file of this user, of at most `maximo` bytes; empty when it is anything else.
[[nodiscard]] std::string LeerPropio(const std::string& ruta, size_t maximo);
// With mode 0600; folders that are missing are made with 0700. False leaves what was there.
[[nodiscard]] bool EscribirPropio(const std::string& ruta, std::string_view datos);

}  // namespace Orvanta
