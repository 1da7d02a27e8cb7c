// A notice over the bottom of the page: the whole of a message for which the status line is too narrow or too quiet.
#pragma once

#include <string>

#include "app/Paleta.h"
#include "ui/LxControl.h"

class CAviso : public Lx::CControl {
  public:
    // `despues` gets the focus when the notice goes while it has it.
    CAviso(const Orvanta::Paleta::Colores& paleta, Lx::CControl* despues) : paleta_(paleta), despues_(despues) {
        visible = false;
    }

    void OnPaint(Lx::CCanvas* canvas) override;
    // A click, Enter, space or Escape takes it away.
    void OnEvent(Lx::Event& ev) override;
    [[nodiscard]] Lx::AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(Lx::AccessibleAction action, const std::string& text, int index) override;

    void Mostrar(const std::string& texto, bool error);
    void Quitar();
    // As wide as `franja` and at its bottom, as high as the text needs.
    void Colocar(const Lx::Rect& franja);

  private:
    Orvanta::Paleta::Colores paleta_;
    Lx::CControl* despues_;
    std::string texto_;
    std::string lineas_;
    bool error_ = false;
    Lx::Rect franja_;
};
