// The page view over documents that only pretend: geometry, painting, input, and pages that let wait.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/LxPdfView.h"

namespace {

using Apoyo::Filas;
using Lx::EventType;
using Lx::KeyCode;
using Lx::Rect;
using namespace testing;

// Writes down what it is asked. Its pages are twice as high as wide unless told.
class Fingido : public Lx::Pdf::IDocument {
  public:
    explicit Fingido(std::vector<std::string>& registro) : registro_(registro) {}
    ~Fingido() override { registro_.push_back("fin"); }
    int GetPageCount() const override { return paginas; }
    bool RenderPage(int page, int width, Lx::Pdf::Raster& out, std::string& error) override {
        Anotar("dibujar", page, width);
        error = fallo;
        if (!fallo.empty()) return false;
        out = {width, static_cast<int>(width * proporcion), {}};
        if (!hueca) out.pixels.assign(static_cast<size_t>(out.width * out.height * 4), 255);
        return true;
    }
    bool SavePageJpg(int page, int width, int quality, const std::string& path, std::string&) override {
        Anotar("jpg " + path + " " + std::to_string(quality), page, width);
        return true;
    }
    bool WaitForPage(int page, int width, int ms) override {
        if (lenta) Anotar("esperar " + std::to_string(ms), page, width);
        return !lenta;
    }
    void RenderAhead(int page, int width) override { Anotar("adelantar", page, width); }

    int paginas = 3;
    double proporcion = 2;
    std::string fallo;
    bool hueca = false, lenta = false;

  private:
    void Anotar(const std::string& que, int page, int width) {
        registro_.push_back(que + " " + std::to_string(page) + " " + std::to_string(width));
    }
    std::vector<std::string>& registro_;
};

class PdfView : public testing::Test {
  protected:
    PdfView() {
        ventana.rect = {0, 0, 700, 500};
        EXPECT_TRUE(ventana.Create());
        vista = new Lx::CPdfView;
        vista->rect = {10, 20, 600, 400};
        ventana.AddControl(vista);
        vista->OnPageChanged(this, &PdfView::AlCambiar);
        Falso::ElMundo().abrirPdf = [this](const std::string& ruta, std::string& error) -> Lx::Pdf::IDocument* {
            if (ruta != "a.pdf") return error = ruta, nullptr;
            return doc = new Fingido(registro);
        };
    }
    void AlCambiar(int pagina, int cuantas) {
        cambios.push_back(std::to_string(pagina) + "/" + std::to_string(cuantas));
    }
    void Abrir(double proporcion = 2) {
        ASSERT_TRUE(vista->LoadDocument("a.pdf"));
        doc->proporcion = proporcion;
        Pintar();
        registro.clear();
        cambios.clear();
    }
    std::vector<std::string> Pintar() { return Falso::Pintar(*vista); }
    std::vector<std::string> Tomar() { return std::exchange(registro, {}); }

