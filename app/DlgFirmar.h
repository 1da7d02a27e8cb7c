// Lists the certificates that can sign and lets the user choose one, and where the visible stamp goes.
#pragma once

#include <string>
#include <vector>

#include "app/Paleta.h"
#include "certstore/LxCertStore.h"
#include "ui/LxDialog.h"

class CDlgFirmar : public Lx::CDialog {
  public:
    CDlgFirmar(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& documento,
               const Lx::CertStore::Contexto& ctx);
    // Its copies of the secrets are wiped.
    ~CDlgFirmar() override;

    // What was chosen, to be read after DoModal gave kAccepted.
    [[nodiscard]] bool HaySeleccion() const { return haySeleccion_; }
    [[nodiscard]] const Lx::CertStore::Entrada& Seleccion() const { return seleccion_; }
    [[nodiscard]] const Lx::CertStore::Contexto& Contexto() const { return ctx_; }
    [[nodiscard]] unsigned ModoSello() const { return modo_; }
    [[nodiscard]] const std::string& Paginas() const { return paginas_; }

    bool OnInit() override;
    void OnTimer(unsigned id) override;
    void OnSetFocus() override;
    void OnKillFocus() override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;

    // Lists anew. Nothing is selected afterwards.
    void Recargar();
    void ActualizarOpts();
    void OnLista(int indice);
    void OnActivar(int indice);
    void OnActualizar();
    void OnSelSello(int indice);
    void OnEnterLista(const std::string& texto);
    void OnEnterPkcs12(const std::string& texto);
    void OnExaminar();
    void OnAceptar();
    void OnCancelar();

  private:
    void MontarLista();
    void MontarSello();
    void MontarBotones();
    void MontarPkcs12();
    Lx::CLabel* Etiqueta(const std::string& texto, const Lx::Rect& donde, Orvanta::Paleta::Rol color, int tamano);
    void TomarPkcs12();
    void Seleccionar(int fila);
    void MostrarEstado(const std::string& texto);

    Orvanta::Paleta::Colores paleta_;
    std::string documento_;
    Lx::CertStore::Contexto ctx_;
    std::vector<Lx::CertStore::Entrada> entradas_;
    Lx::CertStore::Entrada seleccion_;
    bool haySeleccion_ = false;
    std::string resumen_;
    unsigned modo_ = 1;
    std::string paginas_;

    Lx::CListView* lista_ = nullptr;
    Lx::CLabel* estado_ = nullptr;
    Lx::CLabel* detalle_ = nullptr;  // all of the status, for when it is longer than its label
    Lx::CButton* firmar_ = nullptr;
    Lx::CComboBox* sello_ = nullptr;
    Lx::CEdit* edicionPaginas_ = nullptr;
    Lx::CLabel* etiquetaPaginas_ = nullptr;
    Lx::CEdit* rutaPkcs12_ = nullptr;
    Lx::CEdit* clavePkcs12_ = nullptr;
};
