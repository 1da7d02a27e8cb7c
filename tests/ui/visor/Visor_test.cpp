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

TEST_F(Visor, CorrerSoloCopia) {
    Abrir();
    Correr(100.5F);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 600x800 0,86,600,400 24,20,600,400"));
    Correr(0.5F);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 600x800 0,87,600,400 24,20,600,400")) << "halves add up";
    Falso::Rueda(ventana, 300, 200, -2);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 600x800 0,167,600,400 24,20,600,400"));
    Falso::Rueda(ventana, 300, 200, 5000);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 600x800 0,47,600,400 24,20,600,400"));
    Correr(120);
    EXPECT_THAT(doc->Tomar(), IsEmpty()) << "nothing is drawn anew";
    // Into the next page: what comes then is asked for, and two are under way at most.
    Correr(600);
    EXPECT_THAT(cambios, ElementsAre("1/5"));
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 3 600 0,0,600,800", "texto 1", "enlaces 1"));
    Correr(2400);
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 4 600 0,0,600,800"));
    // A jump leaves behind what nobody needs any more.
    ventana.SetFocusControl(vista);
    Falso::Tecla(ventana, KeyCode::Home);
    EXPECT_THAT(doc->Tomar(), ElementsAre(StartsWith("cancelar"), StartsWith("cancelar")));
}

TEST_F(Visor, EscalasQueNoSonEnteras) {
    // Window pixels are 1.25 device pixels: every edge lies on a whole one, and nothing is scaled.
    Falso::ElMundo().escala = 1.25;
    Abrir();
    EXPECT_EQ(Lx::CDocView::FirstWidth(vista->rect, 1.25), 748);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 748x997 0,0,748,482 31,43,748,482"));
    // Another screen: what is there stands in until what is sharp has come.
    Falso::ElMundo().escala = 2;
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 748x997 0,0,748,482 48,68,1200,774"));
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 0 1200 0,0,1200,1600", "dibujar 1 1200 0,0,1200,1600"));
    doc->Contestar();
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre("DrawPixels 1200x1600 0,0,1200,772 48,68,1200,772"));
}

TEST_F(Visor, ElZoomNoMueveLoQueSeSenala) {
    Abrir();
    // The point of the page under each of these stays there.
    for (const Lx::Point donde : {Lx::Point{30, 40}, {600, 40}, {300, 400}, {600, 400}}) {
        vista->SetPlace({});
        Correr(300);
        const auto x = static_cast<float>(donde.x - 24), y = static_cast<float>(donde.y - 34 + 300);
        const Lx::Pdf::Box punto{x, y, x + 1, y + 1};
        EXPECT_EQ(vista->RectOf(0, punto), (Rect{donde.x, donde.y, 1, 1}));
        Correr(-277.26F, Lx::kControl, donde);  // doubles it
        const Rect despues = vista->RectOf(0, punto);
        EXPECT_NEAR(despues.x, donde.x, 2) << donde.x << "," << donde.y;
        EXPECT_NEAR(despues.y, donde.y, 2) << donde.x << "," << donde.y;
        EXPECT_NEAR(vista->GetZoom(), 1.5, 0.01);
        EXPECT_EQ(vista->GetFit(), Fit::Free);
    }
}

TEST_F(Visor, ElZoomEsperaAQueAcabenLosPasos) {
    Abrir();
    vista->ZoomBy(1);
    EXPECT_NEAR(vista->GetZoom(), 0.9, 1e-9);
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 0 720 0,0,720,960", "dibujar 1 720 0,0,720,960"));
    vista->ZoomBy(1);
    vista->ZoomBy(1);
    EXPECT_NEAR(vista->GetZoom(), 1.1, 1e-9);
    Falso::ElMundo().tareas[Falso::ElMundo().tareas.size() - 2].hacer();
    EXPECT_THAT(doc->Tomar(), IsEmpty()) << "while there are more steps, nothing is begun";
    EXPECT_THAT(Hechas("DrawPixels 600x800"), SizeIs(1)) << "what is there is shown larger";
    Esperar(90);
    EXPECT_THAT(doc->Tomar(), ElementsAre(StartsWith("cancelar"), StartsWith("cancelar"), "dibujar 0 880 0,0,880,1173",
                                          "dibujar 1 880 0,0,880,1173"));
    vista->SetZoom(99);
    EXPECT_EQ(vista->GetZoom(), 8);
    vista->ZoomBy(-50);
    EXPECT_EQ(vista->GetZoom(), 0.1);
    vista->SetFit(Fit::Width);
    EXPECT_NEAR(vista->GetZoom(), 0.75, 1e-9);
}

