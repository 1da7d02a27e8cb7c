// Files of the signer: the document is read once, hashed while it comes in, and what was written is read back in
// pieces.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "crypto/LxSha256.h"

namespace LxPdfSigner::Interno {

// SHA-256 of bytes as they come, on a second thread once it is asked to, so that reading and hashing a large file
// overlap.
class Digestor {
  public:
    Digestor() = default;
    ~Digestor();
    Digestor(const Digestor&) = delete;
    Digestor& operator=(const Digestor&) = delete;

    // From now on hashes on a thread of its own; without one to be had it goes on hashing on the caller's.
    void EnParalelo();
    // The bytes must stay where they are until they are hashed.
    void Dar(const void* bytes, size_t size);
    // Waits until at most `pendientes` of the given pieces are still to be hashed.
    void Esperar(size_t pendientes);
    // The context after all that was given.
    [[nodiscard]] const Lx::Api::Interno::Sha256Ctx& Terminar();

  private:
    void Trabajar();

    Lx::Api::Interno::Sha256Ctx ctx_;
    std::deque<std::string_view> cola_;
    bool cerrar_ = false;
    std::mutex cerrojo_;
    std::condition_variable cambio_;
    std::thread hilo_;
};

// The whole file into `datos`, and every byte of it to `digestor`, which must not outlive `datos`. False when the file
// can't be opened or the device fails: half a document must not pass for a whole one.
[[nodiscard]] bool Leer(const std::string& ruta, std::string& datos, Digestor& digestor);

// Writes the pieces one after the other. On false one sentence in `error`; a regular file that could not be written
// whole is removed.
[[nodiscard]] bool Escribir(const std::string& ruta, std::initializer_list<std::string_view> piezas,
                            std::string& error);

// The self-check of a written file: its last /ByteRange covers all but the hole, and what it covers has this SHA-256.
[[nodiscard]] bool Verificar(const std::string& ruta, const std::vector<unsigned char>& digest);

// The same of an open file whose first `cubiertos` bytes `hash` has read already: /ByteRange and hole come after them.
[[nodiscard]] bool Comprobar(int fd, uint64_t cubiertos, Lx::Api::Interno::Sha256Ctx hash,
                             const std::vector<unsigned char>& digest);

// Both paths lead to the same existing file.
[[nodiscard]] bool MismoFichero(const std::string& una, const std::string& otra);

}  // namespace LxPdfSigner::Interno
