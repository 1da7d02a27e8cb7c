#include "cms/LxCms.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace LxCms {

using namespace Lx::Der;

namespace {

// CMSVersion of both SignedData and SignerInfo: 1, as the signer is named by issuer and serial and the content is
// id-data (RFC 5652, 5.1 and 5.3).
std::string Version() {
    return Entero(1);
}

// IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
std::string IssuerAndSerialNumber(const Sid& sid) {
    return Secuencia(sid.issuer + sid.serial);
}

// IssuerSerial ::= SEQUENCE { issuer GeneralNames, serialNumber INTEGER }, with the name as directoryName [4]
std::string IssuerSerial(const Sid& sid) {
    return Secuencia(Secuencia(Elemento(0xA4, sid.issuer)) + sid.serial);
}

// ESSCertIDv2 ::= SEQUENCE { hashAlgorithm DEFAULT id-sha256, certHash OCTET STRING, issuerSerial OPTIONAL }
std::string EssCertIdV2(const std::vector<unsigned char>& certDer, const Sid& sid) {
    return Secuencia(Octetos(Lx::Api::Sha256(certDer.data(), certDer.size())) + IssuerSerial(sid));
}

// SigningCertificateV2 ::= SEQUENCE { certs SEQUENCE OF ESSCertIDv2, policies OPTIONAL }
std::string SigningCertificateV2(const std::vector<unsigned char>& certDer, const Sid& sid) {
    return Secuencia(Secuencia(EssCertIdV2(certDer, sid)));
}

// The attributes travel as [0] IMPLICIT, but are signed as the SET (RFC 5652, 5.4).
std::string AtributosImplicitos(std::string signedAttrs) {
    if (!signedAttrs.empty()) signedAttrs[0] = '\xA0';
    return signedAttrs;
}

// SignerInfo ::= SEQUENCE { version, sid, digestAlgorithm, [0] signedAttrs, signatureAlgorithm, signature }
std::string SignerInfo(const Sid& sid, const std::string& signedAttrs, const std::vector<unsigned char>& signature) {
    return Secuencia(Version() + IssuerAndSerialNumber(sid) + AlgId(kOidSha256, false) +
                     AtributosImplicitos(signedAttrs) + AlgId(kOidRsa, true) + Octetos(signature));
}

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm, BIT STRING { RSAPublicKey ::= SEQUENCE { modulus INTEGER, … } } }
bool LeerModulo(Lector& tbs, size_t& modLen) {
    Lector spki;
    Lector clave;
    Tlv tlv;
    if (!tbs.Entrar(0x30, spki) || !spki.Leer(0x30, tlv) || !spki.Leer(0x03, tlv) || tlv.longitud < 4) return false;
    // The first content byte of a BIT STRING counts its unused bits.
    if (!spki.Dentro(tlv, 1).Entrar(0x30, clave) || !clave.Leer(0x02, tlv) || tlv.longitud == 0) return false;
    modLen = tlv.longitud - (clave.buf[tlv.contenido] == 0 ? 1 : 0);
    return modLen > 0;
}

bool LeerSid(const std::vector<unsigned char>& certDer, Sid& sid) {
    // Certificate ::= SEQUENCE { TBSCertificate ::= SEQUENCE { [0] version OPTIONAL, serialNumber, signature, issuer,
    // validity, subject, subjectPublicKeyInfo, … }, … }
    Lector todo{certDer.data(), certDer.size(), 0};
    Lector certificado;
    Lector tbs;
    Tlv tlv;
    if (!todo.Entrar(0x30, certificado) || !certificado.Entrar(0x30, tbs) || !tbs.Leer(tlv)) return false;
    if (tlv.tag == 0xA0 && !tbs.Leer(tlv)) return false;
    if (tlv.tag != 0x02) return false;
    sid.serial = tbs.Elemento(tlv);
    if (!tbs.Leer(0x30, tlv) || !tbs.Leer(0x30, tlv)) return false;
    sid.issuer = tbs.Elemento(tlv);
    return tbs.Leer(0x30, tlv) && tbs.Leer(0x30, tlv) && LeerModulo(tbs, sid.modLen);
}

}  // namespace

std::string AlgId(std::string_view oid, bool withNull) {
    return Secuencia(Oid(oid) + (withNull ? Nulo() : std::string()));
}

std::string Atributo(std::string_view oid, std::string_view value) {
    return Secuencia(Oid(oid) + Conjunto(value));
}

std::string Utc(const char* format) {
    const std::time_t ahora = std::time(nullptr);
    std::tm campos{};
    char texto[64];
    if (gmtime_r(&ahora, &campos) == nullptr) return {};
    return {texto, std::strftime(texto, sizeof texto, format, &campos)};
}

bool ExtraerSid(const std::vector<unsigned char>& certDer, Sid& sid) {
    sid = {};
    if (LeerSid(certDer, sid)) return true;
    sid = {};
    return false;
}

std::string SignedAttributes(const std::vector<unsigned char>& digest, const std::vector<unsigned char>& certDer,
                             const Sid& sid) {
    std::array<std::string, 3> atributos = {Atributo(kOidContentType, Oid(kOidData)),
                                            Atributo(kOidMsgDig, Octetos(digest)),
                                            Atributo(kOidSigCertV2, SigningCertificateV2(certDer, sid))};
    // char_traits compares as unsigned bytes: the order of a SET OF (X.690, 11.6).
    std::sort(atributos.begin(), atributos.end());
    return Conjunto(atributos[0] + atributos[1] + atributos[2]);
}

std::string ConstruirCms(const std::vector<unsigned char>& certDer, const Sid& sid, const std::string& signedAttrs,
                         const std::vector<unsigned char>& signature) {
    // SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo, [0] certificates, signerInfos }
    const std::string signedData =
        Secuencia(Version() + Conjunto(AlgId(kOidSha256, false)) + Secuencia(Oid(kOidData)) +
                  Elemento(0xA0, {reinterpret_cast<const char*>(certDer.data()), certDer.size()}) +
                  Conjunto(SignerInfo(sid, signedAttrs, signature)));
    // ContentInfo ::= SEQUENCE { contentType, [0] EXPLICIT content }
    return Secuencia(Oid(kOidSigned) + Elemento(0xA0, signedData));
}

}  // namespace LxCms
