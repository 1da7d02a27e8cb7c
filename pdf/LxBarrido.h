// What the signer needs to know of an existing document (ISO 32000-1, 7.5 and 12.7): trailer, objects, pages and
// signature fields. Objects are found by scanning the text; objects that only an object stream holds stay invisible.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace LxPdf {

// Where each object begins, and how much may still be read through it. The allowance only ends on files whose objects
// lie inside each other, where reading every one would be quadratic work.
struct Mapa {
    std::map<long, size_t> objetos;  // number (1 to 2^31) to the offset of the first digit of its header
    mutable uint64_t margen = 0;     // bytes of values that may still be read

    size_t frontera = 0;  // where the last revision that compresses objects begins, 0 when none does

    [[nodiscard]] bool Agotado() const { return margen == 0; }
    // Whether what is seen of the object is its last state. An older one may have been replaced inside an object
    // stream, unseen: writing it again would undo that revision.
    [[nodiscard]] bool Vigente(long num) const {
        const auto it = objetos.find(num);
        return it == objetos.end() || it->second >= frontera;
    }
};

// Every "N G obj" in the file; the last one of each number wins. Generations are ignored.
[[nodiscard]] Mapa BarridoObjetos(std::string_view datos);

// The value of object `num`: a view of `datos`, trimmed at the front only by its header. False when the object isn't
// there.
[[nodiscard]] bool ValorObjeto(std::string_view datos, const Mapa& mapa, long num, std::string_view& valor);

// Inner text of object `num`'s dictionary, without << and >>.
[[nodiscard]] bool DictDe(std::string_view datos, const Mapa& mapa, long num, std::string_view& dict);

// Inner text of the trailer for the cross-reference section at `offset`: the one after a table, or the dictionary of a
// cross-reference stream (ISO 32000-1, 7.5.5 and 7.5.8).
[[nodiscard]] bool LeerTrailer(std::string_view datos, size_t offset, std::string_view& dict);

// What stands between the brackets of an array, trimmed, given its text or a reference to it.
[[nodiscard]] bool ArrayDe(std::string_view datos, const Mapa& mapa, std::string_view valor,
                           std::string_view& elementos);

// Page objects in document order, each once, from the node on. Levels below 32 are left out; a cycle ends there.
[[nodiscard]] std::vector<long> BuscarTodasPaginas(std::string_view datos, const Mapa& mapa, long nodo);

struct Campos {
    std::set<std::string> nombres;  // signature fields, by the text of /T
    std::map<long, size_t> sellos;  // page object to the count of visible signature widgets on it
    size_t ultimoFlujo = 0;         // offset of the last object stream (ISO 32000-1, 7.5.7), 0 when there is none
};

// Signature fields and their visible widgets, in one pass over all objects.
[[nodiscard]] Campos CamposFirma(std::string_view datos, const Mapa& mapa);

// "Signature" and the smallest number from 1 up that is free.
[[nodiscard]] std::string NombreCampoLibre(const std::set<std::string>& nombres);

}  // namespace LxPdf
