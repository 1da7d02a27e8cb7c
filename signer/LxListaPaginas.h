// A list of stamp pages while a person writes it: what the engine would take from it, and what it would pass over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace LxPdfSigner {

struct ListaRevisada {
    enum class Defecto : uint8_t {
        Ninguno,
        Vacia,
        Forma,     // `trozo` is neither a page nor a range
        AlReves,   // `trozo` is a range whose end comes first
        NoExiste,  // `trozo` is a page that the document hasn't
    };
    Defecto defecto = Defecto::Ninguno;
    std::string trozo;
    size_t cuantas = 0;  // different pages; 0 with any defect
};

// A list such as "1, 3, 5-8" of a document of `paginas` pages (0: not known, any page may be there). What has no defect
// is all taken by the engine.
[[nodiscard]] ListaRevisada RevisarLista(const std::string& lista, size_t paginas);

}  // namespace LxPdfSigner
