#include <gmock/gmock.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/Testigo.h"
#include "ui/LxLabel.h"

namespace {

using Lx::EventType;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// a and b side by side, 100 by 100 each; b lies at x 100 and the window goes on to the right and below.
class Enrutado : public testing::Test {
  protected:
    bool Raton(EventType tipo, int x, int y) { return Falso::Raton(ventana, tipo, x, y); }
    Registro Tomar() { return std::exchange(registro, {}); }

    Falso::Aplicacion app;
    Registro registro;
    VentanaTestigo ventana{registro};
    Testigo* a = ventana.Poner("a", {0, 0, 100, 100});
    Testigo* b = ventana.Poner("b", {100, 0, 100, 100});
};

TEST_F(Enrutado, WhatNobodyConsumesReachesTheWindow) {
    a->consume = false;
    ventana.SetFocusControl(a);
    const struct {
        EventType tipo;
        uint8_t boton;
        Registro esperado;
    } casos[] = {
        {EventType::MouseMove, 0, {"a MouseMove 5,6", "OnMouseMove 2 5 6"}},
        {EventType::MouseDown, 0, {"a MouseDown 5,6", "OnLButtonDown 2 5 6"}},
        {EventType::MouseUp, 0, {"a MouseUp 5,6", "OnLButtonUp 2 5 6"}},
        {EventType::MouseDown, 1, {"a MouseDown 5,6", "OnRButtonDown 2 5 6"}},
        {EventType::MouseUp, 1, {"a MouseUp 5,6", "OnRButtonUp 2 5 6"}},
        {EventType::MouseDoubleClick, 0, {"a MouseDoubleClick 5,6", "OnMouseDoubleClick 2 5 6"}},
        {EventType::MouseWheel, 0, {"a MouseWheel 5,6", "OnMouseWheel 2 -3 5 6"}},
        {EventType::KeyDown, 0, {"a KeyDown", "OnKeyDown 79 2"}},
        {EventType::Char, 0, {"a Char", "OnChar 79"}},
        {EventType::SetFocus, 0, {"a SetFocus", "OnSetFocus"}},
        // Text and edit commands are for controls alone, shortcuts for the window alone.
        {EventType::Text, 0, {"a Text"}},
        {EventType::Command, 0, {"a Command"}},
        {EventType::Shortcut, 0, {"OnShortcut 79 2"}},
        {EventType::Scroll, 0, {"a Scroll"}},
        {EventType::Zoom, 0, {"a Zoom"}},
        {EventType::ContextMenu, 0, {"a ContextMenu", "OnContextMenu 5 6"}},
    };
    for (const auto& caso : casos) {
        SCOPED_TRACE(static_cast<int>(caso.tipo));
        Lx::Event ev;
        ev.type = caso.tipo;
        ev.pt = {5, 6};
        ev.button = caso.boton;
        ev.key = 'O';
        ev.modifiers = Lx::kControl;
        ev.wheelDelta = -3;
        // What a control consumed goes no further, whatever it is.
        if (caso.esperado.size() > 1) {
            a->consume = true;
            ventana.RouteEvent(ev);
            EXPECT_THAT(Tomar(), ElementsAre(caso.esperado[0]));
            a->consume = false;
            ventana.capture = caso.tipo == EventType::MouseUp ? a : nullptr;
        }
        ventana.RouteEvent(ev);
        EXPECT_EQ(Tomar(), caso.esperado);
    }
}

TEST_F(Enrutado, TheTopmostControlThatTakesInputIsHit) {
    Testigo* encima = ventana.Poner("encima", {50, 0, 100, 100});
    ventana.AddLabel("etiqueta", {0, 0, 200, 100});
    const Apoyo::Filas<int, int, bool, bool, const Lx::CControl*> casos = {
        {50, 0, true, true, encima},    {149, 99, true, true, encima}, {49, 0, true, true, a},  {150, 0, true, true, b},
        {60, 100, true, true, nullptr}, {60, 5, false, true, a},       {160, 5, true, true, b}, {60, 5, true, false, a},
    };
    for (const auto& [x, y, visible, enabled, esperado] : casos) {
        encima->visible = visible;
        encima->enabled = enabled;
        EXPECT_EQ(ventana.HitTest({x, y}), esperado) << x << "," << y;
    }
}

TEST_F(Enrutado, APressMovesTheFocusAndCapturesUntilTheRelease) {
    Raton(EventType::MouseDown, 10, 10);
    Raton(EventType::MouseMove, 150, 10);
    Raton(EventType::MouseWheel, 150, 10);
    Raton(EventType::MouseUp, 150, 10);
    EXPECT_THAT(Tomar(), ElementsAre("a SetFocus", "a MouseDown 10,10", "a MouseMove 150,10", "a MouseWheel 150,10",
                                     "a MouseUp 150,10"));
    EXPECT_EQ(ventana.hover, nullptr) << "no hover while the mouse is captured";

    // Again on the focused one: no focus events. A second quick click is a press too.
    Falso::DobleClic(ventana, 10, 10);
    Falso::DobleClic(ventana, 150, 10);
    EXPECT_THAT(Tomar(), ElementsAre("a MouseDown 10,10", "a MouseUp 10,10", "a MouseDoubleClick 10,10",
                                     "a MouseUp 10,10", "a KillFocus", "b SetFocus", "b MouseDown 150,10",
                                     "b MouseUp 150,10", "b MouseDoubleClick 150,10", "b MouseUp 150,10"));

    // With whichever button.
    for (const uint8_t boton : {Lx::kRightButton, Lx::kMiddleButton}) {
        Falso::Raton(ventana, EventType::MouseDown, 150, 10, boton);
        Falso::Raton(ventana, EventType::MouseUp, 10, 10, boton);
        EXPECT_THAT(Tomar(), ElementsAre("b MouseDown 150,10", "b MouseUp 10,10"));
    }
}

TEST_F(Enrutado, TheControlThatThePointerLeavesIsTold) {
    Raton(EventType::MouseMove, 10, 10);
    Raton(EventType::MouseMove, 150, 10);
    Raton(EventType::MouseMove, 160, 10);
    Raton(EventType::MouseMove, Lx::kOutside.x, Lx::kOutside.y);
    EXPECT_THAT(Tomar(), ElementsAre("a MouseMove 10,10", "a MouseMove 150,10", "b MouseMove 150,10",
                                     "b MouseMove 160,10", "b MouseMove -9999,-9999", "OnMouseMove 0 -9999 -9999"));
    EXPECT_EQ(ventana.hover, nullptr);
    // One that was taken away meanwhile is not.
    Raton(EventType::MouseMove, 10, 10);
    ventana.RemoveControl(a, false);
    Tomar();
    Raton(EventType::MouseMove, 150, 10);
    EXPECT_THAT(Tomar(), ElementsAre("b MouseMove 150,10"));
    ventana.AddControl(a);
}

TEST_F(Enrutado, TheOverlayIsOfferedMouseEventsFirst) {
    Testigo* lista = ventana.Poner("lista", {0, 0, 0, 0});
    ventana.SetFocusControl(a);
    ventana.SetOverlayControl(lista);
    Raton(EventType::MouseDown, 150, 10);
    Falso::Tecla(ventana, Lx::KeyCode::Enter);
    EXPECT_THAT(Tomar(), ElementsAre("lista MouseDown 150,10", "a KeyDown", "a KeyUp"));
    lista->consume = false;
    Raton(EventType::MouseDown, 150, 10);
    EXPECT_THAT(Tomar(), ElementsAre("lista MouseDown 150,10", "a KillFocus", "b SetFocus", "b MouseDown 150,10"));
    // What lies under an open list doesn't scroll, nor does what was pressed.
    Raton(EventType::Scroll, 150, 10);
    ventana.SetOverlayControl(nullptr);
    Raton(EventType::Scroll, 10, 10);
    EXPECT_THAT(Tomar(), ElementsAre("lista Scroll", "a Scroll"));
    ventana.SetOverlayControl(lista);
    // A release ends the capture even where the overlay takes it.
    lista->consume = true;
    Raton(EventType::MouseUp, 150, 10);
    EXPECT_EQ(ventana.capture, nullptr);
    lista->visible = false;
    Tomar();
    Raton(EventType::MouseMove, 150, 10);
    EXPECT_THAT(Tomar(), ElementsAre("b MouseMove 150,10"));
}

TEST_F(Enrutado, TabGoesRoundTheControlsThatTakeInput) {
    a->consume = b->consume = false;
    ventana.AddLabel("etiqueta", {});
    Testigo* c = ventana.Poner("c", {});
    Testigo* oculto = ventana.Poner("oculto", {});
    c->consume = oculto->consume = false;
    oculto->visible = false;
    const Apoyo::Filas<Lx::CControl*, uint32_t, Lx::CControl*> casos = {
        {nullptr, 0, a},    {b, 0, c},      {c, 0, a},           {nullptr, Lx::kShift, c},
        {a, Lx::kShift, c}, {oculto, 0, a}, {a, Lx::kControl, a}};
    for (const auto& [desde, modificadores, hasta] : casos) {
        ventana.SetFocusControl(desde);
        Falso::Tecla(ventana, Lx::KeyCode::Tab, modificadores);
        EXPECT_EQ(ventana.focus, hasta);
    }
    b->consume = true;
    Falso::Tecla(ventana, Lx::KeyCode::Tab);
    EXPECT_EQ(ventana.focus, b) << "the control wanted the key";
    b->consume = false;
    ventana.alTeclear = [&] { ventana.SetFocusControl(a); };
    Falso::Tecla(ventana, Lx::KeyCode::Tab);
    EXPECT_EQ(ventana.focus, a) << "the window had its own way with the key";
}

// c goes in the middle of an event at 5,105; a release follows.
TEST_F(Enrutado, AHandlerMayDeleteAnyControl) {
    using Puntero = Lx::CControl* Lx::CWindow::*;
    constexpr auto kBaja = EventType::MouseDown, kMueve = EventType::MouseMove, kRueda = EventType::MouseWheel;
    // What of the window points at the control whose handler removes c, whether that is c itself or a, the event, when.
    const Apoyo::Filas<const char*, Puntero, bool, EventType, EventType, std::string> casos = {
        {"itself, in its press", nullptr, true, kBaja, kBaja,
         "c SetFocus;c MouseDown 5,105;c borrado;OnLButtonUp 0 5 105;"},
        {"by the one that loses the focus", &Lx::CWindow::focus, false, kBaja, EventType::KillFocus,
         "a KillFocus;c borrado;OnLButtonDown 0 5 105;OnLButtonUp 0 5 105;"},
        {"by the one that the pointer leaves", &Lx::CWindow::hover, false, kMueve, kMueve,
         "a MouseMove 5,105;c borrado;OnMouseMove 0 5 105;OnLButtonUp 0 5 105;"},
        {"the overlay itself", &Lx::CWindow::overlay, true, kRueda, kRueda,
         "c MouseWheel 5,105;c borrado;OnMouseWheel 0 0 5 105;OnLButtonUp 0 5 105;"},
    };
    for (const auto& [caso, senala, propio, evento, cuando, esperado] : casos) {
        SCOPED_TRACE(caso);
        Testigo* c = ventana.Poner("c", {0, 100, 10, 10});
        c->consume = senala == nullptr;
        ventana.focus = nullptr;
        Testigo* quien = propio ? c : a;
        quien->alRecibir = [&, cuando = cuando](EventType tipo) {
            if (tipo == cuando) ventana.RemoveControl(c, true);
        };
        if (senala) ventana.*senala = quien;
        Raton(evento, 5, 105);
        EXPECT_TRUE(ventana.capture == nullptr && ventana.hover == nullptr && ventana.overlay == nullptr);
        Raton(EventType::MouseUp, 5, 105);
        std::string visto;
        for (const std::string& linea : Tomar()) visto += linea + ";";
        EXPECT_EQ(visto, esperado);
    }
}

TEST_F(Enrutado, AControlHasOneOwner) {
    {
        VentanaTestigo otra(registro);
        otra.AddControl(a);
        EXPECT_EQ(ventana.HitTest({10, 10}), nullptr);
        otra.RemoveControl(b, true);
        EXPECT_THAT(Tomar(), IsEmpty()) << "the control of another window";
    }
    EXPECT_THAT(Tomar(), ElementsAre("a borrado"));
}

TEST_F(Enrutado, PaintsInOrderAndClipsAllButOverlays) {
    ventana.rect = {0, 0, 300, 200};
    a->encima = true;
    Testigo* oculto = ventana.Poner("oculto", {0, 0, 1, 1});
    oculto->visible = false;
    EXPECT_THAT(Falso::Pintar(ventana),
                ElementsAre("FillRect -1,-1,302,202 #f0f0f0ff", "Save", "ClipRect 100,0,100,100",
                            "FillRect 100,0,100,100 #010203ff", "Restore", "Save", "ClipRect -1,-1,302,202",
                            "FillRect 0,0,100,100 #010203ff", "Restore"));
}

}  // namespace
