// The PKCS#12 source (RFC 7292), through the openssl program run by the shell. Secrets reach it in temporary files of
// mode 0600, never on a command line.
#pragma once

#include <string>
#include <vector>

#include "certstore/sistema/LxSistema.h"

namespace Lx::CertStore {

struct PfxClaves {
    std::string rutaClave;  // PEM file with the unencrypted private key; the caller removes it
    std::string error;      // one sentence when `ok` is false
    bool ok = false;
};

// The path as one word of the shell.
[[nodiscard]] std::string Ruta2Cmd(const std::string& ruta);

// Writes the file's private key to a new temporary file. A file that opens but holds no key gives an empty one.
[[nodiscard]] bool ExtraerClavePfx(const std::string& rutaPfx, const std::string& clave, PfxClaves& salida);

// Appends one entry per certificate of the user's PKCS#12 file and returns what the summary says of this source. The
// private key's temporary file is left behind, until the process ends: that the key can be had is all that is asked.
[[nodiscard]] std::string ListarPkcs12(const Contexto& ctx, std::vector<Entrada>& lista);

// Signature with SHA-256 of `datos` by the private key of the user's PKCS#12 file; empty, with one sentence in `error`,
// on failure. Whose key it is remains to be checked.
[[nodiscard]] std::vector<unsigned char> FirmarPkcs12(const Contexto& ctx, const std::vector<unsigned char>& datos,
                                                      std::string& error);

}  // namespace Lx::CertStore
