// UTF-8 texts (RFC 3629) that have to fit somewhere.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Orvanta {

// Byte position after the first `cuantos` characters; npos when there are fewer.
[[nodiscard]] size_t FinDeCaracteres(std::string_view texto, size_t cuantos);

// The text, or its last `cuantos` characters after "…" when it has more.
[[nodiscard]] std::string ConFinal(const std::string& texto, size_t cuantos);

// What stands after the last "/" or "\"; the whole path without one.
[[nodiscard]] std::string NombreFichero(const std::string& ruta);

// What a name that others gave is shown as: without line feeds and the like (with `lineas` these stay), nor what turns
// the direction of writing about or is not seen.
[[nodiscard]] std::string SinControl(const std::string& texto, bool lineas = false);

// A name that others gave, in quotes that it can't close, of at most so many characters: what it says is not said by
// us.
[[nodiscard]] std::string Citado(const std::string& nombre, size_t cuantos);

// Whether the text is at most `ancho` pixels wide on one line in the system's font.
[[nodiscard]] bool Cabe(const std::string& texto, int tamano, int ancho);

// The text, or as much of its beginning as fits before "…".
[[nodiscard]] std::string Recortado(const std::string& texto, int tamano, int ancho);

// The text in lines of at most `ancho` pixels, broken at blanks; a longer word is broken where it must.
[[nodiscard]] std::string EnLineas(const std::string& texto, int tamano, int ancho);

}  // namespace Orvanta
