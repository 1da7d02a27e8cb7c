// Every control in every state.
#pragma once

#include <string>

#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxDialog.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"
#include "ui/LxPdfView.h"
#include "ui/LxWindow.h"

namespace Lx {

// A line of what happened, on standard output when the log is on.
void Anotar(const char* formato, ...) __attribute__((format(printf, 1, 2)));
extern bool g_anotar;

// Asks for a text; closes with its button, with Escape or with the title bar's unless the box is empty.
class CDialogoMuestra : public CDialog {
  public:
    explicit CDialogoMuestra(CWindow* duena);
    bool OnInit() override;
    bool OnClose() override;
    void OnKeyDown(KeyCode key, unsigned modifiers) override;

  private:
    void OnAceptar();
    void OnEnter(const std::string& texto);

    CEdit* texto_ = nullptr;
};

// A notice, as assistive tools know one.
class CNota : public CLabel {
  public:
    using CLabel::CLabel;
    [[nodiscard]] AccessibleInfo Accessibility() const override {
        AccessibleInfo info = CLabel::Accessibility();
        info.role = AccessibleRole::Notification;
        return info;
    }
};

class CGaleria : public CWindow {
  public:
    explicit CGaleria(std::string documento);
    ~CGaleria() override;
    bool OnInit() override;
    bool OnClose() override;
    void OnDestroy() override;
    void OnTimer(unsigned id) override;
    void OnSize(unsigned flags, const Size& size) override;
    void OnLButtonDown(unsigned modifiers, const Point& pt) override;
    void OnRButtonDown(unsigned modifiers, const Point& pt) override;
    void OnMouseDoubleClick(unsigned modifiers, const Point& pt) override;
    void OnMouseMove(unsigned modifiers, const Point& pt) override;
    void OnMouseWheel(unsigned modifiers, int delta, const Point& pt) override;
    void OnKeyDown(KeyCode key, unsigned modifiers) override;
    void OnKeyUp(KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    void OnSetFocus() override;
    void OnKillFocus() override;
    void OnShortcut(char letter, unsigned modifiers) override;
    void OnContextMenu(const Point& pt) override;
    void OnDropFile(const std::string& path) override;
    [[nodiscard]] bool AcceptsFiles() const override { return true; }

  private:
    void PonerBotones();
    void PonerEdiciones();
    void PonerListas();
    void PonerPagina();
    CLabel* Titulo(const char* texto, int x, int y);
    CButton* Boton(const char* texto, int columna, int fila);
    void Vigilar();
    void Estado(const std::string& texto);
    void OnPulsado();
    void OnMarcado();
    void OnDialogo();
    void OnFichero();
    void OnMenu();
    void OnImprimir();
    void Elegir(const char* titulo, bool guardar);
    void OnEdicion(const std::string& texto);
    void OnCombo(int indice);
    void OnFila(int indice);
    void OnPagina(int pagina, int total);

    std::string documento_;
    CButton* marcado_ = nullptr;
    CEdit* edicion_ = nullptr;
    CLabel* estado_ = nullptr;
    CLabel* nota_ = nullptr;
    CPdfView* pagina_ = nullptr;
    bool cerrable_ = true;
};

}  // namespace Lx
