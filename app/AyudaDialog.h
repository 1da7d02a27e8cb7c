// The help sheet: what every key does.
#pragma once

#include <vector>

#include "app/Mandatos.h"
#include "app/Paleta.h"
#include "ui/LxDialog.h"

class CAyudaDialog : public Lx::CDialog {
  public:
    CAyudaDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, std::vector<Orvanta::Ayuda> lineas);

    bool OnInit() override;
    void OnSize(unsigned flags, const Lx::Size& size) override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    void OnCerrar();

  private:
    Orvanta::Paleta::Colores paleta_;
    std::vector<Orvanta::Ayuda> lineas_;
    Lx::CListView* lista_ = nullptr;
    Lx::CButton* cerrar_ = nullptr;
};