TEST_F(Visor, SinNadaQueMostrar) {
    EXPECT_THAT(Hechas("DrawText"), ElementsAre(StartsWith("DrawText \"Sin documento PDF cargado.\"")));
    vista->Open("a.pdf");
    doc->Abrir();
    EXPECT_THAT(Hechas("DrawText"), IsEmpty());
    Esperar(299);
    EXPECT_THAT(Hechas("DrawText"), IsEmpty()) << "no word about waiting before it is long";
    Esperar(300);
    EXPECT_THAT(Hechas("DrawText"), ElementsAre(StartsWith("DrawText \"Dibujando la pagina...\"")));
    doc->fallo = Outcome::BadSize;
    doc->Contestar();
    EXPECT_THAT(Hechas("DrawText"), ElementsAre(StartsWith("DrawText \"La pagina tiene un tamano invalido.\"")));
    doc->Tomar();
    Correr(1);
    EXPECT_THAT(doc->Tomar(), Not(Contains(StartsWith("dibujar 0")))) << "it isn't asked again and again";
    for (const int hoja : {4, 0}) vista->SetCurrentPage(hoja);
    EXPECT_THAT(doc->Tomar(), Contains(StartsWith("dibujar 0"))) << "but when the reader comes back to it";
    // What can't be opened takes what was shown with it.
    vista->Open("roto.pdf");
    EXPECT_TRUE(vista->HasDocument());
    doc->listo = {Outcome::Damaged, "Roto.", 0, {}};
    cambios.clear();
    doc->Abrir();
    EXPECT_THAT(cambios, ElementsAre("-1/0", "abierto Roto."));
    EXPECT_THAT(Hechas("DrawText"), ElementsAre(StartsWith("DrawText \"Roto.\"")));
    EXPECT_EQ(vista->Pages(), nullptr);
}

TEST_F(Visor, ConClave) {
    vista->Open("a.pdf");
    doc->clave = "si";
    const Lx::Pdf::Opened buena = doc->listo;
    doc->listo.outcome = Outcome::Locked;
    doc->Abrir();
    EXPECT_FALSE(vista->HasDocument());
    EXPECT_FALSE(vista->IsOpening());
    for (const bool acierta : {false, true}) {
        vista->Unlock(acierta ? "si" : "no");
        EXPECT_TRUE(vista->IsOpening());
        doc->Contestar();
        EXPECT_EQ(vista->HasDocument(), acierta);
    }
    EXPECT_EQ(vista->GetPath(), "a.pdf");
}

TEST_F(Visor, OtraVezSinDestello) {
    Abrir();
    Correr(1000);
    const Lx::ViewPlace sitio = vista->GetPlace();
    const auto antes = Hechas("DrawPixels");
    doc->Tomar();
    vista->Reload();
    EXPECT_EQ(Hechas("DrawPixels"), antes);
    doc->Abrir();
    EXPECT_EQ(vista->GetPlace(), sitio);
    EXPECT_EQ(Hechas("DrawPixels"), antes) << "the old picture stays until the new one is there";
    EXPECT_THAT(doc->Tomar(), Contains("dibujar 1 600 0,0,600,800"));
    doc->ContestarTodo();
    EXPECT_EQ(Hechas("DrawPixels"), antes);
    EXPECT_THAT(cambios, Contains("otra vez "));
    // What can't be opened any more stays as it is.
    Hojas* const viejo = doc;
    vista->Replace("b.pdf");
    doc->listo = {Outcome::Damaged, "Roto.", 0, {}};
    doc->Abrir();
    EXPECT_EQ(vista->Pages(), viejo);
    EXPECT_EQ(cambios.back(), "otra vez Roto.");
    EXPECT_EQ(vista->GetPath(), "a.pdf");
    EXPECT_EQ(Hechas("DrawPixels"), antes);
    EXPECT_THAT(rutas, ElementsAre("a.pdf", "a.pdf", "b.pdf"));
    vista->Close();
    EXPECT_FALSE(vista->HasDocument());
    EXPECT_EQ(cambios.back(), "-1/0");
}

