// How an edit looks while what it holds can't be used.
#pragma once

#include "app/Paleta.h"
#include "ui/LxEdit.h"

namespace Orvanta {

// In the error role, or as any other edit again.
void MarcarCampo(Lx::CEdit& edicion, const Paleta::Colores& paleta, bool error);

}  // namespace Orvanta