    Falso::Aplicacion app;
    std::vector<std::string> registro, cambios;
    Lx::CWindow ventana;
    Lx::CPdfView* vista = nullptr;
    Fingido* doc = nullptr;
};

// Viewport: 24, 34, 560 x 372. A page of proportion 2 is shown 1120 high.
constexpr int kAlto = 372, kSobra = 1120 - kAlto;

TEST_F(PdfView, BarraYPulgar) {
    // D and then the thumb at the top and at the end; the track is the viewport's 12 pixels on the right.
    const Filas<double, int, Rect, Rect> casos{{2, 1120, {585, 34, 10, 123}, {585, 283, 10, 123}},
                                               {100, 56000, {585, 34, 10, 24}, {585, 382, 10, 24}},
                                               {372.0 / 560, 372, {}, {}}};
    for (const auto& [proporcion, alto, arriba, abajo] : casos) {
        SCOPED_TRACE(proporcion);
        Abrir(proporcion);
        EXPECT_EQ(vista->DisplayedHeight(), alto);
        EXPECT_EQ(vista->MaxScrollY(), alto - kAlto);
        EXPECT_EQ(vista->VThumbRect(), arriba);
        vista->ScrollToBottom();
        EXPECT_EQ(vista->VThumbRect(), abajo);
    }
    Falso::ElMundo().escala = 1.5;
    EXPECT_EQ(vista->DesiredRasterWidth(), 848);  // in steps of 16
    vista->rect.w = 1'000'000'000;
    EXPECT_EQ(vista->DesiredRasterWidth(), 6000);
}

TEST_F(PdfView, PintaLaHojaYSuBarra) {
    Abrir();
    vista->ScrollBy(100);
    EXPECT_THAT(Pintar(),
                ElementsAre("FillRect 10,20,600,400 #e2e5ecff", "Save", "ClipRect 24,34,560,372",
                            "FillRect 27,-63,560,1120 #0000002d", "FillRect 24,-66,560,1120 #ffffffff",
                            "DrawImageRGBA 560x1120 24,-66,560,1120", "DrawRect 24,-66,560,1120 #c6ccd8ff 1", "Restore",
                            "FillRect 584,34,12,372 #e9ecf2ff", "FillRoundRect 585,67,10,123 5 #b0b6c2ff"));
    EXPECT_THAT(registro, ElementsAre("adelantar 1 560")) << "scrolling draws no page anew";
    Abrir(0.5);
    const auto lineas = Pintar();
    EXPECT_THAT(lineas, Contains("DrawImageRGBA 560x280 24,34,560,280")) << "a low page isn't stretched";
    EXPECT_EQ(lineas.back(), "Restore") << "there is nothing to scroll";
}

TEST_F(PdfView, LosMensajesVanCentrados) {
    EXPECT_THAT(Pintar(), ElementsAre("FillRect 10,20,600,400 #e2e5ecff",
                                      "DrawText \"Sin documento PDF cargado.\" 213,211 #788091ff system 13"));
    EXPECT_FALSE(vista->LoadDocument("roto"));
    EXPECT_EQ(Pintar().back(), "DrawText \"roto\" 290,211 #788091ff system 13");
    EXPECT_THAT(cambios, ElementsAre("-1/0"));
}

TEST_F(PdfView, UnaHojaFallidaNoSeRepite) {
    ASSERT_TRUE(vista->LoadDocument("a.pdf"));
    doc->fallo = "No va.";
    for (int i = 0; i < 2; ++i) EXPECT_THAT(Pintar(), Contains("DrawText \"No va.\" 283,211 #788091ff system 13"));
    EXPECT_THAT(Tomar(), ElementsAre("dibujar 0 560"));
    // Another width is another attempt, and so is coming back.
    doc->fallo.clear();
    doc->hueca = true;
    vista->rect.w = 616;
    EXPECT_THAT(Pintar(), Contains(StartsWith("DrawText \"El motor devolvio una hoja vacia.\"")));
    EXPECT_THAT(Tomar(), ElementsAre("dibujar 0 576"));
}

TEST_F(PdfView, UnaHojaLentaNoPara) {
    ASSERT_TRUE(vista->LoadDocument("a.pdf"));
    doc->lenta = true;
    EXPECT_THAT(Pintar(), Contains(StartsWith("DrawText \"Dibujando la pagina...\"")));
    Pintar();
    EXPECT_THAT(Tomar(), ElementsAre("esperar 150 0 560", "esperar 0 0 560"));
    const int antes = Falso::De(ventana).invalidaciones;
    EXPECT_EQ(Falso::HacerTareas(), 1U);
    EXPECT_EQ(Falso::De(ventana).invalidaciones, antes + 1);
    doc->lenta = false;
    EXPECT_THAT(Pintar(), Contains(StartsWith("DrawImageRGBA 560x1120")));

    // In another width the page that is there serves meanwhile.
    doc->lenta = true;
    vista->rect.w = 1000;
    EXPECT_THAT(Pintar(), Contains("DrawImageRGBA 560x1120 24,34,960,1920"));
    ventana.RemoveControl(vista, true);
    EXPECT_EQ(Falso::HacerTareas(), 1U) << "and touches nothing of the view that has gone";
}

TEST_F(PdfView, Paginas) {
    ASSERT_TRUE(vista->LoadDocument("a.pdf"));
    const Filas<int, bool, int> casos{{0, true, 0},   {2, true, 2}, {3, false, 2},
                                      {-1, false, 2}, {2, true, 2}, {1, true, 1}};
    for (const auto& [pagina, vale, queda] : casos) {
        vista->scrollY = 7;
        const int antes = vista->GetCurrentPage();
        EXPECT_EQ(vista->SetCurrentPage(pagina), vale);
        EXPECT_EQ(vista->GetCurrentPage(), queda);
        EXPECT_EQ(vista->scrollY, antes == queda ? 7 : 0) << pagina;
    }
    EXPECT_THAT(cambios, ElementsAre("0/3", "2/3", "1/3"));
    // The count is read again: the page that was asked for may be gone.
    doc->paginas = 1;
    EXPECT_TRUE(vista->SetCurrentPage(2));
    EXPECT_EQ(cambios.back(), "0/1");
    Pintar();
    EXPECT_THAT(Tomar(), ElementsAre("dibujar 0 560")) << "nothing is drawn ahead behind the last page";
    vista->CloseDocument();
    vista->CloseDocument();
    EXPECT_EQ(cambios.back(), "-1/0");
    EXPECT_THAT(registro, ElementsAre("fin"));
}

TEST_F(PdfView, GuardaJpg) {
    std::string error;
    EXPECT_FALSE(vista->SaveCurrentPageJpg("s.jpg", 90, error, 0)) << "there is no document";
    Abrir();
    const Filas<unsigned, int, std::string> casos{{0, 0, "90 0 1600"}, {100, 15, "100 0 16"}, {101, 6001, "90 0 6000"}};
    for (const auto& [calidad, ancho, pedido] : casos) {
        EXPECT_TRUE(vista->SaveCurrentPageJpg("s.jpg", calidad, error, ancho));
        EXPECT_THAT(Tomar(), ElementsAre("jpg s.jpg " + pedido));
    }
}

TEST_F(PdfView, RuedaYTeclas) {
    Abrir();
    const Filas<int, int> casos{{1, -40}, {100, -120}, {101, -40}, {240, -80}, {-5000, 120}};
    for (const auto& [delta, movido] : casos) {
        vista->scrollY = 300;
        EXPECT_TRUE(Falso::Rueda(ventana, 100, 100, delta));
        EXPECT_EQ(vista->scrollY, 300 + movido) << delta;
    }
    ventana.SetFocusControl(vista);
    // The key, page and scroll before, page and scroll after, whether it was taken.
    const Filas<KeyCode, int, int, int, int, bool> teclas{
        {KeyCode::Up, 1, 30, 1, 0, true},          {KeyCode::Down, 1, 300, 1, 340, true},
        {KeyCode::Home, 1, 300, 0, 0, true},       {KeyCode::End, 0, 300, 2, 0, true},
        {KeyCode::PageUp, 1, 300, 0, 0, true},     {KeyCode::PageDown, 1, 300, 2, 0, true},
        {KeyCode::PageDown, 2, 300, 2, 300, true}, {KeyCode::Left, 1, 300, 1, 300, false}};
    for (const auto& [tecla, pagina, antes, queda, despues, atendida] : teclas) {
        SCOPED_TRACE(static_cast<int>(tecla));
        vista->SetCurrentPage(pagina);
        Pintar();
        vista->scrollY = antes;
        cambios.clear();
        EXPECT_EQ(Falso::Tecla(ventana, tecla), atendida);
        EXPECT_EQ(vista->GetCurrentPage(), queda);
        EXPECT_EQ(vista->scrollY, despues);
        EXPECT_EQ(cambios.size(), pagina == queda ? 0U : 1U);
    }
}

TEST_F(PdfView, PulgarPistaYArrastre) {
    Abrir();
    const auto raton = [this](EventType tipo, int x, int y) { return Falso::Raton(ventana, tipo, x, y); };
    // In the track below the middle, and above it though below the thumb's start.
    for (const auto& [y, queda] : {std::pair(300, 297), {40, 0}}) {
        Falso::Clic(ventana, 590, y);
        EXPECT_EQ(vista->scrollY, queda);
    }
    EXPECT_TRUE(raton(EventType::MouseDown, 590, 44));
    EXPECT_THAT(Pintar(), Contains("FillRoundRect 585,34,10,123 5 #8c93a1ff"));
    const Filas<int, int> tirones{{44, 0}, {144, 300}, {-500, 0}, {2000, kSobra}, {168, 372}};
    for (const auto& [y, queda] : tirones) {
        EXPECT_TRUE(raton(EventType::MouseMove, 300, y));
        EXPECT_EQ(vista->scrollY, queda) << y;
    }
    EXPECT_TRUE(raton(EventType::MouseUp, 300, 168));
    // The page itself is pulled along, past its ends without effect.
    EXPECT_TRUE(raton(EventType::MouseDown, 300, 200));
    for (const auto& [y, queda] : {std::pair(180, 392), {5000, 0}, {4990, 10}}) {
        EXPECT_TRUE(raton(EventType::MouseMove, 300, y));
        EXPECT_EQ(vista->scrollY, queda) << y;
    }
    EXPECT_TRUE(raton(EventType::MouseUp, 300, 4990));

    EXPECT_FALSE(Falso::Raton(ventana, EventType::MouseDown, 300, 200, Lx::kRightButton));
    // Nothing to scroll: the track is no track.
    Abrir(0.5);
    EXPECT_TRUE(raton(EventType::MouseDown, 590, 300));
    EXPECT_TRUE(vista->panning);
}

}  // namespace
