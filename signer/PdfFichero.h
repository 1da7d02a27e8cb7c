// Files of the signer: the document is read once, hashed while it comes in, and what was written is read back in
// pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/LxMotivo.h"
#include "crypto/LxSha256.h"

namespace LxPdfSigner::Interno {

// The whole file into `datos`. False when it can't be opened or the device fails: half a document must not pass for a
// whole one.
[[nodiscard]] bool Leer(const std::string& ruta, std::string& datos);

// Writes the pieces one after the other. On false one sentence in `error`; a regular file that could not be written
// whole is removed.
[[nodiscard]] bool Escribir(const std::string& ruta, std::initializer_list<std::string_view> piezas, Lx::Motivo& motivo,
                            std::string& error);

// The self-check of a written file: its last /ByteRange covers all but the hole, and what it covers has this SHA-256.
[[nodiscard]] bool Verificar(const std::string& ruta, const std::vector<unsigned char>& digest);

// The same of an open file whose first `cubiertos` bytes `hash` has read already: /ByteRange and hole come after them.
[[nodiscard]] bool Comprobar(int fd, uint64_t cubiertos, Lx::Api::Interno::Sha256Ctx hash,
                             const std::vector<unsigned char>& digest);

// Both paths lead to the same existing file.
[[nodiscard]] bool MismoFichero(const std::string& una, const std::string& otra);

}  // namespace LxPdfSigner::Interno
