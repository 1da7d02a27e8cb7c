// Every place of a file that looks like an object's header, wherever it stands: what readers see who look for objects
// without knowing where streams, strings and comments end.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "pdf/LxFuente.h"

namespace LxPdf {

struct Cabecera {
    uint64_t num = 0;
    uint64_t gen = 0;
    uint64_t pos = 0;    // absolute, of the first digit
    bool linea = false;  // nothing but blanks before it on its line
};

// Calls `cabecera` for each in the order of the file, and `trailer` with the position behind each word "trailer".
void Rastrear(const Fuente& fuente, const std::function<void(const Cabecera&)>& cabecera,
              const std::function<void(uint64_t)>& trailer);

// Position of the last "%%EOF" of the file; its length when there is none in the last megabyte.
[[nodiscard]] uint64_t UltimoFin(const Fuente& fuente);

}  // namespace LxPdf
