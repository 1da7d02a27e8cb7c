// Tells of cards that are put in or taken out while a program shows or remembers what was on them.
#pragma once

#include "card/LxTarjeta.h"

namespace Lx::Firma {

using Vigilante = Dnie::Vigilante;

}  // namespace Lx::Firma
