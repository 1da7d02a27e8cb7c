// Texts that must not stay in memory: PINs and passwords.
#pragma once

#include <string>

namespace Lx {

// Overwrites the text's bytes, its spare room too, and empties it.
void Limpiar(std::string& secreto);

// A text that is wiped when it goes. What outgrows its room leaves a copy behind: reserve before growing.
class Secreto {
  public:
    Secreto() = default;
    ~Secreto() { Limpiar(texto); }
    Secreto(const Secreto&) = delete;
    Secreto& operator=(const Secreto&) = delete;

    std::string texto;
};

}  // namespace Lx
