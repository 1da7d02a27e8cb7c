// Asks for the password that a protected document is read with.
#pragma once

#include "app/DialogoSecreto.h"

class CLecturaDialog : public CDialogoSecreto {
  public:
    // `rechazada`: the one before didn't open it.
    CLecturaDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, std::string documento, bool rechazada,
                   std::string& clave);

    bool OnInit() override;

  private:
    std::string documento_;
    bool rechazada_;
};
