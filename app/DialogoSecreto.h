// What the dialogs that ask for a PIN or a password have in common: what it is for, a masked edit, a message.
#pragma once

#include <chrono>
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
    // Ends the dialog, with the secret in its place, unless there is none yet, or it is the last try and not confirmed.
    void OnAceptar();

  protected:
    struct Textos {
        std::string titulo;
        std::string quien;
        std::string peticion;
        std::string indicacion;  // inside the empty edit
        std::string aviso;
        std::string vacio;       // what to say when nothing was typed
        std::string abre;        // what is said below the edit from the start
        bool rechazado = false;  // the secret before this one was wrong
        bool ultimo = false;     // one more mistake locks what it opens: it must be confirmed
    };

    // `secreto` must outlive the dialog.
    CDialogoSecreto(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, std::string& secreto);
    void Montar(const Textos& textos);

    Lx::CEdit* edicion_ = nullptr;

  private:
    void Decir(const std::string& mensaje, bool error = true);
    void Marcar(bool error);
    void OnCambio(const std::string& texto);
    // "Aceptar" was pressed again, after a pause, for what stands in the edit.
    [[nodiscard]] bool ConfirmaUltimo();

    Orvanta::Paleta::Colores paleta_;
    std::string& secreto_;
    std::string vacio_;
    std::string abre_;
    bool alarma_ = false;  // what is said from the start is no good news
    bool ultimo_ = false;
    std::chrono::steady_clock::time_point confirmable_;  // from then on a press confirms; the clock's start: none did
    Lx::CLabel* mensaje_ = nullptr;
};
