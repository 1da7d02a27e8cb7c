// A control and a window that write down what reaches them.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/ui/apoyo/Falso.h"
#include "ui/LxDialog.h"

using Registro = std::vector<std::string>;

// "a MouseDown 10,5"; only mouse events tell a point.
class Testigo : public Lx::CControl {
  public:
    Testigo(Registro& registro, std::string nombre, const Lx::Rect& donde)
        : registro_(registro), nombre_(std::move(nombre)) {
        rect = donde;
    }
    ~Testigo() override { registro_.push_back(nombre_ + " borrado"); }

    void OnEvent(Lx::Event& ev) override {
        constexpr const char* kTipos[] = {"None",       "MouseMove",  "MouseDown", "MouseUp",  "MouseDoubleClick",
                                          "MouseWheel", "KeyDown",    "KeyUp",     "Char",     "SetFocus",
                                          "KillFocus",  "Text",       "Command",   "Shortcut", "Scroll",
                                          "Zoom",       "ContextMenu"};
        registro_.push_back(
            nombre_ + " " + kTipos[static_cast<size_t>(ev.type)] +
            (Lx::IsMouseEvent(ev.type) ? " " + std::to_string(ev.pt.x) + "," + std::to_string(ev.pt.y) : ""));
        EXPECT_FALSE(ev.handled) << "what was consumed before is no business of this control";
        ev.handled = consume;
        // A copy: the action may delete the control.
        const auto accion = alRecibir;
        if (accion) accion(ev.type);
    }
    void OnThemeChanged() override { registro_.push_back(nombre_ + " tema"); }
    void OnPaint(Lx::CCanvas* canvas) override { canvas->FillRect(rect, {1, 2, 3, 255}); }
    [[nodiscard]] bool IsOverlayPaint() const override { return encima; }
    using Lx::CControl::HasFocus;

    bool consume = true;
    bool encima = false;
    std::function<void(Lx::EventType)> alRecibir;

  private:
    Registro& registro_;
    std::string nombre_;
};

// "OnKeyDown 9 1": the handler and its numbers.
class VentanaTestigo : public Lx::CDialog {
  public:
    explicit VentanaTestigo(Registro& registro, Lx::CWindow* duena = nullptr) : CDialog(duena), registro_(registro) {
        keepAppOnClose = false;
    }

    Testigo* Poner(const std::string& nombre, const Lx::Rect& donde) {
        auto* testigo = new Testigo(registro_, nombre, donde);
        AddControl(testigo);
        return testigo;
    }

    bool OnInit() override { return inicia; }
    bool OnClose() override {
        Apuntar("OnClose");
        return cierra;
    }
    void OnDestroy() override {
        Apuntar("OnDestroy");
        CDialog::OnDestroy();
    }
    void OnTimer(unsigned id) override { Apuntar("OnTimer", {id}); }
    void OnSize(unsigned flags, const Lx::Size& s) override { Apuntar("OnSize", {flags, s.cx, s.cy}); }
    void OnMove(const Lx::Point& p) override { Apuntar("OnMove", {p.x, p.y}); }
    void OnLButtonDown(unsigned m, const Lx::Point& p) override { Apuntar("OnLButtonDown", {m, p.x, p.y}); }
    void OnLButtonUp(unsigned m, const Lx::Point& p) override { Apuntar("OnLButtonUp", {m, p.x, p.y}); }
    void OnRButtonDown(unsigned m, const Lx::Point& p) override { Apuntar("OnRButtonDown", {m, p.x, p.y}); }
    void OnRButtonUp(unsigned m, const Lx::Point& p) override { Apuntar("OnRButtonUp", {m, p.x, p.y}); }
    void OnMouseMove(unsigned m, const Lx::Point& p) override { Apuntar("OnMouseMove", {m, p.x, p.y}); }
    void OnMouseWheel(unsigned m, int d, const Lx::Point& p) override { Apuntar("OnMouseWheel", {m, d, p.x, p.y}); }
    void OnMouseDoubleClick(unsigned m, const Lx::Point& p) override { Apuntar("OnMouseDoubleClick", {m, p.x, p.y}); }
    void OnKeyDown(Lx::KeyCode k, unsigned m) override {
        Apuntar("OnKeyDown", {static_cast<int>(k), m});
        if (alTeclear) alTeclear();
    }
    void OnKeyUp(Lx::KeyCode k, unsigned m) override { Apuntar("OnKeyUp", {static_cast<int>(k), m}); }
    void OnChar(unsigned ch) override { Apuntar("OnChar", {ch}); }
    void OnSetFocus() override { Apuntar("OnSetFocus"); }
    void OnKillFocus() override { Apuntar("OnKillFocus"); }
    void OnShortcut(char letter, unsigned m) override { Apuntar("OnShortcut", {letter, m}); }
    void OnContextMenu(const Lx::Point& p) override { Apuntar("OnContextMenu", {p.x, p.y}); }
    void OnThemeChanged() override { Apuntar("OnThemeChanged"); }

    std::function<void()> alTeclear;
    bool inicia = true;
    bool cierra = true;

  private:
    void Apuntar(std::string linea, const std::vector<int64_t>& numeros = {}) {
        for (const int64_t n : numeros) linea += " " + std::to_string(n);
        registro_.push_back(linea);
    }

    Registro& registro_;
};
