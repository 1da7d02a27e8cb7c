// A document as poppler reads and draws it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "ui/platform/pdf/Protocolo.h"

namespace poppler {
class document;
}

namespace Lx::Pdf {

class Dibujo {
  public:
    Dibujo();
    ~Dibujo();
    Dibujo(const Dibujo&) = delete;
    Dibujo& operator=(const Dibujo&) = delete;

    // The descriptor is only read.
    [[nodiscard]] Estado Abrir(int fd);
    [[nodiscard]] int Paginas() const;
    // Writes the pixels at the start of `destino`.
    [[nodiscard]] Estado Dibujar(int pagina, int ancho, int destino, int& alto) const;

  private:
    std::string conSellos_;  // the bytes that poppler reads, where they aren't the file's own
    std::unique_ptr<poppler::document> documento_;
};

}  // namespace Lx::Pdf
