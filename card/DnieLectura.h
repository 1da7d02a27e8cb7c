// The reading that a listing and a diagnosis share.
#pragma once

#include "card/DnieSesion.h"
#include "card/LxTarjeta.h"

namespace Lx::Dnie {

// The certificates of an identified card, or why there are none.
void LeerFicheros(Sesion& sesion, Perfil perfil, Lectura& lectura);

}  // namespace Lx::Dnie