TEST_F(Visor, CienMilHojas) {
    hojas = 100'000;
    vista->Open("a.pdf");
    doc->medida = {600, 400};
    doc->Abrir();
    doc->ContestarTodo();
    EXPECT_EQ(doc->Tomar().back(), "medidas 16128 256") << "while there is nothing to draw; no more of them than that";
    ventana.SetFocusControl(vista);
    Falso::Tecla(ventana, KeyCode::End);
    EXPECT_EQ(vista->GetCurrentPage(), 99'999);
    EXPECT_THAT(doc->Tomar(), ElementsAre("medidas 99840 160")) << "nothing is drawn before its size is known";
    vista->SetCurrentPage(50'000);
    const Rect antes = vista->RectOf(50'000, {0, 0, 600, 100});
    doc->Contestar();
    EXPECT_THAT(doc->Tomar(), ElementsAre("medidas 49920 256"));
    EXPECT_EQ(vista->RectOf(50'000, {0, 0, 600, 100}).y, antes.y) << "pages far away have moved, not this one";
    doc->Contestar();
    EXPECT_EQ(vista->RectOf(50'000, {0, 0, 600, 100}).y, antes.y);
    EXPECT_EQ(vista->GetCurrentPage(), 50'000);
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 50000 600 0,0,600,400", "dibujar 49999 600 0,0,600,400"));
    EXPECT_LT(Hechas("").size(), 40U);
    // A place that was remembered, while all of it is guessed.
    const Lx::ViewPlace sitio{70'000, 0.25, 0, 2, Fit::Free};
    vista->SetPlace(sitio);
    doc->ContestarTodo();
    EXPECT_EQ(vista->GetPlace().page, 70'000);
    EXPECT_NEAR(vista->GetPlace().down, 0.25, 0.01);
}

TEST_F(Visor, TeclasYHojas) {
    Abrir();
    ventana.SetFocusControl(vista);
    const Filas<KeyCode, int, int, bool> teclas{{KeyCode::PageDown, 1, 2, true}, {KeyCode::PageUp, 1, 0, true},
                                                {KeyCode::End, 1, 4, true},      {KeyCode::Home, 3, 0, true},
                                                {KeyCode::PageDown, 4, 4, true}, {KeyCode::Left, 1, 1, false}};
    for (const auto& [tecla, antes, despues, atendida] : teclas) {
        for (const bool sola : {false, true}) {
            vista->SetSingle(sola);
            EXPECT_TRUE(vista->SetCurrentPage(antes));
            EXPECT_EQ(Falso::Tecla(ventana, tecla), atendida);
            EXPECT_EQ(vista->GetCurrentPage(), despues) << static_cast<int>(tecla) << sola;
        }
    }
    EXPECT_FALSE(vista->SetCurrentPage(5));
    // One page at a time: past its end comes the next, at its start, and back at the end.
    vista->SetSingle(true);
    vista->SetFit(Fit::Page);
    vista->SetCurrentPage(1);
    for (const auto& [por, hoja] : {std::pair(30, 1), {15, 2}, {-40, 1}, {-40, 0}, {-80, 0}}) {
        Correr(static_cast<float>(por));
        EXPECT_EQ(vista->GetCurrentPage(), hoja) << por;
    }
    // So many small pages that the last can't reach the top: each of them can be gone to all the same.
    vista->SetSingle(false);
    vista->SetZoom(0.1);
    EXPECT_EQ(vista->GetCurrentPage(), 0) << "the first of those that are seen as much";
    for (const int hoja : {4, 3}) {
        vista->SetCurrentPage(hoja);
        EXPECT_EQ(vista->GetCurrentPage(), hoja);
    }
}

// A page of two columns, 20 letters of 10 x 10 points in each line: "a" at 60,100, its column to the bottom first.
Lx::Pdf::PageText DosColumnas(int32_t hoja) {
    const std::vector<std::string> lineas{"uno dos, tres", "cuatro cinco", "seis siete", "ocho nueve"};
    Lx::Pdf::PageText texto;
    for (size_t i = 0; i < lineas.size(); ++i) {
        float x = i < 2 ? 60.0F : 330.0F;
        const float y = i % 2 == 0 ? 100.0F : 120.0F;
        for (const char letra : lineas[i] + std::to_string(hoja)) {
            texto.glyphs.push_back({static_cast<char32_t>(letra), {x, y, x + 10, y + 10}});
            x += 10;
        }
        texto.glyphs.push_back({'\n', {}});
    }
    return texto;
}

class VisorTexto : public Visor {
  protected:
    VisorTexto() {
        hojas = 5;
        vista->Open("a.pdf");
        doc->texto = DosColumnas;
        doc->enlaces = {{{60, 200, 160, 220}, {Lx::Pdf::Target::Kind::Page, 3, 100, ""}},
                        {{60, 240, 160, 260}, {Lx::Pdf::Target::Kind::Address, 0, -1, "https://a.b/c"}}};
        doc->Abrir();
        doc->ContestarTodo();
        doc->Tomar();
        cambios.clear();
    }
    // The window's point over a point of page 0, which is shown at its own size, scrolled to its start.
    static Lx::Point En(int x, int y) { return {x + 24, y + 34}; }
    void Arrastrar(Lx::Point desde, Lx::Point hasta, uint8_t boton = Lx::kLeftButton, uint32_t teclas = 0) {
        Falso::Raton(ventana, EventType::MouseDown, desde.x, desde.y, boton, teclas);
        Falso::Raton(ventana, EventType::MouseMove, (desde.x + hasta.x) / 2, (desde.y + hasta.y) / 2, boton, teclas);
        Falso::Raton(ventana, EventType::MouseMove, hasta.x, hasta.y, boton, teclas);
        Falso::Raton(ventana, EventType::MouseUp, hasta.x, hasta.y, boton, teclas);
    }
};

TEST_F(VisorTexto, SeleccionaEnOrdenDeLectura) {
    // From, to, what is selected: to the left half of a letter it isn't part of it.
    const Filas<Lx::Point, Lx::Point, std::string> casos{
        {En(61, 105), En(88, 105), "uno"},
        {En(88, 105), En(61, 105), "uno"},
        {En(101, 105), En(121, 125), "dos, tres0\ncuatro"},
        {En(131, 127), En(349, 105), "cinco0\nse"},  // into the second column: not across both
        {En(331, 105), En(459, 140), "seis siete0\nocho nueve0"},
        {En(88, 105), En(1, 1), "uno"},  // what has no place on the page is nowhere near
        {En(61, 105), En(61, 105), ""},
    };
    for (const auto& [desde, hasta, texto] : casos) {
        Arrastrar(desde, hasta);
        EXPECT_EQ(vista->SelectedText(), texto) << desde.x << "," << desde.y;
    }
    Arrastrar(En(131, 127), En(349, 105));
    EXPECT_THAT(Hechas("FillDevice"),
                IsSupersetOf({"FillDevice 154,154,60,10 #2676ec52", "FillDevice 354,134,20,10 #2676ec52"}));
    // Words, lines, and on from there by the same.
    const auto clics = [&](Lx::Point donde, int cuantos) {
        Falso::Clic(ventana, donde.x, donde.y);
        for (int i = 1; i < cuantos; ++i) {
            Falso::Raton(ventana, EventType::MouseDoubleClick, donde.x, donde.y);
            Falso::Raton(ventana, EventType::MouseUp, donde.x, donde.y);
        }
        return vista->SelectedText();
    };
    EXPECT_EQ(clics(En(112, 105), 2), "dos");
    EXPECT_EQ(clics(En(132, 105), 2), ",");
    EXPECT_EQ(clics(En(112, 105), 3), "uno dos, tres0");
    std::string copiado;
    EXPECT_TRUE(Falso::Orden(ventana, Lx::EditCommand::Copy, &copiado));
    EXPECT_EQ(copiado, "uno dos, tres0");
    EXPECT_EQ(clics(En(300, 380), 1), "") << "a press where nothing is forgets the selection";
}

TEST_F(VisorTexto, TodoYACopiar) {
    ventana.SetFocusControl(vista);
    EXPECT_TRUE(Falso::Orden(ventana, Lx::EditCommand::SelectAll));
    EXPECT_TRUE(vista->HasSelection());
    EXPECT_EQ(vista->SelectedText(), "") << "the text of most pages isn't there yet";
    EXPECT_TRUE(Falso::Orden(ventana, Lx::EditCommand::Copy));
    doc->ContestarTodo();
    EXPECT_EQ(Apoyo::Cuenta(Falso::ElMundo().portapapeles, "uno dos"), 5U);
    EXPECT_THAT(Falso::ElMundo().portapapeles, EndsWith("ocho nueve4\n"));
}

TEST_F(VisorTexto, ArrastraDondeNoHayTexto) {
    const Filas<uint8_t, uint32_t, Lx::Point, bool> casos{{Lx::kLeftButton, 0, En(300, 380), true},
                                                          {Lx::kMiddleButton, 0, En(70, 105), true},
                                                          {Lx::kLeftButton, Lx::kSpaceHeld, En(70, 105), true},
                                                          {Lx::kLeftButton, 0, En(70, 105), false}};
    for (const auto& [boton, teclas, desde, mueve] : casos) {
        vista->SetPlace({});
        Arrastrar(desde, {desde.x + 60, desde.y - 60}, boton, teclas);
        EXPECT_EQ(vista->RectOf(0, {0, 100, 600, 110}).y, mueve ? 74 : 134);
        EXPECT_EQ(vista->HasSelection(), !mueve);
    }
}

TEST_F(VisorTexto, Enlaces) {
    std::vector<std::string> direcciones;
    vista->onAddress = [&](const std::string& direccion) { direcciones.push_back(direccion); };
    EXPECT_EQ(vista->ToolTip(En(70, 210)), "Página 4");
    EXPECT_EQ(vista->ToolTip(En(70, 250)), "https://a.b/c");
    EXPECT_EQ(vista->ToolTip(En(70, 300)), "");
    const Filas<Lx::Point, Lx::CursorShape> punteros{{En(70, 210), Lx::CursorShape::Hand},
                                                     {En(70, 105), Lx::CursorShape::Text},
                                                     {En(300, 380), Lx::CursorShape::Arrow}};
    for (const auto& [donde, forma] : punteros) {
        Falso::Raton(ventana, EventType::MouseMove, donde.x, donde.y);
        EXPECT_EQ(vista->Cursor(), forma);
    }
    Falso::Clic(ventana, En(70, 250).x, En(70, 250).y);
    EXPECT_THAT(direcciones, ElementsAre("https://a.b/c"));
    Arrastrar(En(70, 210), En(70, 300));
    EXPECT_EQ(vista->GetCurrentPage(), 0) << "a link that is pulled isn't followed";
    vista->SetPlace({});
    const Lx::ViewPlace antes = vista->GetPlace();
    Falso::Clic(ventana, En(70, 210).x, En(70, 210).y);
    EXPECT_EQ(vista->RectOf(3, {0, 100, 600, 110}).y, 34) << "the target, below the margin";
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Left, Lx::kOption));
    EXPECT_EQ(vista->GetPlace(), antes);
    EXPECT_TRUE(vista->GoForward());
    EXPECT_EQ(vista->GetCurrentPage(), 3);
    EXPECT_FALSE(vista->GoForward());
    EXPECT_TRUE(vista->GoBack());
    vista->GoTo({Lx::Pdf::Target::Kind::Page, 2, -1, ""});
    EXPECT_FALSE(vista->GoForward()) << "there is another way on";
}

TEST_F(VisorTexto, ConElTeclado) {
    std::vector<std::string> direcciones;
    vista->onAddress = [&](const std::string& direccion) { direcciones.push_back(direccion); };
    ventana.SetFocusControl(vista);
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Tab));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Tab));
    EXPECT_THAT(Hechas("FillDevice"), Contains("FillDevice 79,269,110,3 #0959ccdc"));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Enter));
    EXPECT_THAT(direcciones, ElementsAre("https://a.b/c"));
    EXPECT_FALSE(Falso::Tecla(ventana, KeyCode::Tab)) << "behind the last link comes the next control";
    EXPECT_FALSE(Falso::Tecla(ventana, KeyCode::Enter));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Tab, Lx::kShift));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Tab, Lx::kShift));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Enter));
    EXPECT_EQ(vista->GetCurrentPage(), 3);
    // A tap of the space bar goes on by nine tenths of the view; held down, or while a page is pulled, by nothing.
    vista->SetPlace({});
    const Filas<int, bool, int> espacios{{1, false, 306 - 360 + 34}, {2, false, 334}, {1, true, 334}};
    for (const auto& [veces, tira, alto] : espacios) {
        vista->SetPlace({});
        Falso::Teclear(ventana, std::string(static_cast<size_t>(veces), ' '));
        if (tira) Arrastrar(En(300, 380), En(310, 380), Lx::kLeftButton, Lx::kSpaceHeld);
        Lx::Event ev;
        ev.type = EventType::KeyUp;
        ventana.RouteEvent(ev);
        EXPECT_EQ(vista->RectOf(0, {0, 300, 600, 800}).y, std::max(20, alto)) << veces << tira;
    }
}

