// What the windows do with keys that no control took.
#pragma once

#include "ui/LxWindow.h"

namespace Orvanta {

// Presses the button that has the focus, for buttons take no keys of their own. False, and nothing is done, when
// something else has it; a disabled button swallows the key.
bool PulsarFoco(Lx::CWindow& ventana);

}  // namespace Orvanta
