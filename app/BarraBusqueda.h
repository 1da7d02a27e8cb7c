// The bar in which a text is looked for in the document. It is one panel and the controls that stand in it, which are
// the window's.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/Correo.h"
#include "app/Paleta.h"
#include "ui/LxWindow.h"
#include "ui/viewer/LxDocView.h"

class CBarraBusqueda : public Lx::CControl {
  public:
    static constexpr int kAlto = 40;

    // Hidden; adds itself and its controls to the window. `alCambiar`: it came or went.
    CBarraBusqueda(Lx::CWindow& ventana, std::shared_ptr<Correo> correo, std::function<void()> alCambiar);

    // The document; before anything else.
    void PonerVista(Lx::CDocView* vista) { vista_ = vista; }
    // Shows it and takes the focus; an empty text leaves what was looked for before.
    void Abrir(const std::string& texto);
    // The marks in the document go, and the focus returns to it.
    void Cerrar();
    void Colocar(const Lx::Rect& franja);
    void Vestir(const Orvanta::Paleta::Colores& paleta);
    // The view found more, or went to another place.
    void AlBuscar();
    // Without a bar, or a text in it, it is opened first.
    void Siguiente();
    void Anterior();
    [[nodiscard]] bool TieneElFoco() const;

    void OnPaint(Lx::CCanvas* canvas) override;
    [[nodiscard]] bool IsInteractive() const override { return false; }
    void OnThemeChanged() override;

  private:
    void Mostrar(bool si);
    void OnTexto(const std::string& texto);
    void OnExacto();
    void Buscar();
    // False when there was nothing to be gone on with: it begins instead.
    [[nodiscard]] bool EnMarcha();

    Lx::CWindow& ventana_;
    std::shared_ptr<Correo> correo_;
    std::function<void()> alCambiar_;
    Lx::CDocView* vista_ = nullptr;
    Lx::CEdit* texto_ = nullptr;
    Lx::CLabel* cuenta_ = nullptr;
    Lx::CButton* anterior_ = nullptr;
    Lx::CButton* siguiente_ = nullptr;
    Lx::CButton* exacto_ = nullptr;
    Lx::CButton* cerrar_ = nullptr;
    std::string buscado_;  // what the view is looking for
    unsigned vez_ = 0;     // of the last key; what waits for rest compares
};
