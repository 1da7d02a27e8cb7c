// Whether the card could sign here and now, step by step and with what to do about it; looked at anew whenever a card
// is put in or taken out.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "app/Paleta.h"
#include "app/Tarea.h"
#include "firma/LxDiagnosticar.h"
#include "firma/LxVigilante.h"
#include "ui/LxDialog.h"

class CDiagnosticoDialog : public Lx::CDialog {
  public:
    CDiagnosticoDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta);
    ~CDiagnosticoDialog() override;

    bool OnInit() override;
    void OnDestroy() override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    // The report goes to the clipboard; nothing in it names the holder.
    void OnCopiar();
    void OnCerrar();

  private:
    static constexpr size_t kPasos = 6;
    struct Fila {
        Lx::CLabel* estado = nullptr;
        Lx::CLabel* titulo = nullptr;
        Lx::CLabel* texto = nullptr;
    };

    void Examinar();
    void OnTarjeta();
    void Mostrar(const Lx::Firma::Diagnostico& diagnostico);
    void PonerFila(Fila& fila, const Lx::Dnie::Paso& paso, int& y);
    Lx::CLabel* Etiqueta(const Lx::Rect& donde, Orvanta::Paleta::Rol color, int tamano);

    Orvanta::Paleta::Colores paleta_;
    std::shared_ptr<Correo> correo_;
    CTarea tarea_;
    std::unique_ptr<Lx::Firma::Vigilante> vigilante_;
    bool otraVez_ = false;  // a card came or went while it was examined
    std::string informe_;

    Lx::CLabel* resumen_ = nullptr;
    std::array<Fila, kPasos> filas_;
    Lx::CLabel* notas_ = nullptr;
    Lx::CButton* copiar_ = nullptr;
};
