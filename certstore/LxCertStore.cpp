#include "certstore/LxCertStore.h"

#include <utility>

#include "certstore/Pkcs12.h"
#include "certstore/Tarjeta.h"
#include "certstore/sistema/LxPlataforma.h"
#include "crypto/LxApi.h"

namespace Lx::CertStore {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr struct {
    Origen origen;
    const char* nombre;
} kNombres[] = {
    {Origen::Dnie, "DNIe"},
    {Origen::Personal, "Windows (Personal)"},
    {Origen::Sistema, Plataforma::kTextos.nombreAlmacen},
    {Origen::Pkcs12, "PKCS#12"},
};

Bytes FirmarConAlmacen(const Entrada& e, const Contexto& ctx, const Bytes& datos, std::string& error) {
    return FirmarSistema(e.cert, datos, ctx.pin, ctx.opcion != 0, error);
}

Bytes FirmarConFichero(const Entrada&, const Contexto& ctx, const Bytes& datos, std::string& error) {
    return FirmarPkcs12(ctx, datos, error);
}

Bytes FirmarConTarjeta(const Entrada& e, const Contexto& ctx, const Bytes& datos, std::string& error) {
    if (!ctx.pin.empty()) return Tarjeta::Firmar(e.lector, e.cert, datos, ctx.pin, error);
    error = "Se necesita el PIN de firma del DNIe.";
    return {};
}

constexpr struct {
    Origen origen;
    Bytes (*firmar)(const Entrada&, const Contexto&, const Bytes&, std::string&);
    const char* sinMotivo;  // when the source gives no sentence of its own
} kFirmantes[] = {
    {Origen::Personal, FirmarConAlmacen, "El almacén del sistema no pudo firmar."},
    {Origen::Sistema, FirmarConAlmacen, "El almacén del sistema no pudo firmar."},
    {Origen::Pkcs12, FirmarConFichero, "El PKCS#12 no pudo firmar."},
    {Origen::Dnie, FirmarConTarjeta, "El DNIe no firmo."},
};

bool Fallo(Bytes& firma, std::string& mensaje, std::string frase) {
    firma.clear();
    mensaje = std::move(frase);
    return false;
}

// A key that is not RSA can't be checked here and passes.
[[nodiscard]] bool EsDelCertificado(const X509::Certificado& cert, const Bytes& datos, const Bytes& firma) {
    Bytes modulo, exponente;
    return !X509::ClaveRsa(cert, modulo, exponente) ||
           Api::RsaFirmaValida(modulo, exponente, firma, datos.data(), datos.size());
}

[[nodiscard]] std::string NombreDe(const X509::Certificado& cert) {
    if (!cert.subjectCN.empty()) return cert.subjectCN;
    return cert.subjectDN.empty() ? "(sin nombre)" : cert.subjectDN;
}

}  // namespace

const char* NombreOrigen(Origen origen) {
    for (const auto& fila : kNombres)
        if (fila.origen == origen) return fila.nombre;
    return "?";
}

bool Firmar(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
            std::vector<unsigned char>& firma, std::string& mensaje) {
    firma.clear();
    mensaje.clear();
    if (datos.empty()) return Fallo(firma, mensaje, "No hay datos que firmar.");
    if (!entrada.cert.valid || entrada.cert.der.empty())
        return Fallo(firma, mensaje, "El certificado elegido no es valido.");
    for (const auto& fila : kFirmantes) {
        if (fila.origen != entrada.origen) continue;
        std::string error;
        firma = fila.firmar(entrada, ctx, datos, error);
        if (firma.empty()) return Fallo(firma, mensaje, error.empty() ? fila.sinMotivo : error);
        if (EsDelCertificado(entrada.cert, datos, firma)) return true;
        return Fallo(firma, mensaje,
                     "La clave que firmo no corresponde al certificado elegido (" + NombreDe(entrada.cert) + ").");
    }
    return Fallo(firma, mensaje, "Origen de certificado desconocido.");
}

}  // namespace Lx::CertStore
