// Texts that must not stay in memory: PINs and passwords.
#pragma once

#include <string>

namespace Lx {

// First thing in a program that will hold secrets. No core dump is written of it or of what it starts. A standard
// stream that the caller closed is given /dev/null, so that it does not become the next file that is opened; writing to
// it still fails.
void PrepararProceso();

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
