// Asks for the PIN of the identity card. Nothing is sent to the card from here.
#pragma once

#include <string>

#include "app/DialogoSecreto.h"

class CPinDialog : public CDialogoSecreto {
  public:
    // `pin` receives the PIN when DoModal gives kAccepted; it must outlive the dialog.
    CPinDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& titular,
               std::string& pin);

    // The tries that the card has told, negative when it hasn't; `rechazado`: the PIN before this one was wrong.
    // Before DoModal.
    void PonerIntentos(int intentos, bool rechazado);

    bool OnInit() override;
    void OnEnterPin(const std::string& texto);

  private:
    [[nodiscard]] std::string FraseIntentos() const;

    std::string titular_;
    int intentos_ = -1;
    bool rechazado_ = false;
};
