#include "crypto/LxX509.h"

#include <cstdio>
#include <ctime>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"
#include "crypto/X509Interno.h"

namespace Lx::X509 {
namespace {

using Der::Lector;
using Interno::CnDe;
using Interno::DnTexto;
using Interno::ParseNombre;
using Interno::TiempoAEpoch;

constexpr uint8_t kBooleano = 0x01;
constexpr uint8_t kEntero = 0x02;
constexpr uint8_t kCadenaBits = 0x03;
constexpr uint8_t kOctetos = 0x04;
constexpr uint8_t kOid = 0x06;
constexpr uint8_t kSecuencia = 0x30;
constexpr uint8_t kContexto0 = 0xA0;
constexpr uint8_t kContexto3 = 0xA3;

constexpr size_t kMinCertificado = 64;

constexpr unsigned char kOidBasic[] = {0x55, 0x1D, 0x13};     // 2.5.29.19
constexpr unsigned char kOidKeyUsage[] = {0x55, 0x1D, 0x0F};  // 2.5.29.15

bool EsOid(const unsigned char* buf, const Der::Tlv& tlv, const unsigned char (&oid)[3]) {
    const unsigned char* c = buf + tlv.contenido;
    return tlv.longitud == 3 && c[0] == oid[0] && c[1] == oid[1] && c[2] == oid[2];
}

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, ... }
void LeerBasicConstraints(Lector octetos, Certificado& out) {
    Lector secuencia;
    Der::Tlv ca;
    if (!octetos.Entrar(kSecuencia, secuencia) || !secuencia.Leer(kBooleano, ca) || ca.longitud == 0) return;
    out.isCA = ca.fin > ca.contenido && octetos.buf[ca.contenido] != 0;
}

// KeyUsage ::= BIT STRING
// Only unused counts 0 and 1 are understood, and each has its own bit; the cards' issuers write no other form for it.
void LeerKeyUsage(Lector octetos, Certificado& out) {
    out.conUso = true;
    Der::Tlv bits;
    if (!octetos.Leer(kCadenaBits, bits) || bits.longitud < 2) return;
    out.digitalSignature = (octetos.buf[bits.contenido + 1] & 0x80) != 0;
    out.contentCommitment = (octetos.buf[bits.contenido + 1] & 0x40) != 0;
    const unsigned sobrantes = octetos.buf[bits.contenido];
    if (sobrantes > 1) return;
    out.nonRepudiation = ((octetos.buf[bits.contenido + 1] >> (6 + sobrantes)) & 1) != 0;
}

// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
void LeerExtension(Lector campos, Certificado& out) {
    Der::Tlv oid;
    Der::Tlv valor;
    if (!campos.Leer(kOid, oid) || !campos.Leer(valor)) return;
    if (valor.tag == kBooleano && !campos.Leer(valor)) return;
    if (valor.tag != kOctetos) return;
    if (EsOid(campos.buf, oid, kOidBasic)) LeerBasicConstraints(campos.Dentro(valor), out);
    if (EsOid(campos.buf, oid, kOidKeyUsage)) LeerKeyUsage(campos.Dentro(valor), out);
}

// extensions [3] EXPLICIT SEQUENCE OF Extension, among whatever else stands at the end of the TBSCertificate
void LeerExtensiones(Lector tbs, Certificado& out) {
    Der::Tlv tlv;
    while (tbs.Leer(tlv)) {
        Lector lista;
        if (tlv.tag != kContexto3 || !tbs.Dentro(tlv).Entrar(kSecuencia, lista)) continue;
        Der::Tlv extension;
        while (lista.Leer(extension)) {
            if (extension.tag == kSecuencia) LeerExtension(lista.Dentro(extension), out);
        }
    }
}

// version [0] EXPLICIT INTEGER DEFAULT v1, serialNumber INTEGER
bool LeerSerie(Lector& tbs, Der::Tlv& serie) {
    if (!tbs.Leer(serie)) return false;
    if (serie.tag == kContexto0) return tbs.Leer(kEntero, serie);
    return serie.tag == kEntero;
}

// The elements of a TBSCertificate up to its key; a tag of 0 marks one that was not reached.
struct Esqueleto {
    Der::Tlv serie;
    Der::Tlv emisor;
    Der::Tlv validez;
    Der::Tlv sujeto;
    size_t finExterior = 0;
    Lector resto;
};

// TBSCertificate ::= SEQUENCE { version, serialNumber, signature, issuer, validity, subject, subjectPublicKeyInfo, ...
// }
bool LeerEsqueleto(const unsigned char* der, size_t size, Esqueleto& e) {
    if (der == nullptr || size < kMinCertificado) return false;
    Lector todo{der, size, 0};
    Lector exterior;
    Lector tbs;
    Der::Tlv otro;
    if (!todo.Entrar(kSecuencia, exterior) || !exterior.Entrar(kSecuencia, tbs)) return false;
    e.finExterior = exterior.fin;
    Der::Tlv serie;
    if (!LeerSerie(tbs, serie)) return false;
    e.serie = serie;
    if (!tbs.Leer(kSecuencia, otro)) return false;
    for (Der::Tlv* hueco : {&e.emisor, &e.validez, &e.sujeto}) {
        Der::Tlv leido;
        if (!tbs.Leer(kSecuencia, leido)) return false;
        *hueco = leido;
    }
    if (!tbs.Leer(kSecuencia, otro)) return false;
    e.resto = tbs;
    return true;
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }
void LeerValidez(Lector validez, Certificado& out) {
    Der::Tlv desde;
    Der::Tlv hasta;
    if (!validez.Leer(desde) || !validez.Leer(hasta)) return;
    out.notBefore = TiempoAEpoch(validez.buf, desde);
    out.notAfter = TiempoAEpoch(validez.buf, hasta);
}

bool ParseCert(const unsigned char* der, size_t size, Certificado& out) {
    out = Certificado();
    Esqueleto e;
    const bool completo = LeerEsqueleto(der, size, e);
    if (e.serie.tag != 0) out.serial = Api::BinToHex(der + e.serie.contenido, e.serie.longitud);
    if (e.emisor.tag != 0) {
        const auto rdns = ParseNombre(der + e.emisor.contenido, e.emisor.longitud);
        out.issuerDN = DnTexto(rdns);
        out.issuerCN = CnDe(rdns);
    }
    if (e.validez.tag != 0) LeerValidez({der, e.validez.fin, e.validez.contenido}, out);
    if (e.sujeto.tag != 0) {
        const auto rdns = ParseNombre(der + e.sujeto.contenido, e.sujeto.longitud);
        out.subjectDN = DnTexto(rdns);
        out.subjectCN = CnDe(rdns);
        if (out.subjectCN.empty()) out.subjectCN = out.subjectDN;
    }
    if (!completo || out.subjectDN.empty()) return false;
    LeerExtensiones(e.resto, out);
    out.der.assign(der, der + e.finExterior);
    out.valid = true;
    return true;
}

// ParseCert, but names are read only when the outline is that of a certificate and the subject isn't empty: made-up
// data may offer a candidate at every few bytes.
bool Intentar(const unsigned char* der, size_t size, Certificado& out) {
    Esqueleto e;
    if (!LeerEsqueleto(der, size, e) || !Interno::HayAtributo(der + e.sujeto.contenido, e.sujeto.longitud))
        return false;
    return ParseCert(der, size, out);
}

constexpr size_t kMinElemento = 50;
constexpr size_t kMaxPrimeraPasada = 8192;
constexpr int kSinLimite = -1;
constexpr int kMaxFallosTerceraPasada = 24;

// Tries the elements of at least 50 and at most `maximo` bytes that start with 0x30, up to `fallos` failures.
bool Barrer(const unsigned char* data, size_t size, size_t maximo, int fallos, Certificado& out) {
    for (size_t i = 0; i + 5 <= size; ++i) {
        if (data[i] != kSecuencia) continue;
        size_t pos = i;
        Der::Tlv tlv;
        if (!Der::Next(data, size, pos, tlv)) continue;
        const size_t largo = tlv.fin - tlv.inicio;
        if (largo < kMinElemento || largo > maximo) continue;
        if (Intentar(data + i, largo, out)) return true;
        if (fallos != kSinLimite && --fallos == 0) return false;
    }
    return false;
}

std::vector<unsigned char> SinCerosDelante(const unsigned char* bytes, size_t size) {
    while (size > 1 && *bytes == 0) {
        ++bytes;
        --size;
    }
    return {bytes, bytes + size};
}

// subjectPublicKey BIT STRING of the SubjectPublicKeyInfo.
bool BuscarBits(const std::vector<unsigned char>& der, Der::Tlv& bits) {
    Lector todo{der.data(), der.size(), 0};
    Lector exterior;
    Lector tbs;
    Lector spki;
    Der::Tlv tlv;
    if (!todo.Entrar(kSecuencia, exterior) || !exterior.Entrar(kSecuencia, tbs) || !LeerSerie(tbs, tlv)) return false;
    if (!tbs.Saltar(4) || !tbs.Entrar(kSecuencia, spki)) return false;
    return spki.Leer(kSecuencia, tlv) && spki.Leer(kCadenaBits, bits) && bits.longitud >= 2;
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER } (RFC 8017, A.1.1) inside those bits. The
// algorithm isn't looked at: no other kind of key has a SEQUENCE there.
bool BuscarClaveRsa(const std::vector<unsigned char>& der, Der::Tlv& modulo, Der::Tlv& exponente) {
    const Lector todo{der.data(), der.size(), 0};
    Der::Tlv tlv;
    Lector clave;
    if (!BuscarBits(der, tlv)) return false;
    Lector bits = todo.Dentro(tlv, 1);
    return bits.Entrar(kSecuencia, clave) && clave.Leer(kEntero, modulo) && clave.Leer(kEntero, exponente);
}

}  // namespace

