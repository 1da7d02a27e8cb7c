#include "app/Teclado.h"

#include "ui/LxButton.h"

namespace Orvanta {

void PulsarFoco(Lx::CWindow& ventana) {
    if (auto* boton = dynamic_cast<Lx::CButton*>(ventana.focus))
        static_cast<void>(boton->DoAccessibleAction(Lx::AccessibleAction::Press, "", 0));
}

}  // namespace Orvanta
