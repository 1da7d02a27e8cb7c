// A band above the document that says whose signatures it has. It never looks as if they had been checked.
#pragma once

#include <string>
#include <vector>

#include "app/Paleta.h"
#include "firma/LxExaminar.h"

class CBarraFirmas : public Lx::CControl {
  public:
    static constexpr int kAlto = 26;

    explicit CBarraFirmas(const Orvanta::Paleta::Colores& paleta) : paleta_(paleta) { visible = false; }

    void OnPaint(Lx::CCanvas* canvas) override;
    [[nodiscard]] bool IsInteractive() const override { return false; }
    [[nodiscard]] Lx::AccessibleInfo Accessibility() const override;
    [[nodiscard]] std::string ToolTip(const Lx::Point& pt) const override;
    void OnThemeChanged() override { paleta_ = Orvanta::Paleta::DelTema(); }

    // `aqui`: who has just signed in this window, the last of `firmas`. The band hides without any. True when it came
    // or went.
    bool Poner(const std::vector<Lx::Firma::FirmaAnterior>& firmas, const std::vector<std::string>& aqui);

  private:
    Orvanta::Paleta::Colores paleta_;
    std::string texto_;
};
