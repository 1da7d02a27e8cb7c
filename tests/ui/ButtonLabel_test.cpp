#include <gmock/gmock.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/LxButton.h"
#include "ui/LxLabel.h"

namespace {

using Lx::ButtonState;
using Lx::CButton;
using Lx::EventType;
using namespace testing;

std::string Pintado(Lx::CControl& control) {
    std::string lineas;
    for (const std::string& linea : Falso::Pintar(control)) lineas += linea + ";";
    return lineas;
}

class Boton : public testing::Test {
  public:
    void Clic() { ++clics; }

  protected:
    void Al(EventType tipo, bool dentro) {
        Lx::Event ev;
        ev.type = tipo;
        ev.pt = dentro ? Lx::Point{20, 20} : Lx::kOutside;
        boton->OnEvent(ev);
        consumido = ev.handled;
    }

    Falso::Aplicacion app;
    Lx::CWindow ventana;
    CButton* boton = ventana.AddButton("Abrir", {10, 10, 100, 32});
    int clics = 0;
    bool consumido = false;
};

TEST_F(Boton, FollowsMouseAndFocus) {
    boton->OnClick<Boton>(this, &Boton::Clic);
    int paso = 0;
    const Apoyo::Filas<EventType, bool, bool, unsigned, int> casos = {
        // event, inside; consumed, state, clicks
        {EventType::MouseMove, true, true, 1, 0},
        // The pointer left without a press: the look stays.
        {EventType::MouseMove, false, false, 1, 0},
        {EventType::MouseDown, true, true, 2, 0},
        {EventType::MouseMove, false, true, 2, 0},
        {EventType::MouseUp, false, true, 0, 0},
        {EventType::MouseDoubleClick, true, true, 2, 0},
        {EventType::MouseUp, true, true, 0, 1},
        {EventType::MouseDown, false, false, 0, 1},
        {EventType::MouseUp, true, false, 0, 1},
        {EventType::SetFocus, true, true, 3, 1},
        {EventType::MouseDown, true, true, 2, 1},
        {EventType::KillFocus, true, true, 0, 1},
        {EventType::KeyDown, true, false, 0, 1},
    };
    for (const auto& [tipo, dentro, suyo, estado, veces] : casos) {
        SCOPED_TRACE(++paso);
        Al(tipo, dentro);
        EXPECT_EQ(consumido, suyo);
        EXPECT_EQ(static_cast<unsigned>(boton->state), estado);
        EXPECT_EQ(clics, veces);
    }
}

TEST_F(Boton, TogglesOnlyWhenCheckable) {
    boton->OnClick<Boton>(this, &Boton::Clic);
    boton->SetChecked(true);
    EXPECT_FALSE(boton->checked);
    boton->checkable = true;
    Al(EventType::MouseDown, true);
    Al(EventType::MouseUp, true);
    EXPECT_EQ(boton->state, ButtonState::Checked);
    EXPECT_THAT(Falso::Pintar(*boton), Contains("FillRoundRect 10,10,100,32 6 #0959ccff"));
    Al(EventType::MouseMove, true);
    EXPECT_EQ(boton->state, ButtonState::CheckedHover);
    Al(EventType::MouseDown, true);
    EXPECT_EQ(boton->state, ButtonState::CheckedPressed);
    // Disabled meanwhile: the release doesn't click.
    boton->SetEnabled(false);
    EXPECT_EQ(boton->state, ButtonState::Disabled);
    Al(EventType::MouseUp, true);
    EXPECT_EQ(clics, 1);
    EXPECT_FALSE(boton->DoAccessibleAction(Lx::AccessibleAction::Press, "", 0));
    boton->SetEnabled(true);
    EXPECT_TRUE(boton->DoAccessibleAction(Lx::AccessibleAction::Press, "", 0));
    EXPECT_EQ(clics, 2);
    EXPECT_FALSE(boton->Accessibility().checked);
    boton->enabled = false;
    EXPECT_THAT(Falso::Pintar(*boton), Contains("FillRoundRect 10,10,100,32 6 #f5f5f7ff")) << "set without a call";
}

TEST_F(Boton, MayBeDeletedByItsOwnClick) {
    std::string visto;
    boton->onClick = [this, &visto, largo = std::string(100, 'x')] {
        ventana.RemoveControl(boton, true);
        visto = largo;
    };
    Falso::Clic(ventana, 20, 20);
    EXPECT_EQ(visto, std::string(100, 'x'));
    EXPECT_TRUE(ventana.controls.empty());
}

TEST_F(Boton, DerivesHoverAndPressedFromItsStyle) {
    const auto fondo = [this](ButtonState estado) {
        return Falso::Texto(boton->GetButtonStyle().Get(estado).GetColor("background-color", {}));
    };
    // Style, hover style (none: not called), what hover and pressed become.
    const Apoyo::Filas<const char*, const char*, std::string, std::string> casos = {
        {"background-color:rgba(240,100,0,0.5)", nullptr, "#ff76127f", "#da4e007f"},
        {"color:red", nullptr, "#e7ecf5ff", "#d6deedff"},
        // An empty hover style follows normal, in the calls that come too.
        {"background-color:#102030", "", "#102030ff", "#000a1aff"},
        {"background-color:#405060", nullptr, "#405060ff", "#405060ff"},
        // An explicit one stays.
        {"background-color:#405060", "background-color:#010203", "#010203ff", "#405060ff"},
        {"background-color:#ffffff", nullptr, "#010203ff", "#405060ff"},
    };
    for (const auto& [css, sobre, flotando, pulsado] : casos) {
        boton->SetStyle(css);
        if (sobre != nullptr) boton->SetHoverStyle(sobre);
        EXPECT_EQ(fondo(ButtonState::Hover), flotando) << css;
        EXPECT_EQ(fondo(ButtonState::Pressed), pulsado) << css;
    }
    EXPECT_EQ(fondo(ButtonState::CheckedHover), "#010203ff");
}

// "Abrir" is 35 pixels wide, 40 in bold.
TEST_F(Boton, PaintsFillBorderTextAndRing) {
    const Apoyo::Filas<const char*, bool, bool, std::string> casos = {
        {"background-color:#ffffff;border-radius:0;border-width:2.5;font-family:'Serif';font-weight-bold:true", false,
         true,
         "FillRect 10,10,100,32 #ffffffff;DrawRect 10,10,100,32 #b4b4b4ff 2.5;"
         "DrawText \"Abrir\" 40,17 #0d182cff Serif 14 bold;DrawRect 12,12,96,28 #0078d7ff 1.5;"},
        {"border-radius:6;focus-color:#ff0000;border-color:#111111;font-style-italic:true", false, true,
         "FillRoundRect 10,10,100,32 6 #dcdcdcff;DrawRoundRect 10,10,100,32 6 #111111ff 1;"
         "DrawText \"Abrir\" 42,17 #0d182cff system 14 italic;DrawRoundRect 12,12,96,28 4 #ff0000ff 1.5;"},
        {"background-color:#202020;border-width:0", false, true,
         "FillRoundRect 10,10,100,32 4 #202020ff;DrawText \"Abrir\" 42,17 #ffffffff system 14;"},
        {"background-color:transparent", true, false, "DrawText \"Abrir\" 42,17 #ffffffff system 14;"},
        {"border-width:1", true, false,
         "FillRect 10,10,100,32 #dcdcdcff;DrawText \"Abrir\" 42,17 #0d182cff system 14;"},
    };
    ventana.SetBackColor({20, 20, 20, 255});
    for (const auto& [css, plano, foco, esperado] : casos) {
        boton->SetStyle(css);
        boton->SetFlat(plano);
        Al(foco ? EventType::SetFocus : EventType::KillFocus, true);
        EXPECT_EQ(Pintado(*boton), esperado) << css;
    }
    Al(EventType::MouseMove, true);
    EXPECT_THAT(Falso::Pintar(*boton), Contains("DrawRect 10,10,100,32 #b4b4b4ff 1")) << "flat, but hovered";
    ventana.SetBackColor({0, 0, 0, 0});
    boton->SetStyle("background-color:transparent");
    boton->hovered = false;
    EXPECT_EQ(Pintado(*boton), "DrawText \"Abrir\" 42,17 #0d182cff system 14;") << "nothing behind counts as light";
    EXPECT_EQ(boton->ToolTip({}), "");
    boton->SetText("Abrir un documento");
    EXPECT_EQ(Pintado(*boton), "DrawText \"Abrir un doc…\" 14,17 #0d182cff system 14;");
    EXPECT_EQ(boton->ToolTip({}), "Abrir un documento");
}

TEST_F(Boton, TheRingFollowsTheFocusOfTheWindow) {
    const auto aro = Contains("DrawRoundRect 12,12,96,28 4 #0078d7ff 1.5");
    boton->SetStyle("border-radius:6");
    ventana.SetFocusControl(boton);
    EXPECT_THAT(Falso::Pintar(*boton), aro) << "given without an event";
    Al(EventType::SetFocus, true);
    ventana.SetFocusControl(ventana.AddButton("Otro", {}));
    EXPECT_THAT(Falso::Pintar(*boton), Not(aro)) << "taken without an event";
    ventana.SetFocusControl(boton);
    boton->enabled = false;
    EXPECT_THAT(Falso::Pintar(*boton), Not(aro));
}

// Lines are 17 pixels high and 7 pixels wide per character. The text reads on what is behind it.
TEST(Etiqueta, PlacesItsLines) {
    constexpr Lx::Rect kLinea = {0, 0, 100, 17}, kTres = {0, 0, 100, 71}, kEstrecha = {0, 5, 11, 30},
                       kMedia = {0, 0, 60, 34};
    const Apoyo::Filas<const char*, const char*, Lx::Rect, int, std::string> casos = {
        {"uno\r\n\ndos", "text-align:right", kTres, 140,
         "DrawText \"uno\" 79,10 #1e1e1eff system 13;DrawText \"dos\" 79,44 #1e1e1eff system 13;"},
        {"a\nb", "text-align:center;font-weight-bold:true;font-size:20", kEstrecha, 139,
         "DrawText \"a\" 1,5 #ebeef4ff system 20 bold;DrawText \"b\" 1,29 #ebeef4ff system 20 bold;"},
        {"Añó", "background-color:#102030;font-family:Serif;font-style-italic:true", kLinea, 255,
         "FillRect 0,0,100,17 #102030ff;DrawText \"Añó\" 0,0 #ebeef4ff Serif 13 italic;"},
        {"uno y medio\ndos", "text-align:right", kMedia, 255,
         "DrawText \"uno y m…\" 4,0 #1e1e1eff system 13;DrawText \"dos\" 39,17 #1e1e1eff system 13;"},
        {"x", "text-align:center;text-align:otra;color:#123456", kLinea, 0, "DrawText \"x\" 0,0 #123456ff system 13;"},
    };
    const Falso::Aplicacion app;
    for (const auto& [texto, css, donde, fondo, esperado] : casos) {
        Lx::CWindow ventana;
        const auto gris = static_cast<uint8_t>(fondo);
        ventana.SetBackColor({gris, gris, gris, 255});
        Lx::CLabel* etiqueta = ventana.AddLabel(texto, donde);
        etiqueta->SetStyle(css);
        EXPECT_EQ(Pintado(*etiqueta), esperado) << texto;
        // What isn't seen whole is told: a line too wide, lines too many.
        const bool entera = esperado.find("…") == std::string::npos && donde != kEstrecha;
        EXPECT_EQ(etiqueta->ToolTip({}), entera ? "" : texto);
        etiqueta->SetStyle("color:transparent");
        etiqueta->enabled = false;
        EXPECT_THAT(Falso::Pintar(*etiqueta).back(), HasSubstr("#96969bff"));
    }
}

}  // namespace
