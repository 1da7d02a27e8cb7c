// Bytes of streams (ISO 32000-1, 7.4): the filters that a document's own structure may have.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace LxPdf {

inline constexpr size_t kTopeFlujo = 32U << 20;  // decoded bytes of one stream

enum class Decodificado { Bien, Malo, Ajeno, Excesivo };

// How a stream's dictionary says it is encoded. Values that are references count as malformed.
struct Filtros {
    bool flate = false;
    int predictor = 1;  // 1 none, 2 TIFF, 10 to 15 PNG
    int colores = 1;
    int bits = 8;
    int columnas = 1;
    std::string ajeno;  // the name of a filter that isn't read
};
[[nodiscard]] Decodificado LeerFiltros(std::string_view dict, Filtros& filtros);

// Decodes what was encoded so. At most kTopeFlujo bytes come out; more is Excesivo. What a damaged end leaves out is
// Malo.
[[nodiscard]] Decodificado Decodificar(std::string_view datos, const Filtros& filtros, std::string& salida);

}  // namespace LxPdf
