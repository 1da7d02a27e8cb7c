// What the windows do with keys that no control took.
#pragma once

#include "ui/LxWindow.h"

namespace Orvanta {

// Presses the button that has the focus, for buttons take no keys of their own. Nothing when it is another control.
// The windows call it for Space, not for Enter, which ends dialogs: held, it would go on into the window below.
void PulsarFoco(Lx::CWindow& ventana);

}  // namespace Orvanta
