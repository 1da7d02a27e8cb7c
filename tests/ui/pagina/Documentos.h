// Small PDF documents, written by hand.
#pragma once

#include <string>
#include <vector>

namespace Hojas {

// The objects, numbered from 1, with a cross-reference table; the first is the catalogue.
[[nodiscard]] std::string Documento(const std::vector<std::string>& objetos);
[[nodiscard]] std::string Flujo(const std::string& contenido, const std::string& entradas = "");

struct Hoja {
    std::string caja = "0 0 200 100";  // /MediaBox
    std::string entradas = {};         // of the page's dictionary
    std::string contenido = {};
};
// Pages, and further objects behind them: the first of those has number 3 + 2 * hojas.size().
[[nodiscard]] std::string ConHojas(const std::vector<Hoja>& hojas, const std::vector<std::string>& otros = {},
                                   const std::string& catalogo = "");

// A page that no machine draws in a lifetime, and one that is red.
[[nodiscard]] std::string LentaYRoja();

}  // namespace Hojas
