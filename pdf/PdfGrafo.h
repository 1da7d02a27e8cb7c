// Which objects a document is made of: everything that can be reached from its trailer, and whether all readers find
// the same there.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "pdf/LxLectura.h"
#include "pdf/PdfAlmacen.h"

namespace LxPdf {

class Grafo {
  public:
    explicit Grafo(Almacen& almacen) : almacen_(almacen) {}

    // Reads every object that stands in the file once, in its order. `repetidos` are second places of objects. False,
    // with `fallo`, when there is more than is read.
    [[nodiscard]] bool Construir(std::string_view trailer, const std::vector<std::pair<uint32_t, uint64_t>>& repetidos,
                                 Fallo& fallo);

    // Marks what can be reached from the references in the trailer, but for those to other sections. An object stream
    // is decoded when something in it is reached, and once. False, with `fallo`, when there is more than is read.
    [[nodiscard]] bool Alcanzar(std::string_view trailer, Fallo& fallo);

    // Something that is reached isn't where the map says.
    [[nodiscard]] bool Roto() const { return roto_; }
    // The first thing reached that readers take in different ways; Ninguno when there is none.
    [[nodiscard]] const Fallo& Ambiguo() const { return ambiguo_; }
    // Numbers that are referred to and have no object, ascending.
    [[nodiscard]] const std::vector<uint32_t>& Nulos() const { return nulos_; }
    // A fault was met that all readers forgive.
    [[nodiscard]] bool Extrano() const { return extrano_; }
    [[nodiscard]] bool Alcanzado(uint32_t num) const;

  private:
    struct Nodo {
        uint32_t num = 0;
        uint32_t desde = 0;
        uint32_t cuantas = 0;
        uint32_t ajeno = 0;  // the number that `defecto` is about
        Defecto defecto = Defecto::Ninguno;
        bool malo = false;
        bool extrano = false;
        bool alcanzado = false;
        bool leido = false;
    };
    // A node and where it stands: by the offset of its object, or of the stream that holds it, and the index there.
    struct Sitio {
        uint64_t pos;
        uint32_t indice;
        uint32_t nodo;
    };

    void Situar();
    void LeerSuelto(Nodo& nodo, const Entrada& e);
    void LeerMiembro(Nodo& nodo, const Entrada& e);
    void LeerFlujo(uint64_t pos);
    void Juzgar();
    void Referencias(Nodo& nodo, std::string_view valor);
    void ReferenciasDeRaiz(Nodo& nodo, std::string_view valor);
    void Repetidos(const std::vector<std::pair<uint32_t, uint64_t>>& repetidos);

    Almacen& almacen_;
    std::vector<Nodo> nodos_;
    std::vector<Sitio> sitios_;                             // in the order of the file
    std::vector<uint32_t> aristas_;                         // nodes
    std::vector<std::pair<uint32_t, uint32_t>> colgantes_;  // node, number without an object
    std::vector<uint32_t> nulos_;
    Ventana* ventana_ = nullptr;
    uint64_t margen_ = 0;
    uint64_t raiz_ = 0;  // the catalogue's number
    Fallo ambiguo_;
    bool roto_ = false;
    bool extrano_ = false;
};

// What stands at both places is the same object: value and stream.
[[nodiscard]] bool MismoCuerpo(const Fuente& fuente, Almacen& almacen, uint64_t una, uint64_t otra);

}  // namespace LxPdf