bool Certificado::Caducado() const {
    return valid && notAfter >= 1 && static_cast<int64_t>(time(nullptr)) > notAfter;
}

std::string Certificado::FechaVencimiento() const {
    const std::string sinFecha = "--/--/-------- --:--:--";
    if (notAfter <= 0) return sinFecha;
    const auto instante = static_cast<time_t>(notAfter);
    struct tm local {};
    if (localtime_r(&instante, &local) == nullptr) return sinFecha;
    char texto[96];
    std::snprintf(texto, sizeof texto, "%02d/%02d/%04d %02d:%02d:%02d", local.tm_mday, local.tm_mon + 1,
                  local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
    return texto;
}

std::string Certificado::Alias(const std::string& preferred) const {
    if (isCA) return "Certificado CA emisor";
    if (!preferred.empty()) return preferred;
    return nonRepudiation ? "Firma Digital (DNIe)" : "Certificado DNIe";
}

bool Parsear(const unsigned char* der, size_t size, Certificado& out) {
    return ParseCert(der, size, out);
}

bool Parsear(const std::vector<unsigned char>& der, Certificado& out) {
    return Parsear(der.data(), der.size(), out);
}

bool ExtraerDe(const unsigned char* data, size_t size, Certificado& out) {
    out = Certificado();
    if (data == nullptr || size < kMinCertificado) return false;
    return Barrer(data, size, kMaxPrimeraPasada, kSinLimite, out) || Intentar(data, size, out) ||
           Barrer(data, size, size, kMaxFallosTerceraPasada, out);
}

bool ExtraerDe(const std::vector<unsigned char>& data, Certificado& out) {
    return ExtraerDe(data.data(), data.size(), out);
}

bool ClaveRsa(const Certificado& cert, std::vector<unsigned char>& modulus, std::vector<unsigned char>& exponent) {
    modulus.clear();
    exponent.clear();
    Der::Tlv modulo;
    Der::Tlv exponente;
    if (cert.der.size() < kMinCertificado || !BuscarClaveRsa(cert.der, modulo, exponente)) return false;
    if (modulo.longitud == 0 || exponente.longitud == 0) return false;
    modulus = SinCerosDelante(cert.der.data() + modulo.contenido, modulo.longitud);
    exponent = SinCerosDelante(cert.der.data() + exponente.contenido, exponente.longitud);
    return true;
}

std::vector<unsigned char> ClavePublica(const Certificado& cert) {
    Der::Tlv bits;
    if (cert.der.size() < kMinCertificado || !BuscarBits(cert.der, bits)) return {};
    const unsigned char* inicio = cert.der.data() + bits.contenido + 1;  // after the number of unused bits
    return {inicio, inicio + bits.longitud - 1};
}

}  // namespace Lx::X509