TEST_F(VisorTexto, Busca) {
    const auto estado = [&] {
        const Lx::SearchState& es = vista->GetSearch();
        return std::to_string(es.current) + "/" + std::to_string(es.hits) + (es.running ? "+" : "");
    };
    vista->SetCurrentPage(2);
    doc->ContestarTodo();
    doc->Tomar();
    int noticias = 0;
    vista->onSearch = [&] { ++noticias; };
    vista->Search("os", false);
    EXPECT_THAT(doc->Tomar(), Contains("buscar os 2"));
    vista->SearchNext();  // waits: there is nothing yet
    EXPECT_EQ(estado(), "0/0+");
    doc->Hallar({{{4, 15, 5}}, 1, false});
    doc->Hallar({{{3, 15, 5}, {3, 21, 3}}, 2, false});
    EXPECT_EQ(estado(), "1/3+") << "the first one from here on, whoever was faster";
    EXPECT_EQ(vista->GetCurrentPage(), 2) << "where on the page it is isn't known yet";
    doc->ContestarTodo();
    EXPECT_TRUE(vista->IsInSight(3, {60, 120, 110, 130}));
    doc->Hallar({{{0, 4, 3}}, 5, true});
    EXPECT_EQ(estado(), "2/4") << "counted in the order of the pages";
    EXPECT_THAT(Hechas("FillDevice"), IsSupersetOf({EndsWith("50,10 #ff7a008c"), EndsWith("30,10 #ffce0060")}));
    const Filas<bool, std::string> pasos{{true, "3/4"},  {true, "4/4"}, {true, "1/4"},
                                         {false, "4/4"}, {true, "1/4"}, {true, "2/4"}};
    for (const auto& [adelante, queda] : pasos) {
        adelante ? vista->SearchNext() : vista->SearchPrevious();
        EXPECT_EQ(estado(), queda);
    }
    EXPECT_EQ(noticias, 10);
    doc->Hallar({{{2, 4, 3}}, 5, true});
    EXPECT_EQ(estado(), "3/5") << "nobody is taken elsewhere who has gone on";
    vista->Search("", false);
    EXPECT_EQ(estado(), "0/0");
}

