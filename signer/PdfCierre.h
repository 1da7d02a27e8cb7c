// The end of a signature's update: its cross-reference section and trailer.
#pragma once

#include <cstdint>
#include <string>

#include "pdf/LxActualizacion.h"
#include "pdf/LxDocumento.h"

namespace LxPdfSigner::Interno {

// Writes them. The section is of the kind that the document ends with, so that readers who know only one kind find it;
// of a rebuilt document it lists every object. `ultimo` is the highest number that the update holds; `porReferencias`
// is the document when it was read so, else null; `hash` is the second /ID.
void CerrarActualizacion(const LxPdf::Lectura& doc, const LxPdf::Documento* porReferencias, uint32_t ultimo,
                         const std::string& hash, LxPdf::Actualizacion& act);

}  // namespace LxPdfSigner::Interno
