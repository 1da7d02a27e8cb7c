// Which certificate signs, and how the choices look.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"

namespace Cli {

using Lista = std::vector<Lx::CertStore::Entrada>;

// Why the certificate is not one that signs by itself, in a few words each; empty when it is.
[[nodiscard]] std::vector<std::string> Impedimentos(const Lx::CertStore::Entrada& entrada, int64_t ahora);

// Name of the holder for people.
[[nodiscard]] std::string NombreDe(const Lx::X509::Certificado& cert);

// Day of an instant in local time, dd/mm/aaaa.
[[nodiscard]] std::string Dia(int64_t instante);

// Index of the certificate that `cual` means: a number of the list (from 1), a serial number, a part of the name. Of
// several that bear the name the only usable one counts. One that is expired or a CA can be chosen by name, `aviso`
// says so; one without a key can't. Without `cual`, the only usable one of the source `pedido`, which the user named;
// of the whole list when there was none, or all of its certificates were listed for another source. Several of one card
// count as the one for signing. On failure −1 and a sentence in `error`.
[[nodiscard]] int Elegir(const Lista& lista, const std::optional<std::string>& cual,
                         std::optional<Lx::CertStore::Origen> pedido, int64_t ahora, std::string& aviso,
                         std::string& error);

// The list with aligned columns, a line each. Cut to `ancho` columns unless that is 0.
[[nodiscard]] std::string Tabla(const Lista& lista, int64_t ahora, size_t ancho);

}  // namespace Cli
