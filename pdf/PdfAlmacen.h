// Objects of a document by number, wherever they stand (ISO 32000-1, 7.3.10 and 7.5.7).
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxFuente.h"
#include "pdf/LxLectura.h"
#include "pdf/PdfFlujo.h"
#include "pdf/PdfMapa.h"

namespace LxPdf {

inline constexpr size_t kTopeValor = 32U << 20;  // text of one value

// Bytes of values that may be read of one document: the allowance ends only where objects lie inside each other, and
// reading every one would be quadratic work.
[[nodiscard]] inline uint64_t MargenDe(const Fuente& fuente) {
    return (16ULL << 20) + 4 * fuente.Longitud();
}

// An object as it stands in the file.
struct Crudo {
    uint64_t num = 0;
    uint64_t gen = 0;
    std::string_view valor;  // of a stream its dictionary; holds until the window moves
    uint64_t inicio = 0;     // absolute: the header's first digit
    uint64_t fin = 0;        // just past the value
    bool flujo = false;
    bool sinLinea = false;  // nothing ends the line of "stream"
    uint64_t datos = 0;     // first byte of a stream's data
};

// The header "N G obj" at `pos`, which white space may precede. `cuerpo` receives the position behind "obj".
[[nodiscard]] bool LeerCabecera(Ventana& ventana, uint64_t pos, Crudo& crudo, uint64_t& cuerpo);
// The same with the value. False also when the value doesn't end within kTopeValor.
[[nodiscard]] bool LeerCrudo(Ventana& ventana, uint64_t pos, Crudo& crudo);

// "endstream" stands where a stream of `largo` bytes ends, white space before it allowed.
[[nodiscard]] bool AcabaFlujo(Ventana& ventana, uint64_t datos, uint64_t largo);

// The stream's end: past its data, by the length that the dictionary names when "endstream" stands there, else before
// the first "endstream", or "endobj", that follows. `largo` is the resolved length, negative when there is none.
[[nodiscard]] uint64_t FinDatos(Ventana& ventana, const Crudo& crudo, long largo, uint64_t total);

// Reads the stream's bytes and decodes them. `largo` was verified.
[[nodiscard]] Decodificado LeerFlujo(const Fuente& fuente, const Crudo& crudo, uint64_t largo, std::string& salida,
                                     std::string& filtro);

// An object stream, decoded.
struct FlujoObjetos {
    struct Miembro {
        uint32_t num = 0;
        size_t ini = 0;
        size_t fin = 0;  // of its part of `texto`, at most where the next one's begins
    };
    std::string texto;
    std::vector<Miembro> miembros;
    std::vector<uint32_t> orden;  // indices into `miembros` by number, then as they come
    bool dudoso = false;  // offsets that don't ascend, or lie in the header: readers cut the members differently, and
                          // no value is given

    // The member at the index when it is the number's, else the only one of that number; null when there is none.
    // `ajeno`: it wasn't at the index. `repetido`: several of that number, with different values.
    [[nodiscard]] const Miembro* Buscar(uint32_t num, uint32_t indice, bool& ajeno, bool& repetido) const;
    [[nodiscard]] std::string_view Parte(const Miembro& m) const {
        return std::string_view(texto).substr(m.ini, m.fin - m.ini);
    }
    // The value that its part begins with.
    [[nodiscard]] std::string_view Valor(const Miembro& m) const;
};

// Otro: what stands there is no object stream.
enum class Estado { Bien, Nulo, Malo, Otro, Ajeno, Excesivo };

class Almacen {
  public:
    Almacen(const Fuente& fuente, uint64_t base) : fuente_(fuente), ventana_(fuente, 16U << 10), base_(base) {}

    // The value of an object; of a stream its dictionary. Malo: it isn't where its entry says.
    [[nodiscard]] Estado Leer(uint32_t num, std::string& valor);
    // The object stream of that number. Its view holds until the next call that decodes another.
    [[nodiscard]] Estado Contenedor(uint32_t num, std::shared_ptr<const FlujoObjetos>& flujo);
    // The object stream that stands at the absolute position `pos`, whatever the map says; it isn't kept.
    [[nodiscard]] Estado AbrirEn(uint64_t pos, FlujoObjetos& flujo);
    // A whole number: direct, or that of an object.
    [[nodiscard]] bool Entero(std::string_view valor, long& n, int nivel = 0);
    // The decoded bytes of a stream object that stands in the file.
    [[nodiscard]] Estado Decodificar(const Crudo& crudo, std::string& salida);

    [[nodiscard]] Mapa& Objetos() { return mapa_; }
    [[nodiscard]] const Mapa& Objetos() const { return mapa_; }
    void PonerMapa(Mapa mapa);
    // From now on a stream whose length is wrong ends where its "endstream" stands.
    void Tolerar() { tolerante_ = true; }
    [[nodiscard]] uint64_t Base() const { return base_; }
    void PonerBase(uint64_t base) { base_ = base; }
    [[nodiscard]] const Fuente& Bytes() const { return fuente_; }
    // The filter that made the last Ajeno.
    [[nodiscard]] const std::string& Filtro() const { return filtro_; }

  private:
    [[nodiscard]] static size_t Peso(const FlujoObjetos& f);
    void Aligerar(size_t hasta);
    void Guardar(uint32_t num, std::shared_ptr<const FlujoObjetos> flujo);

    const Fuente& fuente_;
    Ventana ventana_;
    uint64_t base_;
    Mapa mapa_;
    std::string filtro_;
    // The newest used first.
    std::list<std::pair<uint32_t, std::shared_ptr<const FlujoObjetos>>> cache_;
    size_t guardado_ = 0;
    bool tolerante_ = false;
    std::set<uint32_t> vistos_;
    uint64_t decodificado_ = 0;  // the first time
    uint64_t repetido_ = 0;      // and again, after leaving the cache
    std::vector<uint32_t> abriendo_;
};

}  // namespace LxPdf