TEST_F(VisorTexto, LoQueOyeUnLector) {
    const Lx::AccessibleInfo info = vista->Accessibility();
    EXPECT_EQ(info.name, "a.pdf");
    EXPECT_EQ(info.description, "Página 1 de 5");
    EXPECT_THAT(info.value, StartsWith("uno dos, tres0\ncuatro"));
    vista->Flash(0, {60, 100, 90, 110});
    EXPECT_THAT(Hechas("FillDevice"), Contains(EndsWith("#0959ccdc")));
    Esperar(5000);
    EXPECT_THAT(Hechas("FillDevice"), Not(Contains(EndsWith("#0959ccdc"))));
}

TEST_F(VisorTexto, BarrasYMemoria) {
    // Held where it is, the thumb stays; once let go it doesn't follow; beside it the view goes on by four fifths.
    const auto alto = [&] { return vista->RectOf(0, {0, 300, 600, 310}).y; };
    Falso::Raton(ventana, EventType::MouseDown, 644, 30);
    Falso::Raton(ventana, EventType::MouseMove, 644, 30);
    Falso::Raton(ventana, EventType::MouseUp, 644, 30);
    Falso::Raton(ventana, EventType::MouseMove, 644, 200);
    EXPECT_EQ(alto(), 334);
    Falso::Clic(ventana, 644, 410);
    EXPECT_EQ(alto(), 334 - 320 + 6) << "cut at the view's edge";
    Falso::Clic(ventana, 644, 22);
    EXPECT_EQ(alto(), 334);
    // Dragging the thumb to the end shows the last page, and what is asked for there is all that is asked for.
    Falso::Raton(ventana, EventType::MouseDown, 644, 30);
    Falso::Raton(ventana, EventType::MouseMove, 644, 900);
    Falso::Raton(ventana, EventType::MouseUp, 644, 900);
    EXPECT_EQ(vista->GetCurrentPage(), 4);
    EXPECT_THAT(doc->Tomar(), ElementsAre("dibujar 4 600 0,0,600,800", "dibujar 3 600 0,0,600,800"));
    doc->ContestarTodo();
    doc->Tomar();
    vista->Shrink();
    EXPECT_THAT(doc->Tomar(), ElementsAre("encoger"));
    EXPECT_THAT(Hechas("DrawPixels"), SizeIs(1)) << "what is seen stays";
    vista->SetCurrentPage(0);
    EXPECT_THAT(Hechas("DrawPixels"), IsEmpty());
    // Wider than the view: a bar below, and the arrows move it.
    vista->SetZoom(2);
    ventana.SetFocusControl(vista);
    const Lx::Pdf::Box medio{300, 186, 301, 190};
    const int x = vista->RectOf(0, medio).x;
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Right));
    EXPECT_EQ(vista->RectOf(0, medio).x, x - 40);
    EXPECT_THAT(Hechas("FillRect 10,408,628,12"), SizeIs(1));
}

