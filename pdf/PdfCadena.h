// The chain of cross-reference sections (ISO 32000-1, 7.5.4 and 7.5.8), newest first, and the map that it gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pdf/LxFuente.h"
#include "pdf/LxLectura.h"
#include "pdf/PdfMapa.h"

namespace LxPdf {

struct SeccionLeida {
    Seccion clase = Seccion::Tabla;
    uint64_t inicio = 0;  // absolute
    std::string trailer;  // inner text
};

struct Cadena {
    Mapa mapa;
    std::vector<SeccionLeida> secciones;  // newest first, hybrid streams left out
    // An object that stands twice in one section: its first place is in the map, these are the others, absolute.
    std::vector<std::pair<uint32_t, uint64_t>> repetidos;
    bool numerosEnormes = false;  // entries beyond kNumeroMaximo were left out
};

enum class Desenlace { Bien, Rota, Imposible };

// Reads the chain that begins at `inicio`, an offset that counts from byte `base`. Rota: damaged, another way must be
// found. Imposible: `fallo` says why nobody should try.
[[nodiscard]] Desenlace LeerCadena(const Fuente& fuente, uint64_t base, uint64_t inicio, Cadena& cadena, Fallo& fallo);

}  // namespace LxPdf
