// Where the bytes of a document come from. A file is read by ranges, never mapped: one that somebody shortens meanwhile
// gives short reads, not a signal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "crypto/LxDescriptor.h"

namespace LxPdf {

// Ranges of bytes. Leer may be called from several threads at once.
class Fuente {
  public:
    Fuente() = default;
    virtual ~Fuente() = default;
    Fuente(const Fuente&) = delete;
    Fuente& operator=(const Fuente&) = delete;

    // Bytes in all, fixed when the source was opened.
    [[nodiscard]] virtual uint64_t Longitud() const = 0;
    // Exactly `n` bytes from `pos` on. False when they can't be had: past the end, a failing device, a file cut short.
    [[nodiscard]] virtual bool Leer(uint64_t pos, size_t n, char* destino) const = 0;
    // The bytes may be others than when the source was opened.
    [[nodiscard]] virtual bool HaCambiado() const = 0;
    // The source's own file, -1 when it isn't one.
    [[nodiscard]] virtual int Descriptor() const { return -1; }
};

// A file, known by its path and held open. Null, with errno set, when it can't be opened or is no regular file.
[[nodiscard]] std::unique_ptr<Fuente> AbrirFichero(const std::string& ruta);

// Bytes in memory, which must outlive the source.
[[nodiscard]] std::unique_ptr<Fuente> AbrirMemoria(std::string_view datos);

// A view of a source that moves: neighbouring ranges are read once. One thread only.
class Ventana {
  public:
    explicit Ventana(const Fuente& fuente, size_t bloque = 256U << 10) : fuente_(fuente), bloque_(bloque) {}

    // What follows from `pos` on: at least `minimo` bytes, fewer only at the end of the source, mostly more. Empty when
    // nothing can be read there. Holds until the next call.
    [[nodiscard]] std::string_view Ver(uint64_t pos, size_t minimo);
    // The view from `pos` on reaches the end of the source.
    [[nodiscard]] bool HastaElFinal(uint64_t pos, std::string_view vista) const {
        return pos + vista.size() >= fuente_.Longitud();
    }

  private:
    const Fuente& fuente_;
    size_t bloque_;
    uint64_t inicio_ = 0;
    std::string datos_;
};

}  // namespace LxPdf
