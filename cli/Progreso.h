// The progress of several documents on a terminal: one bar, drawn over itself, that makes room for lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Cli {

class Progreso {
  public:
    // Draws only on a terminal, and only for more than one document.
    explicit Progreso(size_t total);
    ~Progreso() { Quitar(); }
    Progreso(const Progreso&) = delete;
    Progreso& operator=(const Progreso&) = delete;

    [[nodiscard]] bool Activo() const { return activo_; }
    // `hechos` documents are done, the next one is `nombre`.
    void Mostrar(size_t hechos, std::string_view nombre);
    // Takes the bar off; lines written after this stay. The next Mostrar draws it again below them.
    void Quitar();

  private:
    size_t total_;
    bool activo_;
    bool dibujado_ = false;
};

}  // namespace Cli
