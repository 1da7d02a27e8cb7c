// From the options to a certificate: passwords are asked for, the sources listed, one entry chosen.
#pragma once

#include <string>
#include <string_view>

#include "certstore/LxCertStore.h"
#include "cli/Argumentos.h"
#include "cli/Eleccion.h"

namespace Cli {

// The sources' secrets, wiped at the end.
struct Fuentes {
    Fuentes() = default;
    ~Fuentes();
    Fuentes(const Fuentes&) = delete;
    Fuentes& operator=(const Fuentes&) = delete;

    Lx::CertStore::Contexto ctx;
    Lista lista;
    std::string resumen;  // what each source gave
};

// Lists with the PKCS#12 file `ruta` (empty: without one). A wrong password is asked for again, up to three times,
// where a person answers. False, with a sentence, when the file, or the card of a reader that was named, could not be
// read; the other sources are listed then.
[[nodiscard]] bool Listar(const std::string& ruta, const Argumentos& a, Fuentes& fuentes, std::string& error);

// Lists, chooses and, for a card, gets its PIN. On false the user has been told everything but `error`.
[[nodiscard]] bool AbrirIdentidad(const Argumentos& a, Fuentes& fuentes, Lx::CertStore::Entrada& elegida,
                                  std::string& error);

}  // namespace Cli
