// X.509 certificates (RFC 5280) as a flat record. A tolerant reader, not a validator: no signature, chain or
// criticality is checked. Nothing throws on bad input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Lx::X509 {

struct Certificado {
    std::vector<unsigned char> der;  // exact bytes of the outer SEQUENCE
    std::string subjectCN;           // first CN of the subject; the whole subject DN when it has none
    std::string issuerCN;            // first CN of the issuer, empty when it has none
    std::string subjectDN;           // "TYPE=value" in encoding order, joined by ", "
    std::string issuerDN;
    std::string serial;           // content bytes of the INTEGER, upper-case hex, leading zero bytes kept
    int64_t notBefore = 0;        // Unix seconds, UTC
    int64_t notAfter = 0;         // Unix seconds, UTC
    bool isCA = false;            // basicConstraints cA
    bool nonRepudiation = false;  // keyUsage
    bool valid = false;           // set only by a parse that succeeded

    // keyUsage as it stands (RFC 5280, 4.2.1.3): nonRepudiation above understands few of its encodings.
    bool conUso = false;  // it is there
    bool digitalSignature = false;
    bool contentCommitment = false;  // the later name of nonRepudiation

    // Valid, with an end date, and that date has passed.
    [[nodiscard]] bool Caducado() const;
    // End date in local time, "dd/mm/aaaa hh:mm:ss", or a row of dashes when there is none.
    [[nodiscard]] std::string FechaVencimiento() const;
    // Label to show: a CA says so, else `preferred`, else what the key usage suggests.
    [[nodiscard]] std::string Alias(const std::string& preferred) const;
};

// Parses the certificate that starts at der[0]. Bytes after it are ignored. On false `out.valid` is false; other fields
// may hold what was read until then.
[[nodiscard]] bool Parsear(const unsigned char* der, size_t size, Certificado& out);
[[nodiscard]] bool Parsear(const std::vector<unsigned char>& der, Certificado& out);

// Finds and parses the first certificate inside any bytes (a card file, a tool's output).
[[nodiscard]] bool ExtraerDe(const unsigned char* data, size_t size, Certificado& out);
[[nodiscard]] bool ExtraerDe(const std::vector<unsigned char>& data, Certificado& out);

// RSA public key, both numbers big-endian without leading zero bytes. False, with both empty, for a key that is not
// RSA.
[[nodiscard]] bool ClaveRsa(const Certificado& cert, std::vector<unsigned char>& modulus,
                            std::vector<unsigned char>& exponent);

// The bits of its subjectPublicKey, whatever kind of key it is; empty when they can't be found.
[[nodiscard]] std::vector<unsigned char> ClavePublica(const Certificado& cert);

}  // namespace Lx::X509
