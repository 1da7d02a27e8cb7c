// Writes an incremental update (ISO 32000-1, 7.5.6): edits of dictionaries as text, objects with the offsets they get,
// the signature dictionary with its hole, the cross-reference section.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxBarrido.h"
#include "signer/LxPdfSigner.h"
#include "signer/PdfCms.h"
#include "signer/PdfSello.h"

namespace LxPdfSigner::Interno {

// Reference to an object with generation 0.
[[nodiscard]] std::string Ref(long num);

// Replaces the value of `clave` and keeps all else; a missing key goes to the end.
[[nodiscard]] std::string PonerValor(std::string_view dict, std::string_view clave, std::string_view valor);

// `dict` with "num 0 R" added to the array under `clave`: direct, by reference, null or absent. A value that can't be
// read as an array is a failure, since writing a new one would lose what it holds.
[[nodiscard]] bool MeterRef(std::string_view datos, const LxPdf::Mapa& mapa, std::string_view dict,
                            std::string_view clave, long num, std::string& nuevo, std::string& error);

// Complete dictionary text for an inner one.
[[nodiscard]] std::string Envolver(std::string_view dict);

// Body of the stamp's form XObject (ISO 32000-1, 8.10) with the font object that it shows its text in.
[[nodiscard]] std::string CuerpoSello(const Sello& sello, long fuente);

// Where the signature goes, in positions of the text that it was written to.
struct Hueco {
    size_t byteRange = 0;  // first byte of the /ByteRange placeholder, 43 bytes
    size_t abre = 0;       // the "<" of /Contents
    size_t reserva = 0;    // bytes of CMS that fit: the hole is 2 * reserva + 2 bytes with its "<" and ">"

    [[nodiscard]] size_t Tras() const { return abre + 2 * reserva + 2; }
};

// Appends the signature dictionary as object `num` (ISO 32000-1, 12.8.1) with an empty hole.
[[nodiscard]] Hueco EscribirFirma(std::string& salida, long num, const Metadatos& meta, const std::string& utc,
                                  size_t reserva);

// The text of /ByteRange for a file of `total` bytes whose hole is at [abre, tras): 43 bytes.
[[nodiscard]] std::string TextoByteRange(size_t abre, size_t tras, size_t total);

// Signer's part of a signature: what identifies the key, and how much room the CMS takes.
struct Reserva {
    Sid sid;
    size_t bytes = 0;
};

// True when there is a certificate and a callback to sign with: only then a signature is attempted.
[[nodiscard]] bool PuedeFirmar(const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar);

// Sizes the hole by a trial container of the final length. False with one sentence in `error`.
[[nodiscard]] bool Reservar(const Lx::X509::Certificado& cert, size_t pedida, Reserva& reserva, std::string& error);

// Signs the digest of the covered bytes and writes the container into the hole of `texto`. False, with one sentence in
// `error`, when the callback gives nothing or the container doesn't fit; `nota` is what the callback said on success.
[[nodiscard]] bool FirmarHueco(std::string& texto, const Hueco& hueco, const std::vector<unsigned char>& digest,
                               const Lx::X509::Certificado& cert, const Sid& sid, const Callback& firmar,
                               std::string& nota, std::string& error);

class Actualizacion {
  public:
    // `base` is the size of the file that the update is appended to.
    explicit Actualizacion(size_t base) : base_(base) {}

    void Texto(std::string_view texto) { texto_ += texto; }
    // A whole object; its offset is noted.
    void Objeto(long num, std::string_view cuerpo);
    [[nodiscard]] Hueco Firma(long num, const Metadatos& meta, const std::string& utc, size_t reserva);
    // Cross-reference section in one-entry subsections, trailer and startxref. `entradas` is what the trailer says
    // between /Root and /Prev.
    void Xref(long size, long raiz, std::string_view entradas, size_t previo, const std::string& id0,
              const std::string& id1);

    // An object of this number was written: a second one would undo it.
    [[nodiscard]] bool Tiene(long num) const { return offsets_.contains(num); }
    [[nodiscard]] const std::string& Bytes() const { return texto_; }
    [[nodiscard]] std::string& Bytes() { return texto_; }
    [[nodiscard]] size_t Total() const { return base_ + texto_.size(); }

  private:
    size_t base_;
    std::string texto_;
    std::map<long, size_t> offsets_;
};

}  // namespace LxPdfSigner::Interno
