// Writes the objects of a planned signature, all but its dictionary.
#pragma once

#include "pdf/LxActualizacion.h"
#include "signer/PdfPlan.h"

namespace LxPdfSigner::Interno {

// `r` gets the first stamp that can be seen or, on false, what would be lost by writing.
[[nodiscard]] bool EscribirObjetos(const LxPdf::Lectura& doc, const Plan& plan, LxPdf::Actualizacion& act,
                                   Resultado& r);

}  // namespace LxPdfSigner::Interno
