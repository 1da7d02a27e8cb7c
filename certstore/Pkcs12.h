// The PKCS#12 source (RFC 7292), through the openssl program. Passwords and keys go to it and come from it in memory;
// only the functions for callers that want files touch the file system.
#pragma once

#include <string>
#include <vector>

#include "certstore/LxCertStore.h"

namespace Lx::CertStore {

// Appends one entry per certificate of the user's PKCS#12 file. The file's keys are looked at and forgotten.
[[nodiscard]] FuenteListada ListarPkcs12(const Contexto& ctx, std::vector<Entrada>& lista, Lx::Control& control);

// Signature with SHA-256 of `datos` by the key of the user's PKCS#12 file that belongs to the certificate. Where the
// file has only other ones the reason is Motivo::ClaveAjena, without a sentence.
[[nodiscard]] FirmaHecha FirmarPkcs12(const Contexto& ctx, const X509::Certificado& cert,
                                      const std::vector<unsigned char>& datos, Lx::Control& control);

// --- For callers that want files

struct PfxClaves {
    std::string rutaClave;  // PEM file with the unencrypted private keys, mode 0600; the caller removes it
    std::string error;      // one sentence when `ok` is false
    bool ok = false;
};

// A name that this process has not used yet, in $TEMP, $TMP, $TMPDIR or /tmp, the first that is set and not empty. It
// makes no file: the name can be foreseen by others, so whoever opens it must insist on a new file.
[[nodiscard]] std::string RutaTemporal(const std::string& sufijo);

// The path as one word of the shell.
[[nodiscard]] std::string Ruta2Cmd(const std::string& ruta);

// Writes the file's private keys to a new temporary file. A file that opens but holds no key gives an empty one.
[[nodiscard]] bool ExtraerClavePfx(const std::string& rutaPfx, const std::string& clave, PfxClaves& salida);

}  // namespace Lx::CertStore
