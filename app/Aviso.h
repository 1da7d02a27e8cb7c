// A notice over the window: the whole of a message for which the status line is too narrow or too quiet, or what a job
// is doing and how far it is.
#pragma once

#include <functional>
#include <string>

#include "app/Paleta.h"
#include "ui/LxButton.h"

class CAviso : public Lx::CControl {
  public:
    // What a message is; it gives the notice its colour. Only what was done and is certain is an achievement.
    enum class Tono { Informa, Logro, Error };
    // What can be done about a message, on a button that stands in it.
    struct Accion {
        std::string texto;  // empty: nothing
        std::function<void()> hacer;
    };

    // `despues` gets the focus when the notice goes while it has it.
    CAviso(const Orvanta::Paleta::Colores& paleta, Lx::CControl* despues) : paleta_(paleta), despues_(despues) {
        visible = false;
    }

    void OnPaint(Lx::CCanvas* canvas) override;
    // A click, Enter, space or Escape takes a message away; what a job is doing stays.
    void OnEvent(Lx::Event& ev) override;
    [[nodiscard]] Lx::AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(Lx::AccessibleAction action, const std::string& text, int index) override;
    void OnThemeChanged() override;

    // Buttons of the same window: the first stands in the notice while that tells of a job, the other while there is
    // something to do about its message.
    void PonerBoton(Lx::CButton* boton);
    void PonerBotonAccion(Lx::CButton* boton);

    void Mostrar(const std::string& texto, Tono tono, Accion accion = {});
    // `parte` goes from 0 to 1; negative: nobody knows. Without a text the notice goes.
    void MostrarProgreso(const std::string& texto, double parte);
    [[nodiscard]] bool EnProgreso() const { return visible && progreso_; }
    void Quitar();
    // As wide as `franja` and at its bottom, or its top, as high as the text needs.
    void Colocar(const Lx::Rect& franja, bool arriba = false);

  private:
    void Ensenar(const std::string& texto);
    void ColocarBoton(Lx::CButton* boton, bool toca, int ancho, int derecha) const;
    void PintarBarra(Lx::CCanvas& canvas) const;
    void PintarCruz(Lx::CCanvas& canvas) const;
    [[nodiscard]] Lx::Color Color() const;

    Orvanta::Paleta::Colores paleta_;
    Lx::CControl* despues_;
    Lx::CButton* boton_ = nullptr;
    Lx::CButton* botonAccion_ = nullptr;
    Accion accion_;
    std::string texto_;
    std::string lineas_;
    Tono tono_ = Tono::Informa;
    bool progreso_ = false;
    double parte_ = -1;
    int paso_ = 0;  // of a bar that only shows that something goes on
    Lx::Rect franja_;
    bool arriba_ = false;
};
