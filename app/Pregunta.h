// Asks whether to go on with something. What the person would regret is never the answer of a key pressed in haste.
#pragma once

#include <string>

#include "app/Paleta.h"
#include "ui/LxDialog.h"

class CPregunta : public Lx::CDialog {
  public:
    struct Textos {
        std::string titulo;
        std::string frase;  // may take several lines
        std::string si;
        std::string no;
    };

    // DoModal gives kAccepted for `si` alone.
    CPregunta(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, Textos textos);

    bool OnInit() override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    void OnSi();
    void OnNo();

  private:
    Orvanta::Paleta::Colores paleta_;
    Textos textos_;
};
