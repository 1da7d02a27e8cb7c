#include "firma/LxDiagnosticar.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "ayudante/LxMuros.h"
#include "card/LxTarjeta.h"
#include "crypto/LxApi.h"
#include "crypto/LxMemoria.h"
#include "crypto/LxSecreto.h"
#include "firma/LxAptitud.h"

namespace Lx::Firma {

namespace {

using Dnie::CertificadoDnie;
using Dnie::Paso;

// The name of the holder of a national card contains the document's number, so nothing that names the holder is said.
[[nodiscard]] Aptitud AptitudDe(const CertificadoDnie& c) {
    CertStore::Entrada e;
    e.origen = CertStore::Origen::Dnie;
    e.cert = c.cert;
    e.cert.subjectCN = "la tarjeta";
    e.conClave = true;
    e.deFirma = c.deFirma;
    return Juzgar(e, std::time(nullptr));
}

// The best that the card has is what a signature would take.
[[nodiscard]] Aviso JuicioDe(const std::vector<CertificadoDnie>& certificados) {
    const auto firma = std::find_if(certificados.begin(), certificados.end(), [](const auto& c) { return c.deFirma; });
    if (firma == certificados.end())
        return {Motivo::FirmaNoLeida, "no se pudo leer el certificado de firma de la tarjeta."};
    CertStore::Entrada e;
    e.cert = firma->cert;
    e.cert.subjectCN = "firma de la tarjeta";
    return Explicar(e, AptitudDe(*firma));
}

void Suspender(Dnie::Diagnostico& d, const char* nombre, const Aviso& fallo) {
    for (Paso& p : d.pasos) {
        if (std::string_view(p.nombre) != nombre || !p.ok) continue;
        p.ok = false;
        p.texto = fallo.frase;
        p.motivo = fallo.motivo;
        p.consejo = ConsejoDe(fallo.motivo);
    }
    d.puedeFirmar = false;
}

[[nodiscard]] std::string ExplicarMemoria() {
    return MemoriaBloqueable() ? "Claves y contraseñas: solo en memoria que no llega al disco."
                               : "Claves y contraseñas: solo en memoria, que el sistema no deja bloquear (ulimit -l): "
                                 "podría llegar a la memoria de intercambio.";
}

[[nodiscard]] std::string Rellenar(std::string texto, size_t ancho) {
    texto.resize(std::max(texto.size(), ancho), ' ');
    return texto;
}

[[nodiscard]] std::string TextoDePaso(const Paso& p) {
    constexpr size_t kColumna = 14;
    const char* estado = !p.probado ? "  -     " : p.ok ? "  bien  " : "  FALLA ";
    std::string texto = Rellenar(p.nombre, kColumna) + estado + p.texto + "\n";
    if (!p.consejo.empty()) texto += "    Qué hacer: " + p.consejo + "\n";
    return texto;
}

[[nodiscard]] std::string TextoDeDetalle(const Dnie::Diagnostico& d) {
    std::string texto = "\nLectores:\n";
    for (const std::string& l : d.lectores) texto += "  " + l + "\n";
    if (!d.informe.empty()) texto += "\nPasos de una firma:\n" + d.informe;
    for (const CertificadoDnie& c : d.certificados) {
        texto += "\n" + c.etiqueta + "\n  titular: " + c.cert.subjectDN + "\n  emisor:  " + c.cert.issuerDN;
        texto += "\n  serie:   " + c.cert.serial;
        texto += "\n  válido:  " + Dia(c.cert.notBefore) + " a " + Dia(c.cert.notAfter) + "\n" + Pem(c.cert);
    }
    return texto;
}

}  // namespace

void Diagnosticar::Hacer() {
    const NoVolcable cerrado;
    Dnie::Diagnostico& d = respuesta_.tarjeta;
    d = Dnie::Diagnosticar(lector_, control);
    if (!d.certificados.empty())
        if (const Aviso fallo = JuicioDe(d.certificados)) Suspender(d, "certificados", fallo);
    respuesta_.protecciones.push_back(Ayudante::ExplicarMuros(Ayudante::MurosEnVigor()));
    respuesta_.protecciones.push_back(ExplicarMemoria());
    for (const Paso& p : d.pasos)
        if (p.probado && !p.ok && respuesta_.motivo == Motivo::Ninguno) respuesta_.motivo = p.motivo;
}

std::string Pem(const X509::Certificado& cert) {
    constexpr size_t kLinea = 64;
    const std::string base64 = Api::Base64Encode(cert.der.data(), cert.der.size());
    std::string pem = "-----BEGIN CERTIFICATE-----\n";
    for (size_t i = 0; i < base64.size(); i += kLinea) pem += base64.substr(i, kLinea) + "\n";
    return pem + "-----END CERTIFICATE-----\n";
}

std::string AvisoDeIntentos(const Diagnostico& diagnostico) {
    if (diagnostico.tarjeta.intentosPin != 1) return {};
    return "Aviso: al PIN le queda un solo intento; si el siguiente no es correcto, queda bloqueado.";
}

std::string Informe(const Diagnostico& diagnostico, bool detalle) {
    const Dnie::Diagnostico& d = diagnostico.tarjeta;
    std::string texto;
    for (const Paso& p : d.pasos) texto += TextoDePaso(p);
    if (const std::string aviso = AvisoDeIntentos(diagnostico); !aviso.empty()) texto += aviso + "\n";
    texto += d.puedeFirmar ? "Se puede firmar con esta tarjeta.\n" : "No se puede firmar con la tarjeta.\n";
    for (const std::string& linea : diagnostico.protecciones) texto += linea + "\n";
    return detalle ? texto + TextoDeDetalle(d) : texto;
}

}  // namespace Lx::Firma
