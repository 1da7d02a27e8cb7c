// What is said of a document that can't be signed, or is signed with a reserve.
#pragma once

#include <string>

#include "crypto/LxMotivo.h"
#include "pdf/LxDocumento.h"
#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

// The reason in `r`; false.
bool Fallo(Resultado& r, Lx::Motivo motivo, std::string frase);
bool Fallo(Resultado& r, Lx::Aviso aviso);
bool FalloPagina(Resultado& r);
bool FalloPerderia(Resultado& r, const char* que);

// A text of somebody else's in a sentence of ours: well-formed, without line ends, what turns the direction of reading
// or can't be seen, and cut after `largo` bytes.
[[nodiscard]] std::string Llano(const std::string& texto, size_t largo = 80);

// Reason and sentence for what the reading of `entrada` met.
[[nodiscard]] Lx::Aviso Explicar(const LxPdf::Fallo& fallo, const std::string& entrada);

// Nobody may change a document that was certified so; names who did and when, as the document itself says.
[[nodiscard]] Lx::Aviso ExplicarCertificado(const LxPdf::Permisos& permisos);

// What the person should know although it stops nothing, of a stamp that will be seen (`visible`) or won't.
[[nodiscard]] std::vector<Lx::Aviso> AvisosDe(const LxPdf::Documento& doc, const LxPdf::Permisos& permisos,
                                              const LxPdf::Campos& campos, const std::string& nombre, bool visible);

// A lock of an earlier signature covers a field of that name.
[[nodiscard]] bool Bloquea(const LxPdf::Permisos::Cerrojo& cerrojo, const std::string& nombre);

}  // namespace LxPdfSigner::Interno
