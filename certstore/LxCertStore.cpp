#include "certstore/LxCertStore.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "card/LxTarjeta.h"
#include "certstore/Pkcs12.h"
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

[[nodiscard]] FirmaHecha Fallo(Motivo motivo, std::string frase) {
    FirmaHecha hecha;
    hecha.fallo = {motivo, std::move(frase)};
    return hecha;
}

FirmaHecha FirmarConAlmacen(const Entrada& e, const Contexto&, const Bytes& datos, const PreguntaClave& pregunta,
                            Control& control) {
    FirmaSistema f = FirmarEnSistema(e.cert, datos, pregunta, control);
    return {std::move(f.firma), "", std::move(f.fallo), -1};
}

FirmaHecha FirmarConFichero(const Entrada& e, const Contexto& ctx, const Bytes& datos, const PreguntaClave&,
                            Control& control) {
    return FirmarPkcs12(ctx, e.cert, datos, control);
}

FirmaHecha FirmarConDnie(const Entrada& e, const Contexto& ctx, const Bytes& datos, const PreguntaClave& pregunta,
                         Control& control) {
    if (ctx.pin.empty()) return Fallo(Motivo::PinAusente, "Se necesita el PIN de firma del DNIe.");
    Dnie::Firmado f = Dnie::FirmarConTarjeta(e.lector, e.cert, datos, ctx.pin, pregunta, control);
    return {std::move(f.firma), std::move(f.nota), std::move(f.fallo), f.intentos};
}

constexpr struct {
    Origen origen;
    FirmaHecha (*firmar)(const Entrada&, const Contexto&, const Bytes&, const PreguntaClave&, Control&);
    Motivo motivo;          // when the source gives no reason of its own
    const char* sinMotivo;  // and no sentence
} kFirmantes[] = {
    {Origen::Personal, FirmarConAlmacen, Motivo::AlmacenNoFirma, "El almacén del sistema no pudo firmar."},
    {Origen::Sistema, FirmarConAlmacen, Motivo::AlmacenNoFirma, "El almacén del sistema no pudo firmar."},
    {Origen::Pkcs12, FirmarConFichero, Motivo::ClaveNoFirma, "El PKCS#12 no pudo firmar."},
    {Origen::Dnie, FirmarConDnie, Motivo::ClaveNoFirma, "El DNIe no firmo."},
};

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

FirmaHecha FirmarCon(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
                     const PreguntaClave& pregunta, Control& control) {
    if (datos.empty()) return Fallo(Motivo::ClaveNoFirma, "No hay datos que firmar.");
    if (!entrada.cert.valid || entrada.cert.der.empty())
        return Fallo(Motivo::CertificadoInutil, "El certificado elegido no es valido.");
    const auto* fila = std::find_if(std::begin(kFirmantes), std::end(kFirmantes),
                                    [&entrada](const auto& f) { return f.origen == entrada.origen; });
    if (fila == std::end(kFirmantes)) return Fallo(Motivo::CertificadoInutil, "Origen de certificado desconocido.");
    FirmaHecha hecha = fila->firmar(entrada, ctx, datos, pregunta, control);
    if (!hecha.firma.empty() && !EsDelCertificado(entrada.cert, datos, hecha.firma)) {
        hecha = {};
        hecha.fallo.motivo = Motivo::ClaveAjena;
    }
    if (!hecha.firma.empty()) {
        hecha.fallo = {};
        return hecha;
    }
    hecha.nota.clear();
    if (!hecha.fallo) hecha.fallo.motivo = fila->motivo;
    std::string& frase = hecha.fallo.frase;
    if (frase.empty() && hecha.fallo.motivo == Motivo::ClaveAjena)
        frase = "La clave que firmo no corresponde al certificado elegido (" + NombreDe(entrada.cert) + ").";
    if (frase.empty()) frase = fila->sinMotivo;
    return hecha;
}

bool Firmar(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
            std::vector<unsigned char>& firma, std::string& mensaje) {
    Control control;
    FirmaHecha hecha = FirmarCon(entrada, ctx, datos, {}, control);
    firma = std::move(hecha.firma);
    mensaje = std::move(hecha.fallo.frase);
    return !firma.empty();
}

}  // namespace Lx::CertStore
