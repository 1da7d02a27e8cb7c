// The view over a document that answers when it is told to: what it asks, paints, and how it takes the user's input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "tests/ui/apoyo/Hojas.h"
#include "ui/viewer/LxDocView.h"

namespace {

using Apoyo::Filas;
using Falso::Hojas;
using Lx::EventType;
using Lx::KeyCode;
using Lx::Rect;
using Lx::Pdf::Outcome;
using Fit = Lx::ViewPlace::Fit;
using namespace testing;

// The view is 628 x 400 pixels without its bar, so that a page of 600 x 800 points is 600 x 800 pixels, with its corner
// at 24, 34 of the window.
class Visor : public testing::Test {
  protected:
    Visor() {
        ventana.rect = {0, 0, 700, 500};
        EXPECT_TRUE(ventana.Create());
        vista = new Lx::CDocView;
        vista->rect = {10, 20, 640, 400};
        ventana.AddControl(vista);
        ventana.SetFocusControl(nullptr);
        vista->onPageChanged = [this](int hoja, int cuantas) {
            cambios.push_back(std::to_string(hoja) + "/" + std::to_string(cuantas));
        };
        vista->onOpened = [this](const auto& abierto) { cambios.push_back("abierto " + abierto.sentence); };
        vista->onReloaded = [this](const auto& abierto) { cambios.push_back("otra vez " + abierto.sentence); };
        Falso::ElMundo().abrirPaginas = [this](const std::string& ruta, Lx::Pdf::OnOpened abierto) {
            rutas.push_back(ruta);
            Lx::Pdf::Opened estado{Outcome::Good, "", hojas, {}};
            estado.sizes.assign(static_cast<size_t>(std::min(hojas, 256)), {600, 800});
            auto nuevo = std::make_unique<Hojas>(estado, std::move(abierto));
            doc = nuevo.get();
            return nuevo;
        };
    }
    // Open, with everything that it asks for.
    void Abrir(int cuantas = 5) {
        hojas = cuantas;
        vista->Open("a.pdf");
        doc->Abrir();
        doc->ContestarTodo();
        doc->Tomar();
        cambios.clear();
    }
    std::vector<std::string> Pintar() { return Falso::Pintar(*vista); }
    std::vector<std::string> Hechas(const std::string& que) {
        auto lineas = Pintar();
        std::erase_if(lineas, [&](const std::string& linea) { return !linea.starts_with(que); });
        return lineas;
    }
    // As a touchpad does: client pixels towards the end.
    void Correr(float abajo, uint32_t teclas = 0, Lx::Point donde = {300, 200}) {
        Lx::Event ev;
        ev.type = EventType::Scroll;
        ev.pt = donde;
        ev.scrollY = -abajo;
        ev.modifiers = teclas;
        ventana.RouteEvent(ev);
        EXPECT_TRUE(ev.handled);
    }
    // What comes after so long.
    static void Esperar(unsigned ms) {
        auto& tareas = Falso::ElMundo().tareas;
        const auto todas = std::exchange(tareas, {});
        for (const auto& tarea : todas) tarea.ms <= ms ? tarea.hacer() : tareas.push_back(tarea);
    }

    Falso::Aplicacion app;
    std::vector<std::string> cambios, rutas;
    int hojas = 5;
    Lx::CWindow ventana;
    Lx::CDocView* vista = nullptr;
    Hojas* doc = nullptr;
};

TEST_F(Visor, PideLoQueSeVeYLoQueViene) {
    vista->Open("a.pdf");
    EXPECT_FALSE(vista->HasDocument());
    doc->Abrir();
    EXPECT_THAT(cambios, ElementsAre("0/5", "abierto "));
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 0 600 0,0,600,800", "dibujar 1 600 0,0,600,800"));
    int primera = 0;
    vista->onFirstPage = [&] { ++primera; };
    EXPECT_THAT(Hechas("DrawPixels"), IsEmpty());
    EXPECT_THAT(Hechas("FillDevice 24,34,600,386"), ElementsAre("FillDevice 24,34,600,386 #ffffffff"));
    doc->Contestar();
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 600x800 0,0,600,386 24,34,600,386"));
    EXPECT_THAT(Hechas("FillDevice 24,34,600,386"), IsEmpty()) << "no paper under a picture that covers it";
    Esperar(0);
    EXPECT_EQ(primera, 1);
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 2 600 0,0,600,800", "texto 0", "enlaces 0"));
    doc->ContestarTodo();
    EXPECT_THAT(doc->Tomar(), IsEmpty()) << "everything is there";
}

}  // namespace
