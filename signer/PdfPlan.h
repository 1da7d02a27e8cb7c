// What a signature will add to a document, and whether it may: decided here alone, for who only asks and for who signs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "pdf/LxDocumento.h"
#include "pdf/LxLectura.h"
#include "signer/LxPdfSigner.h"
#include "signer/PdfSello.h"

namespace LxPdfSigner::Interno {

enum class TipoAcroForm { Ausente, Referencia, EnLinea };

// What the update will hold and under which numbers.
struct Plan {
    std::string catalogo;
    std::vector<LxPdf::Ref> paginas;  // page objects that get a stamp; none for an invisible signature
    std::vector<size_t> indices;      // of those pages, from 0
    LxPdf::Campos campos;
    std::string nombreCampo;
    TipoAcroForm tipo = TipoAcroForm::Ausente;
    LxPdf::Ref acroForm;  // its object, or the number for a new one
    LxPdf::Ref campo;
    uint32_t primerHijo = 0;  // widgets of two or more stamp pages are numbered on from here
    LxPdf::Ref fuente;
    LxPdf::Ref apariencia;
    LxPdf::Ref firma;
    Sello sello;

    [[nodiscard]] bool Varias() const { return paginas.size() >= 2; }
};

struct Pedido {
    const std::string& utc;
    const std::string& entrada;
    const std::string& nombre;  // that the stamp shows
    const Opciones& opciones;
};

// False, with the reason in `r`, when the document may not or can't be signed so. `porReferencias` is the document when
// it was read by its cross-references, else null.
[[nodiscard]] bool Planificar(LxPdf::Lectura& doc, const LxPdf::Documento* porReferencias, const Pedido& pedido,
                              Plan& plan, Resultado& r);

}  // namespace LxPdfSigner::Interno
