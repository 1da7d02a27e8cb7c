#include <gmock/gmock.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxListView.h"

namespace {

using namespace Falso;
using Lx::EventType;
using Lx::KeyCode;
using namespace testing;

class VentanaTestigo : public Lx::CWindow {
  public:
    void OnKeyDown(KeyCode key, unsigned /*modifiers*/) override { teclas.push_back(key); }
    std::vector<KeyCode> teclas;
};

class Controles : public testing::Test {
  public:
    void Elegido(int indice) { avisos.push_back(indice); }
    void Activado(int indice) { activados.push_back(indice); }
    void Pulsado() { ++pulsaciones; }

  protected:
    template <class T>
    T* Poner(T* control, const Lx::Rect& donde) {
        control->rect = donde;
        ventana.AddControl(control);
        return control;
    }

    Falso::Aplicacion app;
    VentanaTestigo ventana;
    std::vector<int> avisos;
    std::vector<int> activados;
    int pulsaciones = 0;
};

class Combo : public Controles {
  protected:
    Combo() {
        ventana.rect = {0, 0, 400, 400};
        ventana.AddButton("Debajo", {10, 40, 200, 200})->OnClick<Controles>(this, &Controles::Pulsado);
        combo->SetItems({"Primera", "Todas", "Ultima", "Ñandú", "toda otra"});
        combo->OnSelectionChanged<Controles>(this, &Controles::Elegido);
        combo->SetSelected(0);
    }

    Lx::CComboBox* combo = Poner(new Lx::CComboBox, {10, 10, 200, 28});
};

// The items stand 28 pixels apart, from 3 + 4 below the box.
constexpr int kPrimera = 10 + 28 + 7 + 14;

TEST_F(Combo, APressOpensAndTheClickOnAnItemIsAllItsOwn) {
    Clic(ventana, 50, 20);
    EXPECT_TRUE(combo->IsOpen() && combo->IsOverlayPaint());
    EXPECT_EQ(ventana.overlay, combo);
    Clic(ventana, 50, kPrimera + 28);
    EXPECT_FALSE(combo->IsOpen() || combo->IsOverlayPaint());
    EXPECT_EQ(ventana.overlay, nullptr);
    EXPECT_THAT(avisos, ElementsAre(1));
    Raton(ventana, EventType::MouseDown, 50, 20);
    Raton(ventana, EventType::MouseMove, 50, kPrimera + 56);
    EXPECT_THAT(Falso::Pintar(ventana), Contains(HasSubstr(",101,192,28 4 #e1ecfcff")));
    Raton(ventana, EventType::MouseUp, 50, kPrimera + 56);
    EXPECT_THAT(avisos, ElementsAre(1, 2));
    EXPECT_EQ(ventana.capture, nullptr);
    EXPECT_EQ(pulsaciones, 0);
    Clic(ventana, 50, kPrimera);
    EXPECT_EQ(pulsaciones, 1);
}

TEST_F(Combo, APressElsewhereOnlyCloses) {
    auto* otro = ventana.AddButton("Al lado", {220, 10, 80, 28});
    otro->OnClick<Controles>(this, &Controles::Pulsado);
    for (const int x : {230, 50}) {
        SCOPED_TRACE(x);
        Clic(ventana, 50, 20);
        ASSERT_TRUE(combo->IsOpen());
        Clic(ventana, x, 20);
        EXPECT_FALSE(combo->IsOpen());
    }
    Falso::DobleClic(ventana, 50, 20);
    EXPECT_FALSE(combo->IsOpen());
    EXPECT_EQ(pulsaciones, 0);
    EXPECT_THAT(avisos, IsEmpty());
}

TEST_F(Combo, Keys) {
    // Keys, then letters; what is chosen, which keys reach the window. It is shut then.
    const Apoyo::Filas<std::vector<std::pair<KeyCode, uint32_t>>, const char*, int, std::vector<KeyCode>> casos = {
        {{{KeyCode::Down, 0}}, "", 1, {}},
        {{{KeyCode::Escape, 0}, {KeyCode::Enter, 0}}, "", 0, {KeyCode::Escape, KeyCode::Enter}},
        {{{KeyCode::F4, 0}, {KeyCode::Down, 0}, {KeyCode::Escape, 0}}, "", 0, {}},
        {{{KeyCode::Down, Lx::kOption}, {KeyCode::Down, 0}, {KeyCode::Enter, 0}}, "", 1, {}},
        {{{KeyCode::F4, 0}, {KeyCode::Down, 0}, {KeyCode::Tab, 0}}, "", 0, {KeyCode::Tab}},
        {{}, " t ", 1, {}},  // opens and takes
        {{}, "tT", 4, {}},   // in turn
        {{}, "Ñ", 3, {}},
    };
    for (const auto& [teclas, letras, elegido, queda] : casos) {
        SCOPED_TRACE(testing::PrintToString(elegido) + letras);
        ventana.SetFocusControl(combo);
        combo->SetSelected(0);
        avisos.clear();
        ventana.teclas.clear();
        for (const auto& [tecla, modificadores] : teclas) Tecla(ventana, tecla, modificadores);
        Teclear(ventana, letras);
        std::erase(ventana.teclas, KeyCode::Unknown);
        EXPECT_FALSE(combo->IsOpen());
        EXPECT_EQ(combo->GetSelected(), elegido);
        EXPECT_EQ(avisos.empty(), elegido == 0);
        EXPECT_EQ(ventana.teclas, queda);
    }
    EXPECT_FALSE(Rueda(ventana, 50, 20, -1));
}

TEST_F(Combo, TheListStaysInTheWindow) {
    const std::string largo(60, 'x');
    combo->SetItems({largo, std::string(23, 'y')});
    for (const auto& [cual, texto] : {std::pair<int, std::string>{0, largo}, {1, ""}}) {
        combo->SetSelected(cual);
        EXPECT_EQ(combo->ToolTip({50, 20}), texto);
    }
    Clic(ventana, 50, 20);
    EXPECT_EQ(combo->ToolTip({50, kPrimera}), largo);
    Tecla(ventana, KeyCode::Escape);
    ventana.RemoveControl(ventana.HitTest({50, 100}), true);
    combo->SetItems(std::vector<std::string>(100, "elemento"));
    // Nine items below, above, seven that fit.
    const Apoyo::Filas<int, const char*> casos = {{10, "FillRoundRect 10,41,200,260 6 #ffffffff"},
                                                  {300, "FillRoundRect 10,37,200,260 6 #ffffffff"},
                                                  {150, "FillRoundRect 10,181,200,204 6 #ffffffff"}};
    for (const auto& [y, lista] : casos) {
        combo->rect.y = y;
        combo->SetSelected(99);
        Clic(ventana, 50, y + 5);
        EXPECT_THAT(Falso::Pintar(ventana), Contains(lista));
        Tecla(ventana, KeyCode::Escape);
    }
}

class Lista : public Controles {
  protected:
    Lista() {
        ventana.rect = {0, 0, 500, 400};
        lista->AddColumn("Certificado", 100);
        lista->AddColumn("Origen", 0);
        lista->OnSelectionChanged<Controles>(this, &Controles::Elegido);
        ventana.SetFocusControl(lista);
    }
    std::string Primera() {
        for (const std::string& linea : Falso::Pintar(*lista))
            if (linea.find("\" 24,51") != std::string::npos) return linea.substr(10, linea.find('"', 10) - 10);
        return "";
    }
    void Llenar(int cuantos) {
        for (int i = 0; i < cuantos; ++i) lista->AddItem({"nombre " + std::to_string(i), "DNIe", "en la tarjeta"});
    }

