// Signs PDF documents (ISO 32000-1, 12.8) with PAdES signatures (/SubFilter /ETSI.CAdES.detached), by RSA PKCS#1 v1.5
// with SHA-256. The private key never comes here: a callback turns the signed attributes into a signature.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"
#include "crypto/LxX509.h"

namespace LxPdfSigner {

struct Metadatos {
    std::string nombre;     // signer's name in /Name and the stamp; empty: the certificate's subject CN
    std::string ubicacion;  // /Location; empty: "Velmora"
    std::string razon;      // /Reason; empty: "Firma de documento"
};

// Where the visible stamp goes.
enum Sello : int32_t { kInvisible, kPrimera, kUltima, kTodas, kPaginas };

struct Opciones {
    int32_t modo = kPrimera;  // a Sello
    std::string stampList;    // pages of kPaginas, 1-based, e.g. "1, 3, 5-8"
    // The document is read by its cross-references (ISO 32000-1, 7.5), as viewers do. Otherwise by a scan of its text,
    // which sees no object streams and can be fooled: only for callers that need that reading's exact outcome.
    bool referencias = false;

    // What follows counts with `referencias` only, when the output comes into being whole or not at all, as private as
    // the input. What has its name is never opened, a symbolic link there neither followed nor replaced.
    bool reemplazar = false;  // an existing regular file may be replaced; the new one gets its permissions
    // Asked for another name in the same folder when the output's is taken, even at the last moment; empty: there is
    // none. Without it that is a failure.
    std::function<std::string(const std::string& ocupado)> otroNombre{};
    // Progress, and cancelling until the callback is called; from then on only the callback may heed it. Null: nobody
    // looks.
    Lx::Control* control = nullptr;
    // Pages that the person has seen; another number of them is Motivo::PaginasDistintas. Below 1: not known.
    int32_t paginasVistas = 0;
};

// A visible stamp: points from the top left corner of its page as it is seen (ISO 32000-1, 14.11.2: the crop box).
struct Estampa {
    int32_t pagina = -1;  // from 0; -1: there is none
    double izquierda = 0, arriba = 0, derecha = 0, abajo = 0;
};

struct Resultado {
    bool escrito = false;  // the output file was written
    bool firmado = false;  // it carries the new signature and passed the self-check
    uint64_t bytes = 0;    // size of the written file
    std::string salida;    // the name that it has, once written
    std::string nota;      // what there is to know: earlier signatures, or what the callback said on success
    std::string error;     // why it failed, one sentence in Spanish
    std::string aviso;     // the sentences of `avisos`, joined by a blank
    Lx::Motivo motivo = Lx::Motivo::Ninguno;  // of `error`
    std::vector<Lx::Aviso> avisos;            // warnings that stopped nothing
    Estampa estampa;                          // the first that was placed
};

// Gets the DER of the signed attributes (RFC 5652, 5.4: the SET, tag 0x31) and returns their RSASSA-PKCS1-v1_5
// signature with SHA-256, as long as the certificate's modulus. An empty result is a failure whose reason is in the
// second argument; on success that argument may hold a note. Called once per signature, on the caller's thread.
using Callback = std::function<std::vector<unsigned char>(const std::vector<unsigned char>&, std::string&)>;

inline constexpr size_t kReservaPorDefecto = 8192;

// Writes to `salida` the bytes of `entrada` and one incremental update with the signature. `reserva` is the size asked
// for the CMS container in bytes; the hole is never under 16384. A failure before the file is written leaves no output;
// the input is never changed. Throws only when memory runs out.
[[nodiscard]] Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                               size_t reserva, const Callback& firmar, const Metadatos& meta, const Opciones& opciones);
[[nodiscard]] Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                               const Callback& firmar, const Metadatos& meta, const Opciones& opciones);
[[nodiscard]] Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                               const Callback& firmar, const Metadatos& meta, const Opciones& opciones, size_t reserva);
[[nodiscard]] Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                               size_t reserva, const Callback& firmar, const Metadatos& meta);
[[nodiscard]] Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                               const Callback& firmar, const Metadatos& meta);

// Writes a new one-page A4 document that shows `texto` and carries a visible signature. When signing is impossible or
// fails, the same document is written without one: `escrito` is then true, `firmado` false, `error` the reason.
[[nodiscard]] Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert,
                              size_t reserva, const Callback& firmar, const Metadatos& meta);
[[nodiscard]] Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert,
                              const Callback& firmar, const Metadatos& meta, size_t reserva);

// The same with `opciones.referencias`: the signed document whole under its name, or nothing.
[[nodiscard]] Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert,
                              const Callback& firmar, const Metadatos& meta, const Opciones& opciones);

// Where the signed copy of `ruta` goes: beside it, "_firmao.pdf" in place of the extension, with a number from 2 to 999
// while the name is taken. The last candidate is returned even if it exists.
[[nodiscard]] std::string RutaSalida(const std::string& ruta);

}  // namespace LxPdfSigner
