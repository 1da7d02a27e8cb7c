#include <gmock/gmock.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/Testigo.h"
#include "ui/LxButton.h"
#include "ui/LxFileDialog.h"

namespace {

using testing::ElementsAre;

TEST(Ventana, TakesADefaultTitleAndSizeAndForwardsOnceItExists) {
    const Falso::Aplicacion app;
    Lx::CWindow ventana;
    ventana.SetTitle("");
    EXPECT_FALSE(ventana.SetTimer(1, 10));
    Falso::ElMundo().aceptaVentanas = false;
    EXPECT_FALSE(ventana.Create());
    EXPECT_EQ(ventana.impl, nullptr);

    Falso::ElMundo().aceptaVentanas = true;
    Falso::ElMundo().escala = 2;
    ventana.rect = {0, 0, 0, 50};
    ASSERT_TRUE(ventana.Create());
    ventana.SetTitle("Otro");
    ventana.SetMinSize({3, 4});
    EXPECT_THAT(Falso::De(ventana).lineas, ElementsAre("Create LxWindow 800x50", "SetTitle Otro", "SetMinSize 3x4"));
    EXPECT_EQ(ventana.GetScale(), 2);
    EXPECT_FALSE(ventana.SetTimer(0, 10) || ventana.SetTimer(5, 0) || ventana.KillTimer(0));
    const int antes = Falso::De(ventana).invalidaciones;
    ventana.AddButton("", {})->Invalidate(nullptr);
    EXPECT_EQ(Falso::De(ventana).invalidaciones, antes + 2) << "one for the new control, one that it asked for";
}

TEST(Aplicacion, RunGivesTheLoopsCodeOrWhatItsEndSays) {
    struct App : Lx::LxApp {
        App() : LxApp(0, nullptr) {}
        int ExitInstance() override { return LxApp::ExitInstance() + salida; }
        int salida = 0;
    };
    // There is a display, the window starts, the code given to Quit, the application's own; what Run gives.
    const Apoyo::Filas<bool, bool, int, int, int> casos = {
        {true, true, 3, 0, 3}, {true, true, 3, 7, 7}, {false, true, 0, 7, -1}, {true, false, 0, 7, 1}};
    for (const auto& [pantalla, inicia, quit, salida, esperado] : casos) {
        SCOPED_TRACE(esperado);
        Registro registro;
        {
            Falso::Aplicacion mundo;
            Falso::ElMundo().hayPantalla = pantalla;
            App app;
            app.salida = salida;
            auto* ventana = new VentanaTestigo(registro);
            ventana->inicia = inicia;
            ventana->Poner("a", {});
            app.mainWindow = ventana;
            Falso::ElMundo().guion = {[&, codigo = quit] { codigo ? app.Quit(codigo) : app.mainWindow->Close(); }};
            EXPECT_EQ(app.Run(), esperado);
            EXPECT_EQ(Falso::ElMundo().ventanasVivas, 0);
        }
        EXPECT_THAT(registro, testing::Contains("a borrado").Times(1));
    }
    Falso::Aplicacion vacia;
    EXPECT_EQ(vacia->Run(), 1) << "without a main window";
}

TEST(Aplicacion, GoesOnUntilTheLastOfItsWindowsIsClosed) {
    Falso::Aplicacion app;
    Registro registro;
    std::vector<VentanaTestigo*> v;
    for (const char* nombre : {"a", "b", "c"}) {
        v.push_back(new VentanaTestigo(registro));
        v.back()->Poner(nombre, {});
    }
    const auto tomar = [&] { return std::exchange(registro, {}); };
    using Abiertas = std::vector<Lx::CWindow*>;
    app->mainWindow = v[0];
    Falso::ElMundo().guion = {
        [&] {
            EXPECT_TRUE(app->AddWindow(v[1]) && app->AddWindow(v[2]));
            EXPECT_EQ(app->Windows(), (Abiertas{v[0], v[1], v[2]}));
            EXPECT_EQ(Falso::De(*v[1]).lineas, (std::vector<std::string>{"Create Dialog 400x300", "Show"}));
            Falso::ElMundo().aceptaVentanas = false;
            EXPECT_FALSE(app->AddWindow(new VentanaTestigo(registro)));
            Falso::ElMundo().aceptaVentanas = true;
            v[0]->Close();
            EXPECT_EQ(app->mainWindow, nullptr);
            EXPECT_THAT(tomar(), ElementsAre("OnClose", "OnDestroy")) << "its handler may be at work";
        },
        [&] {
            EXPECT_THAT(tomar(), ElementsAre("a borrado"));
            Lx::CDialog dialogo(v[1]);
            Falso::ElMundo().guion.push_front([&] { app->ChangeTheme(Lx::ThemeSet::Dark); });
            Falso::ElMundo().guion.insert(Falso::ElMundo().guion.begin() + 1, [&] { dialogo.EndDialog(1); });
            auto* nieto = new Testigo(registro, "d", {});
            dialogo.AddControl(nieto);
            EXPECT_EQ(dialogo.DoModal(), 1);
            EXPECT_EQ(Lx::ThemeColor(Lx::ColorRole::Window), Lx::ThemeColor(Lx::ColorRole::Window, Lx::ThemeSet::Dark));
            EXPECT_GT(Falso::De(*v[2]).invalidaciones, 0);
            app->ChangeTheme(Lx::ThemeSet::Light);
            EXPECT_THAT(tomar(), ElementsAre("OnThemeChanged", "b tema", "OnThemeChanged", "c tema", "d tema",
                                             "OnThemeChanged", "b tema", "OnThemeChanged", "c tema"));
            v[2]->Close();
        },
        [&] {
            EXPECT_THAT(tomar(), ElementsAre("OnClose", "OnDestroy", "d borrado", "c borrado"));
            v[1]->Close();
        },
    };
    EXPECT_EQ(app->Run(), 0);
    EXPECT_THAT(registro, ElementsAre("OnClose", "OnDestroy", "b borrado"));
    EXPECT_TRUE(app->Windows().empty());
}

TEST(Escritorio, OpensOnlyPublicAddresses) {
    const Apoyo::Filas<std::string, bool> casos = {
        {"https://example.org/a?b#c", true},
        {"HTTP://example.org", true},
        {"mailto:ana@example.org?Subject=x&body=y", true},
        {"mailto:", false},
        {"mailto:a@example.org?subject=x&attach=/etc/passwd", false},
        {"mailto:a@example.org?%61ttach=x", false},
        {"file:///etc/passwd", false},
        {"https:///etc/passwd", false},
        {"https:", false},
        {"javascript:alert(1)", false},
        {"example.org", false},
        {"https://example.org/ -a", false},
        {"https://example.org/\n", false},
        {"https://example.org/ñ", false},
        {"https://" + std::string(8190, 'a'), false},
    };
    for (const auto& [direccion, abierta] : casos) EXPECT_EQ(Lx::IsPublicAddress(direccion), abierta) << direccion;
}

TEST(Dialogo, EndsByCodeByItsCloseButtonOrNotAtAll) {
    const Falso::Aplicacion app;
    Registro registro;
    Lx::CWindow duena;
    ASSERT_TRUE(duena.Create());
    VentanaTestigo dialogo(registro, &duena);
    dialogo.keepAppOnClose = true;
    auto* boton = dialogo.AddButton("Sí", {});

    Registro alAbrir;
    Falso::ElMundo().guion = {[&] { alAbrir = Falso::De(dialogo).lineas; }, [&] { dialogo.EndDialog(5); }};
    EXPECT_EQ(dialogo.DoModal(), 5);
    EXPECT_THAT(alAbrir, ElementsAre("Create Dialog 400x300", "Center", "Show"));
    EXPECT_EQ(boton->text, "Sí") << "the object survives";
    EXPECT_EQ(dialogo.impl, nullptr);
    EXPECT_EQ(Falso::De(duena).invalidaciones, 1);
    EXPECT_THAT(std::exchange(registro, {}), ElementsAre("OnDestroy"));

    dialogo.cierra = false;
    // The first is refused: the script goes on.
    Falso::ElMundo().guion = {[&] { dialogo.Close(); }, [&] { dialogo.cierra = true; }, [&] { dialogo.Close(); }};
    EXPECT_EQ(dialogo.DoModal(), 0);
    EXPECT_THAT(std::exchange(registro, {}), ElementsAre("OnClose", "OnClose", "OnDestroy"));

    // Closed by a key while a button is down, and shown again.
    dialogo.capture = boton;
    Falso::ElMundo().guion = {[&] { dialogo.EndDialog(dialogo.capture == nullptr ? 1 : 9); }};
    EXPECT_EQ(dialogo.DoModal(), 1);

    dialogo.inicia = false;
    EXPECT_EQ(dialogo.DoModal(), -1);
    EXPECT_EQ(Falso::ElMundo().ventanasVivas, 1) << "the owner's alone";
}

TEST(Dialogo, ScrollsAboveItsButtonsOnASmallScreen) {
    const Falso::Aplicacion app;
    Registro registro;
    VentanaTestigo dialogo(registro);
    dialogo.keepAppOnClose = true;
    Testigo* arriba = dialogo.Poner("arriba", {10, 20, 380, 30});
    Testigo* abajo = dialogo.Poner("abajo", {10, 215, 380, 30});
    auto* boton = dialogo.AddButton("Sí", {300, 260, 90, 30});
    const auto y = [&] {
        Falso::Pintar(dialogo);
        return std::vector<int>{arriba->rect.y, abajo->rect.y, boton->rect.y};
    };
    Falso::ElMundo().areaDeTrabajo = {500, 220};
    Falso::ElMundo().guion = {[&] {
        EXPECT_THAT(Falso::De(dialogo).lineas, testing::Contains("Resize 400x220"));
        EXPECT_THAT(y(), ElementsAre(20, 215, 180));
        // The line is at 252, 8 above the button, and 172 are left above it.
        EXPECT_EQ(dialogo.HitTest({350, 190}), boton);
        EXPECT_EQ(dialogo.HitTest({50, 216}), nullptr) << "what lies under the buttons isn't there";
        dialogo.SetFocusControl(abajo);
        EXPECT_THAT(y(), ElementsAre(-60, 135, 180)) << "with 8 around it, but no farther than the end";
        EXPECT_THAT(Falso::Pintar(dialogo), testing::Contains("ClipRect 0,0,400,172"));
        Falso::Rueda(dialogo, 50, 100, 1);
        EXPECT_THAT(y(), ElementsAre(-12, 183, 180));
        abajo->rect.y = 150;
        EXPECT_THAT(y(), ElementsAre(-12, 118, 180)) << "moved by the program, in a dialog of full size";
        Falso::Raton(dialogo, Lx::EventType::MouseDown, 395, 170);
        EXPECT_LT(y()[0], -12) << "a press in the bar's track";
        dialogo.EndDialog(1);
    }};
    EXPECT_EQ(dialogo.DoModal(), 1);
    EXPECT_EQ(arriba->rect, (Lx::Rect{10, 20, 380, 30}));
    EXPECT_EQ(boton->rect.y, 260);
    EXPECT_EQ(dialogo.rect.h, 300);
}

TEST(Dialogo, NestsAndTheOuterOneGoesOn) {
    const Falso::Aplicacion app;
    Registro registro;
    VentanaTestigo fuera(registro);
    VentanaTestigo dentro(registro, &fuera);
    fuera.keepAppOnClose = dentro.keepAppOnClose = true;
    Testigo* fila = fuera.Poner("fila", {0, 0, 10, 10});
    fila->alRecibir = [&](Lx::EventType tipo) {
        if (tipo == Lx::EventType::MouseDoubleClick) registro.push_back("da " + std::to_string(dentro.DoModal()));
    };
    Falso::ElMundo().guion = {[&] { Falso::Raton(fuera, Lx::EventType::MouseDoubleClick, 5, 5); },
                              // The outer one may end first: the inner one still has to.
                              [&] { fuera.EndDialog(2); }, [&] { dentro.EndDialog(1); }};
    EXPECT_EQ(fuera.DoModal(), 2);
    EXPECT_THAT(registro, ElementsAre("fila SetFocus", "fila MouseDoubleClick 5,5", "OnDestroy", "OnDestroy", "da 1"));
    EXPECT_EQ(fuera.capture, nullptr) << "the release went to the inner dialog";

    // The dialog of the desktop's splits its patterns.
    Lx::CFileDialog fichero(nullptr);
    fichero.SetFilter("*.pfx; *.p12;;");
    Falso::ElMundo().elegirFichero = [](const Lx::FileDialogRequest& pedido, std::string& ruta) {
        for (const std::string& patron : pedido.patterns) ruta += patron + "|";
        return true;
    };
    EXPECT_EQ(fichero.DoModal(), 1);
    EXPECT_EQ(fichero.GetPath(), "*.pfx|*.p12|");
}

}  // namespace
