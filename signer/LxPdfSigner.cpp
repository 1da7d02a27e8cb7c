#include "signer/LxPdfSigner.h"

#include "cms/LxCms.h"
#include "crypto/LxApi.h"
#include "signer/Motor.h"

namespace LxPdfSigner {

namespace {

std::string Ahora() {
    return LxCms::Utc("%y%m%d%H%M%SZ");
}

}  // namespace

Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                 size_t reserva, const Callback& firmar, const Metadatos& meta, const Opciones& opciones) {
    return Interno::FirmarEn(Ahora(), entrada, salida, cert, reserva, firmar, meta, opciones);
}

Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                 const Callback& firmar, const Metadatos& meta, const Opciones& opciones) {
    return Firmar(entrada, salida, cert, kReservaPorDefecto, firmar, meta, opciones);
}

Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                 const Callback& firmar, const Metadatos& meta, const Opciones& opciones, size_t reserva) {
    return Firmar(entrada, salida, cert, reserva, firmar, meta, opciones);
}

Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                 size_t reserva, const Callback& firmar, const Metadatos& meta) {
    return Firmar(entrada, salida, cert, reserva, firmar, meta, Opciones{});
}

Resultado Firmar(const std::string& entrada, const std::string& salida, const Lx::X509::Certificado& cert,
                 const Callback& firmar, const Metadatos& meta) {
    return Firmar(entrada, salida, cert, kReservaPorDefecto, firmar, meta, Opciones{});
}

Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert, size_t reserva,
                const Callback& firmar, const Metadatos& meta) {
    return Interno::CrearEn(Ahora(), salida, texto, cert, reserva, firmar, meta);
}

Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert,
                const Callback& firmar, const Metadatos& meta, size_t reserva) {
    return Crear(salida, texto, cert, reserva, firmar, meta);
}

Resultado Crear(const std::string& salida, const std::string& texto, const Lx::X509::Certificado& cert,
                const Callback& firmar, const Metadatos& meta, const Opciones& opciones) {
    return Interno::CrearEnteroEn(Ahora(), salida, texto, cert, firmar, meta, opciones);
}

std::string RutaSalida(const std::string& ruta) {
    constexpr int kUltimo = 999;
    const size_t separador = ruta.find_last_of("/\\");
    const size_t punto = ruta.rfind('.');
    const bool conExtension = punto != std::string::npos && (separador == std::string::npos || punto > separador);
    std::string base = conExtension ? ruta.substr(0, punto) : ruta;
    if (base.empty()) base = "documento";
    std::string candidata = base + "_firmao.pdf";
    for (int n = 2; n <= kUltimo && Lx::Api::FileExists(candidata); ++n) {
        candidata = base + "_firmao" + std::to_string(n) + ".pdf";
    }
    return candidata;
}

}  // namespace LxPdfSigner
