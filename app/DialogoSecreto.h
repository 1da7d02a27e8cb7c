// What the dialogs that ask for a PIN or a password have in common: what it is for, a masked edit, a message.
#pragma once

#include <string>

#include "app/Paleta.h"
#include "ui/LxDialog.h"

class CDialogoSecreto : public Lx::CDialog {
  public:
    void OnCancelar();
    void OnTimer(unsigned id) override;
    void OnSetFocus() override;
    void OnKillFocus() override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    // Ends the dialog, with the secret in its place, unless there is none yet.
    virtual void OnAceptar();

  protected:
    struct Textos {
        std::string titulo;
        std::string quien;
        std::string peticion;
        std::string indicacion;  // inside the empty edit
        std::string aviso;
        std::string vacio;  // what to say when nothing was typed
    };

    // `secreto` must outlive the dialog.
    CDialogoSecreto(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, std::string& secreto);
    void Montar(const Textos& textos);
    void Decir(const std::string& mensaje);

    Lx::CEdit* edicion_ = nullptr;

  private:
    Orvanta::Paleta::Colores paleta_;
    std::string& secreto_;
    std::string vacio_;
    Lx::CLabel* mensaje_ = nullptr;
};
