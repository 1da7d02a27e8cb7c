// Asks for the password of a locked database or token of the system's certificate store.
#pragma once

#include <string>

#include "app/DialogoSecreto.h"

class CClaveDialog : public CDialogoSecreto {
  public:
    // `almacen` is a folder or a token's name; `intento` counts from 1; `ultimo`: one more mistake locks it. `clave`
    // receives the password when DoModal gives kAccepted; it must outlive the dialog.
    CClaveDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& almacen, int intento,
                 bool ultimo, std::string& clave);

    bool OnInit() override;
    void OnEnterClave(const std::string& texto);

  private:
    [[nodiscard]] std::string FraseIntentos() const;

    std::string almacen_;
    int intento_;
    bool ultimo_;
};
