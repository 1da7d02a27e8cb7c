// Steps that a signature and its diagnosis share.
#pragma once

#include <string>

#include "card/DnieSesion.h"

namespace Lx::Dnie {

[[nodiscard]] bool AbrirDfFirma(Sesion& sesion, Perfil perfil);
// Status word of the answer; 6700, with nothing sent, for a PIN of fewer than 4 or more than 8 characters.
[[nodiscard]] int VerificarPinTarjeta(Iso7816::CCard& tarjeta, const std::string& pin, Perfil perfil);
// Connected, identified and with the signature key's directory open; false with the sentence that says why not.
[[nodiscard]] bool PrepararFirma(Sesion& sesion, const std::string& lector, Perfil& perfil, std::string& error);

}  // namespace Lx::Dnie