    // Ten rows of 30 pixels, the first at y = 45.
    Lx::CListView* lista = Poner(new Lx::CListView, {10, 10, 400, 340});
};

TEST_F(Lista, MouseSelectsAndActivates) {
    lista->OnActivate<Controles>(this, &Controles::Activado);
    Llenar(3);
    Clic(ventana, 50, 20);
    Clic(ventana, 50, 45 + 3 * 30);
    EXPECT_EQ(lista->GetSelected(), -1);
    Clic(ventana, 50, 45 + 30);
    // Quick clicks on two rows are no double click.
    Raton(ventana, EventType::MouseDoubleClick, 50, 45);
    Raton(ventana, EventType::MouseUp, 50, 45);
    EXPECT_THAT(avisos, ElementsAre(1, 0));
    EXPECT_THAT(activados, IsEmpty());
    Falso::DobleClic(ventana, 50, 45 + 60);
    Raton(ventana, EventType::MouseDoubleClick, 50, 45 + 60);
    EXPECT_THAT(activados, ElementsAre(2));
}

TEST_F(Lista, KeysSelectAndScrollIntoView) {
    const Apoyo::Filas<KeyCode, int, const char*> casos = {
        {KeyCode::Down, 0, "nombre 0"},  {KeyCode::Up, 0, "nombre 0"},         {KeyCode::PageDown, 9, "nombre 0"},
        {KeyCode::Down, 10, "nombre 1"}, {KeyCode::PageDown, 19, "nombre 10"}, {KeyCode::End, 99, "nombre 90"},
        {KeyCode::Up, 98, "nombre 90"},  {KeyCode::PageUp, 89, "nombre 89"},   {KeyCode::Home, 0, "nombre 0"},
    };
    Llenar(100);
    for (const auto& [tecla, elegido, primera] : casos) {
        SCOPED_TRACE(primera);
        EXPECT_TRUE(Tecla(ventana, tecla));
        EXPECT_EQ(lista->GetSelected(), elegido);
        EXPECT_EQ(Primera(), primera);
    }
    EXPECT_FALSE(Tecla(ventana, KeyCode::Enter));
    lista->OnActivate<Controles>(this, &Controles::Activado);
    EXPECT_TRUE(Tecla(ventana, KeyCode::Enter));
    EXPECT_THAT(activados, ElementsAre(0));
}

TEST_F(Lista, WheelAndThumbScroll) {
    Llenar(5);
    EXPECT_FALSE(Rueda(ventana, 50, 100, -1));
    Llenar(95);
    EXPECT_TRUE(Rueda(ventana, 50, 100, -2));
    EXPECT_EQ(Primera(), "nombre 1");  // the second five begin anew
    Rueda(ventana, 50, 100, 5);
    Raton(ventana, EventType::MouseDown, 398, 50);
    Raton(ventana, EventType::MouseMove, 450, 53);
    EXPECT_EQ(Primera(), "nombre 1");
    Raton(ventana, EventType::MouseMove, 450, 390);
    EXPECT_EQ(Primera(), "nombre 85");
    Raton(ventana, EventType::MouseUp, 450, 390);
    Raton(ventana, EventType::MouseMove, 398, 50);
    EXPECT_EQ(Primera(), "nombre 85");
    // The track: a page towards the press, and nothing but the track.
    const Apoyo::Filas<int, int, std::string> filas = {
        {398, 60, "nombre 77"}, {398, 340, "nombre 85"}, {398, 50, "nombre 77"}};
    for (const auto& [x, y, arriba] : filas) {
        Clic(ventana, x, y);
        EXPECT_EQ(Primera(), arriba);
    }
    EXPECT_THAT(avisos, IsEmpty());
    Clic(ventana, 380, 60);
    EXPECT_THAT(avisos, ElementsAre(82));  // "nombre 77" of the second ones
}

TEST_F(Lista, CardsShowTitledTextsAndExtras) {
    lista->SetMode(Lx::CListView::kCards);
    Llenar(1);
    lista->AddItem({std::string(100, 'n'), std::string(100, 'o')});
    const auto dibujo = Falso::Pintar(*lista);
    EXPECT_THAT(dibujo, Contains(HasSubstr("DrawText \"nombre 0\" 28,")));
    EXPECT_THAT(dibujo, Contains(HasSubstr("DrawText \"Origen: \" 28,")));
    EXPECT_THAT(dibujo, Contains(HasSubstr("DrawText \"" + std::string(44, 'n') + "…\"")));
    EXPECT_EQ(lista->ToolTip({50, 110}), std::string(100, 'n'));
    EXPECT_EQ(lista->ToolTip({120, 135}), std::string(100, 'o'));
    EXPECT_EQ(lista->ToolTip({50, 40}), "");
    Clic(ventana, 50, 10 + 5 + 72 + 5);
    EXPECT_EQ(lista->GetSelected(), 1);
    const Lx::AccessibleInfo info = lista->Accessibility();
    ASSERT_EQ(info.items.size(), 2U);
    EXPECT_EQ(info.items[0].name, "nombre 0, Origen: DNIe, en la tarjeta");
    EXPECT_TRUE(info.items[1].selected);
    lista->DimItem(0, "caducó ayer");
    EXPECT_EQ(lista->Accessibility().items[0].description, "caducó ayer");
    const std::string gris = Falso::Texto(Lx::ThemeColor(Lx::ColorRole::QuietText));
    EXPECT_THAT(Falso::Pintar(*lista),
                Contains(testing::MatchesRegex("DrawText \"nombre 0\" 28,[0-9]+ " + gris + ".*")));
}

// A dialog's handler may take its controls away.
TEST_F(Controles, HandlersMayDeleteTheirControl) {
    ventana.rect = {0, 0, 400, 400};
    auto* combo = Poner(new Lx::CComboBox, {10, 10, 200, 28});
    combo->SetItems({"a", "b"});
    combo->onSelectionChanged = [&](int /*indice*/) { ventana.RemoveControl(combo, true); };
    Clic(ventana, 50, 20);
    Clic(ventana, 50, kPrimera);
    EXPECT_EQ(ventana.overlay, nullptr);
    for (const bool doble : {false, true}) {
        auto* lista = Poner(new Lx::CListView, {10, 10, 300, 200});
        lista->AddItem({"uno"});
        auto quitar = [this, lista](int /*indice*/) { ventana.RemoveControl(lista, true); };
        (doble ? lista->onActivate : lista->onSelectionChanged) = quitar;
        Falso::DobleClic(ventana, 50, 20);
    }
    EXPECT_THAT(ventana.controls, IsEmpty());
}

}  // namespace
