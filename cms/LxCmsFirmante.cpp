#include "cms/LxCmsFirmante.h"

#include <string>

#include "crypto/LxDer.h"

namespace LxCms {

namespace {

using Lx::Der::Lector;
using Lx::Der::Tlv;

constexpr uint8_t kEntero = 0x02;
constexpr uint8_t kSecuencia = 0x30;
constexpr uint8_t kConjunto = 0x31;
constexpr uint8_t kCero = 0xA0;       // [0] of something built
constexpr uint8_t kIdDeClave = 0x80;  // [0] of a plain string
constexpr uint8_t kListasDeRevocacion = 0xA1;
constexpr std::string_view kOidIdDeClave("\x06\x03\x55\x1D\x0E", 5);  // 2.5.29.14

// What the SignedData holds for us.
struct Partes {
    Lector certificados;
    Tlv quien;  // SignerIdentifier of the first signer
    Lector infos;
};

bool Abrir(std::string_view cms, Partes& p) {
    Lector todo{reinterpret_cast<const unsigned char*>(cms.data()), cms.size(), 0};
    Lector contenido;
    Lector explicito;
    Lector datos;
    Lector info;
    Tlv tlv;
    // SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo, [0] certificates, [1] crls, signerInfos }
    if (!todo.Entrar(kSecuencia, contenido) || !contenido.Saltar(1) || !contenido.Entrar(kCero, explicito) ||
        !explicito.Entrar(kSecuencia, datos) || !datos.Saltar(3) || !datos.Leer(kCero, tlv)) {
        return false;
    }
    p.certificados = datos.Dentro(tlv);
    do {
        if (!datos.Leer(tlv)) return false;
    } while (tlv.tag == kListasDeRevocacion);
    if (tlv.tag != kConjunto) return false;
    p.infos = datos.Dentro(tlv);
    // SignerInfo ::= SEQUENCE { version, sid, … }
    return p.infos.Entrar(kSecuencia, info) && info.Saltar(1) && info.Leer(p.quien);
}

// The certificate is the one of that issuer and serial number, or has that subject key identifier.
bool EsDe(const Lector& certificados, const Tlv& cert, const Lector& infos, const Tlv& quien) {
    if (quien.tag == kIdDeClave) {
        const std::string id(reinterpret_cast<const char*>(infos.buf) + quien.contenido, quien.longitud);
        const std::string octetos = Lx::Der::Octetos(id);
        return certificados.Elemento(cert).find(std::string(kOidIdDeClave) + Lx::Der::Octetos(octetos)) !=
               std::string::npos;
    }
    Lector dentro = certificados.Dentro(cert);
    Lector tbs;
    Tlv serie;
    Tlv emisor;
    // TBSCertificate ::= SEQUENCE { [0] version, serialNumber, signature, issuer, … }
    if (!dentro.Entrar(kSecuencia, tbs) || !tbs.Leer(serie)) return false;
    if (serie.tag == kCero && !tbs.Leer(serie)) return false;
    if (serie.tag != kEntero || !tbs.Saltar(1) || !tbs.Leer(kSecuencia, emisor)) return false;
    return infos.Elemento(quien) == Lx::Der::Secuencia(tbs.Elemento(emisor) + tbs.Elemento(serie));
}

}  // namespace

std::vector<unsigned char> CertificadoDelFirmante(std::string_view cms) {
    Partes p;
    if (!Abrir(cms, p)) return {};
    Lector resto = p.certificados;
    for (Tlv cert; resto.Leer(cert);) {
        if (cert.tag != kSecuencia || !EsDe(p.certificados, cert, p.infos, p.quien)) continue;
        const std::string der = p.certificados.Elemento(cert);
        return {der.begin(), der.end()};
    }
    return {};
}

}  // namespace LxCms
