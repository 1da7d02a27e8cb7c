// Records of the certificate sources and the system store's seam. The store itself is an OBJECT library that the
// program chooses (lx_sistema_...): this header is what the card layer, below the rest of the store, may know of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"
#include "crypto/LxSecreto.h"
#include "crypto/LxX509.h"

namespace Lx::CertStore {

enum class Origen : int {
    Dnie = 0,      // national identity card
    Personal = 1,  // personal store of a platform that has one; signs like Sistema, never listed here
    Sistema = 2,   // the system's certificate store
    Pkcs12 = 3,    // PKCS#12 file (RFC 7292)
};

// The user's choices. Every copy wipes its secrets when it goes.
struct Contexto {
    ~Contexto() {
        Lx::Limpiar(pin);
        Lx::Limpiar(clavePkcs12);
    }

    std::string lector;       // preferred card reader; empty: choose automatically
    std::string pin;          // the card's signing PIN
    std::string rutaPkcs12;   // empty: no PKCS#12 source
    std::string clavePkcs12;  // its password
    int32_t opcion = 1;       // a setting that a dialog remembers; passed on to the system store
};

// One certificate that can be chosen.
struct Entrada {
    Origen origen = Origen::Dnie;
    std::string etiqueta;  // text of the list
    std::string lector;    // reader that holds the card, for Origen::Dnie only
    Lx::X509::Certificado cert;
    bool conClave = false;  // a private key is known to be usable

    std::string uso{};       // what a card uses it for, in its own words; for Origen::Dnie only
    bool deFirma = true;     // false: a card's certificate for other ends than signing
    bool enFichero = false;  // the PKCS#12 file of the context has it too, with its key
};

// Appends one entry per RSA certificate of the system store. `texto` receives an error sentence, or the count and
// " certificado(s)"; empty when there is no store.
void ListarSistema(std::vector<Entrada>& lista, std::string& texto);

// RSASSA-PKCS1-v1_5 signature with SHA-256 of `datos` (the message, not its hash) by the key of `cert`; empty, with one
// sentence in `error`, when the store did not sign.
[[nodiscard]] std::vector<unsigned char> FirmarSistema(const Lx::X509::Certificado& cert,
                                                       const std::vector<unsigned char>& datos, const std::string& pin,
                                                       bool opcion, std::string& error);

inline constexpr int kIntentosClave = 3;

// Asks the user for the password of `almacen` (a folder or a token's label) and puts it into `clave`, which is wiped
// after use, on the job's thread. `intento` counts from 1, kIntentosClave at most; `ultimo` says that the token locks
// itself after one more mistake. False: the user cancelled.
using PreguntaClave = std::function<bool(const std::string& almacen, int intento, bool ultimo, std::string& clave)>;

// What the system's store gave.
struct ListadoSistema {
    std::string texto;  // as ListarSistema gives it
    Lx::Aviso fallo;    // why nothing could be read; a store that is empty, or isn't there, is no failure
};

// As ListarSistema; the reason of a failure comes along.
[[nodiscard]] ListadoSistema LeerSistema(std::vector<Entrada>& lista, Lx::Control& control);

struct FirmaSistema {
    std::vector<unsigned char> firma;  // empty on failure
    Lx::Aviso fallo;
};

// As FirmarSistema, with who is asked for passwords; without a question every locked store refuses. The job commits
// itself before the key is used, after the last question.
[[nodiscard]] FirmaSistema FirmarEnSistema(const Lx::X509::Certificado& cert, const std::vector<unsigned char>& datos,
                                           const PreguntaClave& pregunta, Lx::Control& control);

}  // namespace Lx::CertStore
