// The walls around a helper program, which reads what a stranger has written.
#pragma once

#include <optional>
#include <string>

namespace Lx::Ayudante {

struct Muros {
    bool seccomp = false;        // a list of the calls that it may make
    bool intermediario = false;  // files come from outside, read-only, out of a few folders
    int landlock = 0;            // version of the kernel's interface, 0 without
};

// Documents are opened only inside these: the filter of calls, and one wall at least around the files.
[[nodiscard]] constexpr bool Bastan(const Muros& muros) {
    return muros.seccomp && (muros.intermediario || muros.landlock > 0);
}

// Those that stand on this system, found by starting a helper without a document. Nothing when there is no such program
// or it doesn't greet; takes 5 s then, else milliseconds.
[[nodiscard]] std::optional<Muros> MurosEnVigor();

// One sentence for the person: which walls stand, or that no page is drawn and why.
[[nodiscard]] std::string ExplicarMuros(const std::optional<Muros>& muros);
// Why no page is drawn inside walls that don't suffice.
[[nodiscard]] std::string ExplicarFalta(const Muros& muros);

}  // namespace Lx::Ayudante
