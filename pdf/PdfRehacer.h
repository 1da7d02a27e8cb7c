// Documents whose cross-references can't be relied on: their objects are looked for, and what other readers would find
// in the same way is compared.
#pragma once

#include <string>

#include "pdf/LxLectura.h"
#include "pdf/PdfAlmacen.h"
#include "pdf/PdfGrafo.h"

namespace LxPdf {

// Looks for the objects outside the bodies of streams, strings and comments; the last of each number wins. Fills the
// store's map and a trailer. False, with `fallo`, when no document comes of it.
[[nodiscard]] bool Rehacer(Almacen& almacen, std::string& trailer, Fallo& fallo);

// Whether readers who repair the document by looking for its objects would find others than `grafo` reached from
// `raiz`, inside the bodies of streams too. False, with `fallo`, when one would.
[[nodiscard]] bool Coincide(Almacen& almacen, const Grafo& grafo, Ref raiz, Fallo& fallo);

}  // namespace LxPdf
