// Writes the end of a PDF: objects with the offsets that they get, and the cross-reference section that lists them
// (ISO 32000-1, 7.5.4 to 7.5.8). Of a new document that is all of it, of an existing one an incremental update.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "pdf/LxLectura.h"

namespace LxPdf {

// Complete dictionary text for an inner one.
[[nodiscard]] std::string Envolver(std::string_view dict);

// Replaces the value of `clave` and keeps all else; a missing key goes to the end.
[[nodiscard]] std::string PonerValor(std::string_view dict, std::string_view clave, std::string_view valor);

// `dict` with the reference added to the array under `clave`: direct, by reference, null or absent. A value that can't
// be read as an array is a failure, since writing a new one would lose what it holds.
[[nodiscard]] bool MeterRef(const Lectura& doc, std::string_view dict, std::string_view clave, Ref ref,
                            std::string& nuevo);

class Actualizacion {
  public:
    // What is written here goes behind `base` bytes. Offsets count from byte `cero`.
    explicit Actualizacion(uint64_t base, uint64_t cero = 0) : base_(base), cero_(cero) {}

    void Texto(std::string_view texto) { texto_ += texto; }
    // Notes that the object's header comes next.
    void Abrir(Ref ref);
    // A whole object.
    void Objeto(Ref ref, std::string_view cuerpo);
    // An object that stands elsewhere already: at an offset, or in object stream `contenedor` at index `pos`.
    void Ajeno(Ref ref, uint32_t contenedor, uint64_t pos);

    // --- The end: section, startxref and %%EOF. `trailer` is the inner text of its dictionary.
    // A table of an update, each object in a subsection of its own.
    void Tabla(std::string_view trailer);
    // A table that needs no other: one subsection from 0 on, with what it doesn't name as free.
    void TablaEntera(std::string_view trailer);
    // A cross-reference stream as object `num`, the highest of all. What says where it is, how large and how encoded
    // is added to `trailer`.
    void Flujo(uint32_t num, std::string_view trailer);

    // An object of this number was written: a second one would undo it.
    [[nodiscard]] bool Tiene(uint32_t num) const { return sitios_.contains(num); }
    [[nodiscard]] const std::string& Bytes() const { return texto_; }
    [[nodiscard]] std::string& Bytes() { return texto_; }
    [[nodiscard]] uint64_t Total() const { return base_ + texto_.size(); }

  private:
    struct Sitio {
        uint16_t gen = 0;
        uint32_t contenedor = 0;  // 0: `pos` is an offset
        uint64_t pos = 0;
    };
    void Fin(uint64_t seccion);

    uint64_t base_;
    uint64_t cero_;
    std::string texto_;
    std::map<uint32_t, Sitio> sitios_;
};

}  // namespace LxPdf
