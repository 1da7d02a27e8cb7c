#include "certstore/LxTarjeta.h"
#include "cli/Eleccion.h"
#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Texto.h"
#include "crypto/LxApi.h"

namespace Cli {

namespace {

using Lx::CertStore::DiagnosticoTarjeta;
using Lx::X509::Certificado;
using CertTarjeta = decltype(DiagnosticoTarjeta::certificados)::value_type;
using Paso = decltype(DiagnosticoTarjeta::pasos)::value_type;

constexpr int kSinPerfil = 3;

// The name of the holder of a national card contains the document's number, so all that names the holder is a detail.

[[nodiscard]] std::string Pem(const Certificado& cert) {
    constexpr size_t kLinea = 64;  // RFC 7468, 2
    const std::string base64 = Lx::Api::Base64Encode(cert.der.data(), cert.der.size());
    std::string pem = "-----BEGIN CERTIFICATE-----\n";
    for (size_t i = 0; i < base64.size(); i += kLinea) pem += base64.substr(i, kLinea) + "\n";
    return pem + "-----END CERTIFICATE-----\n";
}

// --- For programs

[[nodiscard]] std::string JsonDePaso(const Paso& p) {
    Json::Objeto o;
    o.PonerTexto("nombre", p.nombre).PonerLogico("probado", p.probado).PonerLogico("ok", p.ok);
    return o.PonerTexto("texto", p.texto).PonerTexto("consejo", p.consejo).Cerrar();
}

[[nodiscard]] std::string JsonDeCertificado(const CertTarjeta& c, bool detalle) {
    Json::Objeto o;
    o.PonerTexto("uso", c.etiqueta).Poner("hasta", std::string_view(std::to_string(c.cert.notAfter)));
    o.PonerLogico("caducado", c.Caducado()).PonerLogico("ca", c.cert.isCA);
    if (!detalle) return o.Cerrar();
    o.PonerTexto("titular", c.cert.subjectDN).PonerTexto("emisor", c.cert.issuerDN);
    return o.PonerTexto("serie", c.cert.serial).PonerTexto("pem", Pem(c.cert)).Cerrar();
}

[[nodiscard]] std::string NumeroONulo(int numero, bool hay) {
    return hay ? std::to_string(numero) : "null";
}

[[nodiscard]] std::string JsonDe(const DiagnosticoTarjeta& d, const std::string& error, bool detalle) {
    std::vector<std::string> pasos, lectores, certificados;
    for (const Paso& p : d.pasos) pasos.push_back(JsonDePaso(p));
    for (const std::string& l : d.lectores) lectores.push_back(Json::Texto(l));
    for (const CertTarjeta& c : d.certificados) certificados.push_back(JsonDeCertificado(c, detalle));
    Json::Objeto o;
    o.PonerNumero("version", 1).PonerTexto("error", error).PonerLogico("puedeFirmar", d.puedeFirmar);
    o.Poner("lectores", std::string_view(Json::Lista(lectores))).PonerTexto("lector", d.lector);
    o.PonerLogico("sinContacto", d.sinContacto).PonerTexto("atr", d.atr);
    o.Poner("perfil", std::string_view(NumeroONulo(d.perfil, d.perfil != kSinPerfil))).PonerTexto("modelo", d.modelo);
    o.Poner("intentosPin", std::string_view(NumeroONulo(d.intentosPin, d.intentosPin >= 0)));
    o.Poner("pasos", std::string_view(Json::Lista(pasos)));
    o.Poner("certificados", std::string_view(Json::Lista(certificados))).PonerTexto("informe", d.informe);
    return o.Cerrar() + "\n";
}

// --- For people

[[nodiscard]] std::string TextoDePaso(const Paso& p) {
    constexpr size_t kColumna = 14;
    const char* estado = !p.probado ? "  -     " : p.ok ? "  bien  " : "  FALLA ";
    std::string texto = Rellenar(p.nombre, kColumna) + estado + Visible(p.texto) + "\n";
    if (!p.consejo.empty()) texto += "    Qué hacer: " + Visible(p.consejo) + "\n";
    return texto;
}

[[nodiscard]] std::string TextoDeDetalle(const DiagnosticoTarjeta& d) {
    std::string texto = "\nLectores:\n";
    for (const std::string& l : d.lectores) texto += "  " + Visible(l) + "\n";
    if (!d.informe.empty()) texto += "\nPasos de una firma:\n" + d.informe;
    for (const CertTarjeta& c : d.certificados) {
        texto += "\n" + c.etiqueta + "\n  titular: " + Visible(c.cert.subjectDN);
        texto += "\n  emisor:  " + Visible(c.cert.issuerDN) + "\n  serie:   " + c.cert.serial;
        texto += "\n  válido:  " + Dia(c.cert.notBefore) + " a " + Dia(c.cert.notAfter) + "\n" + Pem(c.cert);
    }
    return texto;
}

[[nodiscard]] std::string TextoDe(const DiagnosticoTarjeta& d, bool detalle) {
    std::string texto;
    for (const Paso& p : d.pasos) texto += TextoDePaso(p);
    if (d.intentosPin == 1)
        texto += "Aviso: al PIN le queda un solo intento; si el siguiente no es correcto, queda bloqueado.\n";
    texto += d.puedeFirmar ? "Se puede firmar con esta tarjeta.\n" : "No se puede firmar con la tarjeta.\n";
    return detalle ? texto + TextoDeDetalle(d) : texto;
}

}  // namespace

std::string JsonDeFalloDiagnosticar(const Argumentos&, const std::string& error) {
    return JsonDe({}, error, false);
}

int OrdenDiagnosticar(const Argumentos& a) {
    const DiagnosticoTarjeta d = Lx::CertStore::DiagnosticarTarjeta(a.lector.value_or(""));
    if (!EscribirSalida(a.json ? JsonDe(d, "", a.detalle) : TextoDe(d, a.detalle))) return kAlgoFallo;
    return d.puedeFirmar ? kBien : kAlgoFallo;
}

}  // namespace Cli
