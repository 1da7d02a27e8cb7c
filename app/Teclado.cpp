#include "app/Teclado.h"

#include "ui/LxButton.h"

namespace Orvanta {

bool PulsarFoco(Lx::CWindow& ventana) {
    auto* boton = dynamic_cast<Lx::CButton*>(ventana.focus);
    if (boton == nullptr) return false;
    static_cast<void>(boton->DoAccessibleAction(Lx::AccessibleAction::Press, "", 0));
    return true;
}

}  // namespace Orvanta
