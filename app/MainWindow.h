// The main window: opens a document, pages through it and signs it.
#pragma once

#include <string>

#include "app/Aviso.h"
#include "app/Paleta.h"
#include "certstore/LxCertStore.h"
#include "signer/LxPdfSigner.h"
#include "ui/LxWindow.h"

class CMainWindow : public Lx::CWindow {
  public:
    CMainWindow();
    // The remembered secrets are wiped.
    ~CMainWindow() override;

    // The document to open first; before Create. Empty: the welcome document.
    void PonerDocumentoInicial(const std::string& ruta) { inicial_ = ruta; }

    bool OnInit() override;
    bool OnClose() override;
    void OnSize(unsigned flags, const Lx::Size& size) override;
    void OnPaint(Lx::CCanvas* canvas) override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    void OnShortcut(char letter, unsigned modifiers) override;
    void OnDropFile(const std::string& path) override;
    [[nodiscard]] bool AcceptsFiles() const override;

    void OnAbrir();
    void OnFirmar();
    void OnPrimero();
    void OnAnterior();
    void OnSiguiente();
    void OnUltimo();
    void OnIrHoja(const std::string& texto);
    // The view shows page `actual` of `total`.
    void OnPagina(int actual, int total);

    void CargarDocumento(const std::string& ruta);
    // Writes the position into the page edit and enables the buttons that lead somewhere.
    void PonerHoja();
    // What is not an error leaves the open document's path in the status line.
    void MostrarEstado(const std::string& texto, bool error);
    [[nodiscard]] static std::string RutaSalida(const std::string& ruta);

  private:
    struct Peticion;

    void MontarBotones();
    void MontarEstado();
    void CargarInicial();
    void Abrir(const std::string& ruta);
    void PonerEstado(const std::string& texto, const Lx::Color& color);
    [[nodiscard]] bool HayDocumento() const;
    [[nodiscard]] bool ElegirCertificado(Peticion& p);
    [[nodiscard]] bool PedirPin(Peticion& p, bool rechazado);
    [[nodiscard]] bool FirmarDocumento(Peticion& p);
    void ContarResultado(const LxPdfSigner::Resultado& r, const std::string& salida);
    [[nodiscard]] bool PreguntarClave(const std::string& almacen, int intento, bool ultimo, std::string& clave);

    Orvanta::Paleta::Colores paleta_;
    std::string inicial_;
    std::string documento_;
    int pagina_ = 0;
    int paginas_ = 0;
    Lx::CertStore::Contexto recordado_;  // what the last accepted dialog ended with

    Lx::CPdfView* visor_ = nullptr;
    Lx::CButton* abrir_ = nullptr;
    Lx::CButton* firmar_ = nullptr;
    Lx::CButton* primero_ = nullptr;
    Lx::CButton* anterior_ = nullptr;
    Lx::CEdit* hoja_ = nullptr;
    Lx::CButton* siguiente_ = nullptr;
    Lx::CButton* ultimo_ = nullptr;
    Lx::CLabel* estado_ = nullptr;
    Lx::CLabel* credito_ = nullptr;
    CAviso* aviso_ = nullptr;
};
