// Steps that a signature, its diagnosis and the PIN's own questions share.
#pragma once

#include <functional>
#include <string>

#include "card/DnieSesion.h"
#include "card/LxTarjeta.h"

namespace Lx::Dnie {

// Whether the PIN has a length that is sent to a card at all.
[[nodiscard]] bool LongitudDePin(const std::string& pin);
[[nodiscard]] bool AbrirDfFirma(Sesion& sesion, Perfil perfil);
// Status word of the answer; 6700, with nothing sent, for a PIN of fewer than 4 or more than 8 characters.
[[nodiscard]] int VerificarPinTarjeta(Sesion& sesion, const std::string& pin, Perfil perfil);
// Connected, identified and with the signature key's directory open; false with what says why not. From then on the
// first command that isn't answered is the last one.
[[nodiscard]] bool PrepararFirma(Sesion& sesion, const std::string& lector, Perfil& perfil, Aviso& fallo);

// The system's store as the last resort.
using Almacen = std::function<CertStore::FirmaSistema()>;
[[nodiscard]] Firmado Firmar(const std::string& lector, const X509::Certificado& cert, const Bytes& datos,
                             const std::string& pin, const Almacen& almacen, Control& control);

// The steps of a signature without a PIN.
struct InformeFirma {
    bool puede = false;   // all that is missing is the PIN
    std::string informe;  // one line each
    std::string error;    // empty when it can
    int intentos = -1;    // of the PIN
};
// With an identified card.
[[nodiscard]] InformeFirma ExaminarFirma(Sesion& sesion, Perfil perfil);
// From the connection on.
[[nodiscard]] InformeFirma ExaminarFirma(const std::string& lector, Control& control);

}  // namespace Lx::Dnie
