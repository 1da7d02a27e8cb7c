// Writer of the detached CMS SignedData (RFC 5652) of one RSA signer with SHA-256, in the CAdES-BES form that
// /SubFilter /ETSI.CAdES.detached asks for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace LxCms {

// Content bytes of the object identifiers.
inline constexpr std::string_view kOidSha256 = "\x60\x86\x48\x01\x65\x03\x04\x02\x01";       // 2.16.840.1.101.3.4.2.1
inline constexpr std::string_view kOidRsa = "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01";          // 1.2.840.113549.1.1.1
inline constexpr std::string_view kOidData = "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01";         // 1.2.840.113549.1.7.1
inline constexpr std::string_view kOidSigned = "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02";       // 1.2.840.113549.1.7.2
inline constexpr std::string_view kOidContentType = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x03";  // 1.2.840.113549.1.9.3
inline constexpr std::string_view kOidMsgDig = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x04";       // 1.2.840.113549.1.9.4
inline constexpr std::string_view kOidSigCertV2 = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x2F";  // ….1.9.16.2.47

// AlgorithmIdentifier (RFC 5280, 4.1.1.2). The digest of a CMS leaves the parameters out (RFC 5754, 2), the RSA key
// algorithm has NULL there (RFC 3370, 3.2).
[[nodiscard]] std::string AlgId(std::string_view oid, bool withNull);

// Attribute (RFC 5652, 5.3) of one value; `value` is a complete element.
[[nodiscard]] std::string Atributo(std::string_view oid, std::string_view value);

// The time now in UTC by strftime; empty when the text is over 63 bytes.
[[nodiscard]] std::string Utc(const char* format);

// What names the signer (IssuerAndSerialNumber), as complete elements of his certificate, and the bytes of his modulus.
struct Sid {
    std::string issuer;
    std::string serial;
    size_t modLen = 0;
};

// Reads them from a certificate (RFC 5280, 4.1), also one without a version. False, with `sid` empty, when the
// structure is another one: so for every key that is not RSA, as only RSAPublicKey starts with a SEQUENCE.
[[nodiscard]] bool ExtraerSid(const std::vector<unsigned char>& certDer, Sid& sid);

// The SET (tag 0x31) that gets signed (RFC 5652, 5.4): content-type, message-digest and signing-certificate-v2
// (RFC 5035, 3), in DER order. `digest` is the SHA-256 of the signed content.
[[nodiscard]] std::string SignedAttributes(const std::vector<unsigned char>& digest,
                                           const std::vector<unsigned char>& certDer, const Sid& sid);

// ContentInfo with the SignedData. `signedAttrs` is the SET as it was signed; `signature` isn't looked at, so that
// zeros of the modulus' length give the size that the real one will have.
[[nodiscard]] std::string ConstruirCms(const std::vector<unsigned char>& certDer, const Sid& sid,
                                       const std::string& signedAttrs, const std::vector<unsigned char>& signature);

}  // namespace LxCms
