// Texts that must not stay in memory: PINs and passwords; and what a process that holds them owes to its user.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "crypto/LxMemoria.h"

namespace Lx {

// First thing in a program that will hold secrets. No core dump is written of it or of what it starts. A standard
// stream that the caller closed is given /dev/null, so that it does not become the next file that is opened; writing to
// it still fails. An ignored SIGCHLD, which a launcher may hand down and which hides a child's exit status, is set back
// to the default; a limit on the size of files shows as a failed write.
void PrepararProceso();

// While one lives, no other program of the same user may look into this process (PR_SET_DUMPABLE). The first one closes
// the door and the last one opens it again; any thread may hold one.
class NoVolcable {
  public:
    NoVolcable();
    ~NoVolcable();
    NoVolcable(const NoVolcable&) = delete;
    NoVolcable& operator=(const NoVolcable&) = delete;
};

// Overwrites the text's bytes, its spare room too, and empties it.
void Limpiar(std::string& secreto);

// A text that is locked in memory, where that is allowed, and wiped when it goes. What outgrows its room leaves a copy
// behind and is not locked: reserve before growing.
class Secreto {
  public:
    Secreto() : propias_(this, sizeof *this) {}
    ~Secreto() { Limpiar(texto); }
    Secreto(const Secreto&) = delete;
    Secreto& operator=(const Secreto&) = delete;

    // Room for `n` bytes, locked. Empties the text.
    void Reservar(size_t n);

  private:
    PaginasBloqueadas propias_;  // a short text stands in the object itself

  public:
    std::string texto;

  private:
    std::optional<PaginasBloqueadas> aparte_;
};

}  // namespace Lx
