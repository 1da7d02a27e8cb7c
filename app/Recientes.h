// The documents that were open last, and where the reader was in each. They stand in a file of their own below XDG's
// state folder; each call reads it anew, for other windows and programs write it too.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ui/viewer/LxDocView.h"

namespace Orvanta {

struct Reciente {
    std::string ruta;  // absolute
    Lx::ViewPlace lugar;
};

class Recientes {
  public:
    static constexpr size_t kMaximo = 10;

    Recientes();
    explicit Recientes(std::string fichero) : fichero_(std::move(fichero)) {}

    // The last one first. What the file says and can't be is left out.
    [[nodiscard]] std::vector<Reciente> Ver() const;
    [[nodiscard]] std::optional<Lx::ViewPlace> LugarDe(const std::string& ruta) const;
    // Makes it the first.
    void Anotar(const Reciente& reciente) const;
    // Keeps its place among the others; nothing when it isn't one of them.
    void Mover(const Reciente& reciente) const;
    // Forgets all of them: the file goes.
    void Borrar() const;

  private:
    void Guardar(const std::vector<Reciente>& todos) const;

    std::string fichero_;
};

}  // namespace Orvanta
