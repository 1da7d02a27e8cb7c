// A document read as ISO 32000-1, 7.5 says: by its chain of cross-reference sections, wherever its objects stand. One
// that readers would take in different ways isn't read at all.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxFuente.h"
#include "pdf/LxLectura.h"

namespace LxPdf {

// A state of the document that a cross-reference section closed. The two sections of a linearized file are one.
struct Revision {
    Seccion clase = Seccion::Tabla;
    uint64_t inicio = 0;  // absolute position of the section
    uint64_t fin = 0;     // past its %%EOF and line end
};

// What readers forgive, and people should hear of.
struct Rarezas {
    bool reconstruido = false;    // damaged: the objects were looked for
    bool tablaTrasFlujo = false;  // a table follows a cross-reference stream: some readers show the revision before
    bool indiceAjeno = false;     // members of object streams stand elsewhere than their entries say
};

// What earlier signatures and the form allow (ISO 32000-1, 12.8.2 and 12.7.2; ISO 32000-2, 12.7.5.5).
struct Permisos {
    struct Cerrojo {
        std::string campo;   // the signature field that locks
        std::string accion;  // "All", "Include" or "Exclude"
        std::vector<std::string> nombres;
    };
    int p = 0;                  // strictest /P of all: 1 nothing, 2 fill in and sign, 3 and annotate; 0 not certified
    bool fueraDeRango = false;  // some /P is none of these and was taken for 2
    std::string quien;          // /Name and /M of the signature that says `p`
    std::string cuando;
    std::vector<Cerrojo> cerrojos;
    bool derechosDeUso = false;  // UR3
    bool xfaDinamico = false;
    bool excesivo = false;  // there is more to read than any document needs: the rest says nothing
};

class Documento final : public Lectura {
  public:
    // Null, with `fallo`, when the document can't be read, or not by all readers alike.
    [[nodiscard]] static std::unique_ptr<Documento> Abrir(std::shared_ptr<const Fuente> fuente, Fallo& fallo);
    // The same for who only looks something up: the chain alone is followed, nothing is compared or rebuilt, and there
    // are no pages.
    [[nodiscard]] static std::unique_ptr<Documento> Consultar(std::shared_ptr<const Fuente> fuente, Fallo& fallo);
    // What a look at both ends says: nothing but a document of a size that is read begins and ends so.
    [[nodiscard]] static bool TienePrincipioYFin(const Fuente& fuente, Fallo& fallo);
    ~Documento() override;

    // From the oldest to the newest; none of a rebuilt document.
    [[nodiscard]] std::vector<Revision> Revisiones() const;
    [[nodiscard]] const struct Rarezas& Rarezas() const;
    [[nodiscard]] const std::vector<CampoFirma>& Firmas() const;   // after LeerCampos
    [[nodiscard]] const std::vector<Ref>& WidgetsDeFirma() const;  // after LeerCampos
    [[nodiscard]] Permisos LeerPermisos() const;                   // after LeerCampos
    // The value with references to other objects followed; empty when it leads to nothing.
    [[nodiscard]] std::string Resolver(std::string_view valor) const;

    // Where an object stands: `contenedor` is 0 for one that stands in the file at `pos`, from Base() on; else the
    // object stream that holds it, at index `pos`.
    struct Sitio {
        Ref ref;
        uint32_t contenedor = 0;
        uint64_t pos = 0;
    };
    // Every object that lives, by number.
    [[nodiscard]] std::vector<Sitio> Sitios() const;

    [[nodiscard]] const Fuente& Bytes() const override;
    [[nodiscard]] Seccion Clase() const override;
    [[nodiscard]] uint64_t Previo() const override;
    [[nodiscard]] std::string_view Trailer() const override;
    [[nodiscard]] uint64_t Base() const override;
    [[nodiscard]] Ref Raiz() const override;
    [[nodiscard]] uint32_t Siguiente() const override;
    [[nodiscard]] bool ValorDe(Ref ref, std::string& valor) const override;
    [[nodiscard]] bool RefDe(std::string_view dict, std::string_view clave, Ref& ref) const override;
    [[nodiscard]] bool EsNulo(Ref ref) const override;
    [[nodiscard]] bool Vigente(Ref ref) const override;
    [[nodiscard]] const std::vector<Ref>& Paginas() const override;
    [[nodiscard]] bool LeerCampos(const std::vector<Ref>& paginas, Campos& campos, Fallo& fallo) override;

  private:
    friend class Apertura;
    struct Partes;
    Documento();
    std::unique_ptr<Partes> e_;
};

}  // namespace LxPdf
