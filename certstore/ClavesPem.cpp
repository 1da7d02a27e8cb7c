#include "certstore/ClavesPem.h"

#include <algorithm>
#include <string>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"
#include "crypto/LxPem.h"

namespace Lx::CertStore {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr uint8_t kEntero = 0x02;
constexpr uint8_t kCadenaBits = 0x03;
constexpr uint8_t kOctetos = 0x04;
constexpr uint8_t kSecuencia = 0x30;
constexpr uint8_t kContexto1 = 0xA1;

// Elements of one SEQUENCE, read one after another where they stand.
struct Cursor {
    const unsigned char* buf = nullptr;
    size_t fin = 0;
    size_t pos = 0;

    [[nodiscard]] bool Leer(uint8_t tag, Der::Tlv& tlv) { return Der::NextCon(buf, fin, pos, tag, tlv); }
    // Opens the next element, which must have this tag.
    [[nodiscard]] bool Entrar(uint8_t tag, Cursor& dentro) {
        Der::Tlv tlv;
        if (!Leer(tag, tlv)) return false;
        dentro = {buf, tlv.fin, tlv.contenido};
        return true;
    }
};

[[nodiscard]] Bytes Numero(const unsigned char* buf, const Der::Tlv& tlv) {
    const unsigned char* fin = buf + tlv.fin;
    return {std::find_if(buf + tlv.contenido, fin, [](unsigned char b) { return b != 0; }), fin};
}

// ECPrivateKey ::= SEQUENCE { version, privateKey OCTET STRING, parameters [0] OPTIONAL, publicKey [1] BIT STRING
// OPTIONAL } (RFC 5915, 3), from behind the private key on.
void LeerPunto(Cursor c, Bytes& punto) {
    Der::Tlv tlv;
    while (Der::Next(c.buf, c.fin, c.pos, tlv)) {
        if (tlv.tag != kContexto1) continue;
        Cursor dentro{c.buf, tlv.fin, tlv.contenido};
        if (dentro.Leer(kCadenaBits, tlv) && tlv.longitud >= 2)
            punto.assign(c.buf + tlv.contenido + 1, c.buf + tlv.fin);
        return;
    }
}

// PrivateKeyInfo ::= SEQUENCE { version INTEGER, algorithm SEQUENCE, privateKey OCTET STRING, ... } (RFC 5958, 2)
// RSAPrivateKey ::= SEQUENCE { version INTEGER, modulus INTEGER, publicExponent INTEGER, ... } (RFC 8017, A.1.2)
void LeerClave(std::string_view der, ClavePem& clave) {
    Cursor todo{reinterpret_cast<const unsigned char*>(der.data()), der.size(), 0};
    Cursor info, algoritmo, octetos, privada;
    Der::Tlv tlv, exponente;
    if (!todo.Entrar(kSecuencia, info) || !info.Leer(kEntero, tlv) || !info.Entrar(kSecuencia, algoritmo) ||
        !info.Entrar(kOctetos, octetos) || !octetos.Entrar(kSecuencia, privada) || !privada.Leer(kEntero, tlv) ||
        !Der::Next(privada.buf, privada.fin, privada.pos, tlv))
        return;
    if (tlv.tag == kOctetos) {
        LeerPunto(privada, clave.punto);
    } else if (tlv.tag == kEntero && privada.Leer(kEntero, exponente)) {
        clave.modulo = Numero(todo.buf, tlv);
        clave.exponente = Numero(todo.buf, exponente);
    }
}

}  // namespace

std::vector<Bytes> CertificadosPem(std::string_view texto) {
    std::vector<Bytes> certificados;
    for (const Api::BloquePem& bloque : Api::BloquesPem(texto, "CERTIFICATE")) {
        std::string der;
        if (Api::Base64Decode(std::string(bloque.cuerpo), der)) certificados.emplace_back(der.begin(), der.end());
    }
    return certificados;
}

bool ClavePem::EsDe(const X509::Certificado& cert) const {
    Bytes n, e;
    if (X509::ClaveRsa(cert, n, e)) return !modulo.empty() && n == modulo && e == exponente;
    return !punto.empty() && X509::ClavePublica(cert) == punto;
}

std::vector<ClavePem> ClavesPem(std::string_view texto) {
    std::vector<ClavePem> claves;
    for (const Api::BloquePem& bloque : Api::BloquesPem(texto, "PRIVATE KEY")) {
        BloqueSecreto der(bloque.cuerpo.size());
        ClavePem& clave = claves.emplace_back();
        clave.pem = bloque.entero;
        if (Api::Base64Decode(bloque.cuerpo, der)) LeerClave(der.Ver(), clave);
    }
    return claves;
}

const ClavePem* ClaveDe(const std::vector<ClavePem>& claves, const X509::Certificado& cert) {
    const auto i = std::find_if(claves.begin(), claves.end(), [&cert](const ClavePem& c) { return c.EsDe(cert); });
    return i == claves.end() ? nullptr : &*i;
}

}  // namespace Lx::CertStore
