#include "signer/PdfCms.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace LxPdfSigner::Interno {

namespace {

std::string_view Vista(const std::vector<unsigned char>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string Elemento(unsigned char tag, std::string_view contenido) {
    std::string salida;
    Put(salida, tag, contenido);
    return salida;
}

std::string Secuencia(std::string_view contenido) {
    return Elemento(0x30, contenido);
}
std::string Conjunto(std::string_view contenido) {
    return Elemento(0x31, contenido);
}
std::string Oid(std::string_view oid) {
    return Elemento(0x06, oid);
}
std::string OctetString(std::string_view contenido) {
    return Elemento(0x04, contenido);
}

// CMSVersion of both SignedData and SignerInfo: 1, as the signer is named by issuer and serial and the content is
// id-data (RFC 5652, 5.1 and 5.3).
std::string Version() {
    return {"\x02\x01\x01", 3};
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
    return Secuencia(OctetString(Vista(Lx::Api::Sha256(certDer.data(), certDer.size()))) + IssuerSerial(sid));
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
                     AtributosImplicitos(signedAttrs) + AlgId(kOidRsa, true) + OctetString(Vista(signature)));
}

// Walks down a certificate; every step stays inside the element that was entered last.
class Recorrido {
  public:
    explicit Recorrido(const std::vector<unsigned char>& der) : buf_(der.data()), limite_(der.size()) {}

    bool Lee(uint8_t tag) { return Lx::Der::NextCon(buf_, limite_, pos_, tag, tlv_); }
    bool LeeCualquiera() { return Lx::Der::Next(buf_, limite_, pos_, tlv_); }
    bool Entra(uint8_t tag) { return Lee(tag) && EntraTras(0); }
    // Goes into the element just read, past the first `bytes` of its content.
    bool EntraTras(size_t bytes) {
        pos_ = tlv_.contenido + bytes;
        limite_ = tlv_.fin;
        return true;
    }
    [[nodiscard]] const Lx::Der::Tlv& Tlv() const { return tlv_; }
    [[nodiscard]] std::string Elemento() const {
        return {reinterpret_cast<const char*>(buf_) + tlv_.inicio, tlv_.fin - tlv_.inicio};
    }
    [[nodiscard]] unsigned char PrimerByte() const { return buf_[tlv_.contenido]; }

  private:
    const unsigned char* buf_;
    size_t limite_;
    size_t pos_ = 0;
    Lx::Der::Tlv tlv_;
};

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm, BIT STRING { RSAPublicKey ::= SEQUENCE { modulus INTEGER, … } } }
bool LeerModulo(Recorrido& r, size_t& modLen) {
    if (!r.Entra(0x30) || !r.Lee(0x30) || !r.Lee(0x03) || r.Tlv().longitud < 4) return false;
    // The first content byte of a BIT STRING counts its unused bits.
    if (!r.EntraTras(1) || !r.Entra(0x30) || !r.Lee(0x02) || r.Tlv().longitud == 0) return false;
    modLen = r.Tlv().longitud - (r.PrimerByte() == 0 ? 1 : 0);
    return modLen > 0;
}

bool LeerSid(Recorrido& r, Sid& sid) {
    // Certificate ::= SEQUENCE { TBSCertificate ::= SEQUENCE { [0] version OPTIONAL, serialNumber, signature, issuer,
    // validity, subject, subjectPublicKeyInfo, … }, … }
    if (!r.Entra(0x30) || !r.Entra(0x30) || !r.LeeCualquiera()) return false;
    if (r.Tlv().tag == 0xA0 && !r.LeeCualquiera()) return false;
    if (r.Tlv().tag != 0x02) return false;
    sid.serial = r.Elemento();
    if (!r.Lee(0x30) || !r.Lee(0x30)) return false;
    sid.issuer = r.Elemento();
    return r.Lee(0x30) && r.Lee(0x30) && LeerModulo(r, sid.modLen);
}

}  // namespace

void PutRaw(std::string& out, unsigned char tag, const void* bytes, size_t n) {
    out += static_cast<char>(tag);
    if (n < 128) {
        out += static_cast<char>(n);
    } else {
        std::string longitud;
        for (size_t resto = n; resto > 0; resto >>= 8)
            longitud.insert(longitud.begin(), static_cast<char>(resto & 0xFF));
        out += static_cast<char>(0x80 | longitud.size());
        out += longitud;
    }
    if (n > 0) out.append(static_cast<const char*>(bytes), n);
}

void Put(std::string& out, unsigned char tag, std::string_view content) {
    PutRaw(out, tag, content.data(), content.size());
}

std::string AlgId(std::string_view oid, bool withNull) {
    return Secuencia(Oid(oid) + (withNull ? std::string{"\x05\x00", 2} : std::string{}));
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
    Recorrido recorrido(certDer);
    if (LeerSid(recorrido, sid)) return true;
    sid = {};
    return false;
}

std::string SignedAttributes(const std::vector<unsigned char>& digest, const std::vector<unsigned char>& certDer,
                             const Sid& sid) {
    std::array<std::string, 3> atributos = {Atributo(kOidContentType, Oid(kOidData)),
                                            Atributo(kOidMsgDig, OctetString(Vista(digest))),
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
                  Elemento(0xA0, Vista(certDer)) + Conjunto(SignerInfo(sid, signedAttrs, signature)));
    // ContentInfo ::= SEQUENCE { contentType, [0] EXPLICIT content }
    return Secuencia(Oid(kOidSigned) + Elemento(0xA0, signedData));
}

}  // namespace LxPdfSigner::Interno
