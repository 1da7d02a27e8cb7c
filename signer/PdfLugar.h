// Where on a page, as it is seen, something is.
#pragma once

#include <cstddef>
#include <string>

#include "pdf/LxLectura.h"
#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

// The part of `rect` ("[x1 y1 x2 y2]") that is seen on the page with that index, turned and cropped as its dictionary
// and those above it say (ISO 32000-1, 7.7.3.4). Its page is -1 when nothing of it is seen.
[[nodiscard]] Estampa LugarVisto(const LxPdf::Lectura& doc, size_t indice, const std::string& rect);

}  // namespace LxPdfSigner::Interno
