// The main window: opens a document, pages through it and signs it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/Aviso.h"
#include "app/Paleta.h"
#include "app/Tarea.h"
#include "firma/LxFirmar.h"
#include "firma/LxRecuerdo.h"
#include "firma/LxVigilante.h"
#include "ui/LxDialog.h"

class CMainWindow : public Lx::CWindow {
  public:
    CMainWindow();
    // The remembered secrets are wiped.
    ~CMainWindow() override;

    // The document to open first; before Create. Empty: the welcome document.
    void PonerDocumentoInicial(const std::string& ruta) { inicial_ = ruta; }

    bool OnInit() override;
    // While a document is being signed the window closes when that has come to an end.
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

    // The program is told to end: whatever goes on is cancelled, and the window closes. A key that is in use finishes
    // its document first. On the window's thread; `alFinal` is called when that takes too long.
    void Terminar(const std::function<void()>& alFinal);
    // The way to this window for other threads.
    [[nodiscard]] const std::shared_ptr<Correo>& Buzon() const { return correo_; }

  private:
    void MontarBotones();
    void MontarEstado();
    void CargarLuego();
    void CargarInicial();
    void Abrir(const std::string& ruta);
    void PonerEstado(const std::string& texto, const Lx::Color& color);
    [[nodiscard]] bool HayDocumento() const;
    [[nodiscard]] int Preguntar(Lx::CDialog& dialogo);
    [[nodiscard]] bool Libre();
    void HacerFirma();
    [[nodiscard]] bool ElegirCertificado(Lx::Firma::Encargo& encargo);
    [[nodiscard]] Lx::Firma::Preguntas Preguntas(const std::string& quien);
    [[nodiscard]] Lx::Aviso PedirPin(const Lx::Firma::PreguntaPin& pregunta, std::string& pin);
    [[nodiscard]] bool PedirClave(const std::string& almacen, int intento, bool ultimo, std::string& clave);
    void MostrarProgreso(const Lx::Control::Estado& estado);
    void OnCancelar();
    void Recordar(const Lx::Firma::FirmarDocumentos& trabajo);
    void OlvidarPin();
    void ContarResultado(const Lx::Firma::Firmados& firmados);

    Orvanta::Paleta::Colores paleta_;
    std::string inicial_;
    bool inicio_ = false;  // the first document is being opened, or was
    std::string documento_;
    std::string carpeta_;  // where the last signed copy was put, when the person chose it
    int pagina_ = 0;
    int paginas_ = 0;
    Lx::Firma::Recuerdo recuerdo_;  // what the last accepted dialog ended with
    std::shared_ptr<Correo> correo_;
    std::unique_ptr<Lx::Firma::Vigilante> vigilante_;  // while a PIN is remembered
    CTarea tarea_;                                     // the signature
    std::string recado_;                               // what else there is to say while it goes on
    bool firmando_ = false;
    bool cerrarAlAcabar_ = false;
    std::vector<Lx::CDialog*> dialogos_;  // those that are shown, one above the other

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
