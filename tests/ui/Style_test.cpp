#include "ui/LxButton.h"
#include "ui/LxStyle.h"
#include "ui/LxTheme.h"
#include "ui/LxWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/apoyo/Apoyo.h"

namespace {

using Lx::Color;
using Lx::CStyleSheet;

std::string Escrito(const Color& c) {
    return std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + "," + std::to_string(c.a);
}

TEST(Estilo, ReadsColours) {
    const Apoyo::Filas<const char*, const char*> casos = {
        {"green", "0,128,0,255"},
        {"#0A0", "0,170,0,255"},
        {"#1122334", "17,34,51,255"},
        {"#1g2x3z", "16,32,48,255"},
        {"#12345", "0,0,0,255"},
        {"rgba(9,89,204,1)", "9,89,204,255"},
        {"rgba(0,0,0,0.5)", "0,0,0,127"},
        {"rgb(0,0,0,0.5)", "0,0,0,0"},
        {"RGBA(1,2,3,1)", "1,2,3,1"},
        {"rgb(300,-1,256)", "44,255,0,255"},
        {"rgb( 10\t20 , 30.9 )", "10,20,30,255"},
        {"lo que sea(1,2,3)", "1,2,3,255"},
        {"rgb(10,x,30,40)", "10,0,0,255"},
        {"rgb(1e30,-1e30,4294967297)", "0,0,0,255"},
        {"rgb(1e999,nan,-inf)", "0,0,0,255"},
    };
    for (const auto& [texto, esperado] : casos) {
        EXPECT_EQ(Escrito(CStyleSheet::ParseColor(texto)), esperado) << texto;
    }
}

// Index of the alternative, then the value as ToCSS writes it.
TEST(Estilo, TellsTheTypeOfADeclaration) {
    const Apoyo::Filas<const char*, size_t, const char*> casos = {
        {"k:#fff", 0, "rgba(255,255,255,1.00)"},
        {"k:rgba(1,2,3,0.5)", 0, "rgba(1,2,3,0.50)"},
        {"k : red ;", 0, "rgba(255,0,0,1.00)"},
        {"k:true", 4, "true"},
        {"k:'Liberation Sans'", 3, "Liberation Sans"},
        {"k:\"a", 3, ""},
        {"k:13", 1, "13"},
        {"k:-.25", 2, "-0.25"},
        {"k:1.2.3", 3, "1.2.3"},
        {"k:4294967297", 1, "1"},
        {"k:a:b", 3, "a:b"},
        {"k:1;k:2", 1, "2"},
        {"K:2;k:1", 1, "1"},
    };
    for (const auto& [css, tipo, escrito] : casos) {
        SCOPED_TRACE(css);
        const CStyleSheet hoja = CStyleSheet::Parse(css);
        const Lx::StyleValue valor = hoja.GetProperty("k", int32_t{-99});
        EXPECT_EQ(valor.index(), tipo);
        CStyleSheet sola;
        sola.SetProperty("k", valor);
        EXPECT_EQ(sola.ToCSS(), std::string("k: ") + escrito + "; ");
    }
    EXPECT_EQ(CStyleSheet::Parse("shadow-color: 13").ToCSS(), "shadow-color: rgba(0,0,0,1.00); ");
}

TEST(Estilo, GivesTheDefaultForAnotherType) {
    CStyleSheet hoja = CStyleSheet::Parse("entero:13;real:13.5;si:true;texto:yellow;font-size:20");
    hoja.ParseCSS("font-size:13.5");
    EXPECT_EQ(hoja.GetInt("entero", 1), 13);
    EXPECT_EQ(hoja.GetInt("font-size", 12), 12);
    EXPECT_EQ(hoja.GetFloat("real", 1), 13.5F);
    EXPECT_EQ(hoja.GetFloat("entero", 1), 1.0F);
    EXPECT_TRUE(hoja.GetBool("si", false));
    EXPECT_TRUE(hoja.GetBool("entero", true));
    EXPECT_EQ(hoja.GetString("si", "no"), "no");
    EXPECT_EQ(hoja.GetColor("texto", {}), (Color{255, 255, 0, 255})) << "a string is read as a colour";
    EXPECT_EQ(hoja.GetColor("entero", {1, 2, 3, 4}), (Color{1, 2, 3, 4}));
    EXPECT_FALSE(hoja.HasProperty("otra"));
    EXPECT_TRUE(CStyleSheet::ParseBool("yes") && CStyleSheet::ParseBool("1") && !CStyleSheet::ParseBool("True"));
    EXPECT_EQ(CStyleSheet::ParseFloat(" 1.5e1px"), 15.0F);
    EXPECT_EQ(CStyleSheet::ParseFloat("1" + std::string(400, '0')), std::numeric_limits<float>::infinity());
    EXPECT_EQ(CStyleSheet::ParseFloat("0." + std::string(400, '0') + "1"), 0.0F);
}

// WCAG 2.1, 1.4.3: text against what is behind it. Disabled controls are left out there too.
TEST(Estilo, BothSetsCanBeRead) {
    using enum Lx::ColorRole;
    const auto luz = [](const Color& c) {
        const auto lineal = [](uint8_t parte) {
            const double s = parte / 255.0;
            return s <= 0.04045 ? s / 12.92 : std::pow((s + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * lineal(c.r) + 0.7152 * lineal(c.g) + 0.0722 * lineal(c.b) + 0.05;
    };
    for (const Lx::ThemeSet set : {Lx::ThemeSet::Light, Lx::ThemeSet::Dark}) {
        for (const auto& [texto, fondo] : Lx::TextPairs()) {
            const double a = luz(Lx::ThemeColor(texto, set)), b = luz(Lx::ThemeColor(fondo, set));
            EXPECT_GE(std::max(a, b) / std::min(a, b), 4.5)
                << static_cast<size_t>(texto) << " on " << static_cast<size_t>(fondo);
        }
    }
    // What is made from now on takes the other set, and labels find out what they lie on.
    Lx::CWindow antes;
    Lx::CButton* boton = antes.AddButton("", {});
    boton->style.Get(Lx::ButtonState::Checked).SetProperty("color", Color{1, 2, 3, 255});
    Lx::SetTheme(Lx::ThemeSet::Dark);
    // What was made before follows when it is told, but for what is its own.
    antes.OnThemeChanged();
    boton->OnThemeChanged();
    EXPECT_EQ(antes.backColor, Lx::ThemeColor(Window, Lx::ThemeSet::Dark));
    EXPECT_EQ(Lx::InThemeNow({1, 2, 3, 255}, {Window}), (Color{1, 2, 3, 255}));
    EXPECT_EQ(boton->style.Get(Lx::ButtonState::Checked).GetColor("color", {}), (Color{1, 2, 3, 255}));
    EXPECT_EQ(boton->style.Get(Lx::ButtonState::Hover).GetColor("background-color", {}),
              Lx::ThemeColor(ButtonHover, Lx::ThemeSet::Dark));
    const Lx::CWindow ventana;
    EXPECT_LT(Lx::Luminance(ventana.backColor), Lx::kDarkBelow);
    const CStyleSheet& hoja = Lx::CStyleManager::Instance().DefaultButtonStyle().Get(Lx::ButtonState::Normal);
    EXPECT_EQ(hoja.GetColor("color", {}), Lx::ThemeColor(ButtonText, Lx::ThemeSet::Dark));
    Lx::SetTheme(Lx::ThemeSet::Light);
}

}  // namespace
