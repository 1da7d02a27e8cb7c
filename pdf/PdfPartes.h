// What a Documento owns.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "pdf/LxDocumento.h"
#include "pdf/PdfAlmacen.h"
#include "pdf/PdfCadena.h"

namespace LxPdf {

struct Documento::Partes {
    explicit Partes(std::shared_ptr<const Fuente> f) : fuente(std::move(f)), almacen(*fuente, 0) {}

    // As Documento::Resolver.
    [[nodiscard]] std::string Resolver(std::string_view valor) const;

    std::shared_ptr<const Fuente> fuente;
    // Reading moves its window and fills its cache, whatever is asked.
    mutable Almacen almacen;
    std::vector<SeccionLeida> secciones;  // newest first; none of a rebuilt document
    std::string trailer;
    Seccion clase = Seccion::Tabla;
    uint64_t previo = 0;
    Ref raiz;
    std::string catalogo;
    std::vector<Ref> paginas;
    std::vector<CampoFirma> firmas;
    std::vector<Ref> widgets;  // of signature fields
    struct Rarezas rarezas;
};

}  // namespace LxPdf
