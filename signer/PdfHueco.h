// The signature dictionary (ISO 32000-1, 12.8.1) and the hole in it: how large it must be, what is signed around it,
// and what goes into it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cms/LxCms.h"
#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

// Where the signature goes, in positions of the text that it was written to.
struct Hueco {
    size_t byteRange = 0;  // first byte of the /ByteRange placeholder, 43 bytes
    size_t abre = 0;       // the "<" of /Contents
    size_t reserva = 0;    // bytes of CMS that fit: the hole is 2 * reserva + 2 bytes with its "<" and ">"

    [[nodiscard]] size_t Tras() const { return abre + 2 * reserva + 2; }
};

// Appends the signature dictionary as object `num` (ISO 32000-1, 12.8.1) with an empty hole.
[[nodiscard]] Hueco EscribirFirma(std::string& salida, uint32_t num, const Metadatos& meta, const std::string& utc,
                                  size_t reserva);

// The text of /ByteRange for a file of `total` bytes whose hole is at [abre, tras): 43 bytes.
[[nodiscard]] std::string TextoByteRange(size_t abre, size_t tras, size_t total);

// Signer's part of a signature: what identifies the key, and how much room the CMS takes.
struct Reserva {
    LxCms::Sid sid;
    size_t bytes = 0;
};

// True when there is a certificate and a callback to sign with: only then a signature is attempted.
[[nodiscard]] bool PuedeFirmar(const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar);

// Sizes the hole by a trial container of the final length. False with one sentence in `error`.
[[nodiscard]] bool Reservar(const Lx::X509::Certificado& cert, size_t pedida, Reserva& reserva, Lx::Motivo& motivo,
                            std::string& error);

// Signs the digest of the covered bytes and writes the container into the hole of `texto`. False, with one sentence in
// `error`, when the callback gives nothing or the container doesn't fit; `nota` is what the callback said on success.
[[nodiscard]] bool FirmarHueco(std::string& texto, const Hueco& hueco, const std::vector<unsigned char>& digest,
                               const Lx::X509::Certificado& cert, const LxCms::Sid& sid, const Callback& firmar,
                               std::string& nota, Lx::Motivo& motivo, std::string& error);

}  // namespace LxPdfSigner::Interno
