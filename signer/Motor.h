// The signing of an existing document with the clock as a parameter.
#pragma once

#include <string>

#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

// As LxPdfSigner::Firmar, at the time `utc` ("%y%m%d%H%M%SZ").
[[nodiscard]] Resultado FirmarEn(const std::string& utc, const std::string& entrada, const std::string& salida,
                                 const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar,
                                 const Metadatos& meta, const Opciones& opciones);

// As LxPdfSigner::Crear, at the time `utc`.
[[nodiscard]] Resultado CrearEn(const std::string& utc, const std::string& salida, const std::string& texto,
                                const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar,
                                const Metadatos& meta);

// As LxPdfSigner::Crear with `opciones`, at the time `utc`.
[[nodiscard]] Resultado CrearEnteroEn(const std::string& utc, const std::string& salida, const std::string& texto,
                                      const Lx::X509::Certificado& cert, const Callback& firmar, const Metadatos& meta,
                                      const Opciones& opciones);

// The texts that stand for what the caller left empty.
[[nodiscard]] Metadatos ConValoresPorDefecto(Metadatos meta, const Lx::X509::Certificado& cert);

}  // namespace LxPdfSigner::Interno
