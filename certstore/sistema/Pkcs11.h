// PKCS#11 (v2.40) calls on one token, made of a module that somebody else opened and initialised.
#pragma once

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

namespace Lx::CertStore::Pkcs11 {

using Bytes = std::vector<unsigned char>;

// A library opened at run time, which stays open for good; null when it isn't there. Only a success is worth
// remembering: the user may install the library while the program runs.
[[nodiscard]] void* AbrirBiblioteca(const char* nombre);

struct Token {
    CK_FUNCTION_LIST* f = nullptr;
    CK_SLOT_ID ranura = 0;
    std::string nombre;   // for the user: its label, or the folder of an NSS database
    std::string carpeta;  // of an NSS database, else empty

    [[nodiscard]] bool EsNss() const { return !carpeta.empty(); }
};

// Its flags as they are now; none when the token doesn't answer.
[[nodiscard]] CK_FLAGS Indicadores(const Token& token);

// Label or other text of fixed width, without the blanks that fill it up.
[[nodiscard]] std::string Recortar(const unsigned char* texto, size_t ancho);

// The slots with a token in them.
[[nodiscard]] CK_RV Ranuras(CK_FUNCTION_LIST* f, std::vector<CK_SLOT_ID>& ranuras);

struct Clave {
    CK_OBJECT_HANDLE objeto = 0;
    Bytes id;
    Bytes modulo;  // without leading zero bytes
};

// The key of a certificate: the one with its CKA_ID, else the one with its modulus; null when there is none. An empty
// identifier or modulus matches nothing.
[[nodiscard]] const Clave* ClaveDe(const std::vector<Clave>& claves, const Bytes& id, const Bytes& modulo);

// One read-only session, closed by the destructor, which also ends the login made in it.
class Sesion {
  public:
    explicit Sesion(const Token& token) : token_(token) {}
    ~Sesion();
    Sesion(const Sesion&) = delete;
    Sesion& operator=(const Sesion&) = delete;

    [[nodiscard]] CK_RV Abrir();
    [[nodiscard]] CK_RV Buscar(std::vector<CK_ATTRIBUTE> plantilla, std::vector<CK_OBJECT_HANDLE>& objetos);
    // Empty when the object has no such attribute or won't tell.
    [[nodiscard]] Bytes Atributo(CK_OBJECT_HANDLE objeto, CK_ATTRIBUTE_TYPE tipo);
    [[nodiscard]] CK_RV Certificados(std::vector<CK_OBJECT_HANDLE>& objetos);
    // All keys of a class, CKO_PRIVATE_KEY or CKO_PUBLIC_KEY, that the session can see.
    [[nodiscard]] std::vector<Clave> Claves(CK_OBJECT_CLASS clase);
    // A null `clave` leaves the question to the token's own keypad.
    [[nodiscard]] CK_RV Entrar(CK_USER_TYPE usuario, std::string* clave);
    // Starts a signature that Firmar completes. Where the token can't hash, the digest is made here.
    [[nodiscard]] CK_RV PrepararFirma(CK_OBJECT_HANDLE clave);
    [[nodiscard]] CK_RV Firmar(const Bytes& datos, size_t tamano, Bytes& firma);

  private:
    const Token& token_;
    CK_SESSION_HANDLE sesion_ = 0;
    bool abierta_ = false;
    bool dentro_ = false;
    bool conResumen_ = false;  // the token takes the DigestInfo and not the message
};

}  // namespace Lx::CertStore::Pkcs11