TEST_F(Visor, LaMemoriaTieneUnLimite) {
    Abrir(40);
    for (int hoja = 0; hoja < 40; ++hoja) {
        vista->SetCurrentPage(hoja);
        doc->ContestarTodo();
    }
    doc->Tomar();
    vista->SetCurrentPage(20);
    EXPECT_THAT(doc->Tomar(), Not(Contains(StartsWith("dibujar"))));
    vista->SetCurrentPage(0);
    EXPECT_THAT(doc->Tomar(), Contains("dibujar 0 600 0,0,600,800")) << "77 MB in all: the first have gone";
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre(StartsWith("DrawPixels 176x234"))) << "and have left a thumbnail";
}

TEST_F(Visor, UnLugarRecordado) {
    // The document may be there before the view has a size.
    const Lx::ViewPlace sitio{3, 0.25, 0, 1, Fit::Free, 1, false};
    const Rect donde = std::exchange(vista->rect, {});
    vista->Open("a.pdf", &sitio);
    doc->Abrir();
    EXPECT_THAT(doc->Tomar(), IsEmpty());
    EXPECT_EQ(vista->GetPlace(), sitio);
    vista->rect = donde;
    Pintar();
    doc->ContestarTodo();
    EXPECT_EQ(vista->GetPlace().page, 3);
    EXPECT_NEAR(vista->GetPlace().down, 0.25, 0.001);
    EXPECT_THAT(Hechas("DrawPixels"), ElementsAre(StartsWith("DrawPixels 1067x800 0,200,")));
    // A picture that lies otherwise stands in for nothing.
    vista->Turn(1);
    EXPECT_THAT(Hechas("DrawPixels"), IsEmpty());
}

// Whoever is told may close the document, open another, or take the view away.
TEST_F(VisorTexto, LosAvisosPuedenCambiarloTodo) {
    vista->onSearch = [this] { vista->Close(); };
    vista->onPageChanged = [this](int hoja, int) {
        if (hoja < 0) vista->Open("b.pdf");
    };
    vista->Search("os", false);
    EXPECT_FALSE(vista->HasDocument());
    EXPECT_EQ(rutas.back(), "b.pdf");
    vista->onSearch = nullptr;
    doc->Abrir();
    vista->onPageChanged = nullptr;
    vista->Search("os", false);
    vista->onSearch = [this] { vista->Close(); };
    doc->Hallar({{{3, 15, 5}}, 1, false});
    EXPECT_FALSE(vista->HasDocument());
    vista->Open("c.pdf");
    vista->onOpened = [this](const auto&) { ventana.RemoveControl(std::exchange(vista, nullptr), true); };
    doc->Abrir();
    EXPECT_THAT(ventana.controls, IsEmpty());
    Esperar(5000);
}

}  // namespace
