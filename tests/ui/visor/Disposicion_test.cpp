// Where pages lie, which pictures a view asks for and which it keeps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/viewer/PageLayout.h"
#include "ui/viewer/PageTexts.h"
#include "ui/viewer/Selection.h"
#include "ui/viewer/TileCache.h"
#include "ui/viewer/TileRequests.h"

namespace {

using Apoyo::Filas;
using Lx::Area;
using Lx::PageLayout;
using Lx::Tile;
using Lx::Pdf::PageSize;
using Lx::Pdf::TileSpec;
using Fit = Lx::ViewPlace::Fit;
using namespace testing;

TEST(Disposicion, DondeCaeCadaHoja) {
    // Three pages of 600 x 800 and one of 800 x 600, in a view of 628 x 400 pixels. The first two pages and the last.
    const Filas<Lx::LayoutSetup, Area, Area, Area> casos{
        {{628, 400, 1, 1, Fit::Width}, {14, 14, 600, 800}, {14, 828, 600, 800}, {14, 2456, 600, 450}},
        {{628, 400, 1, 1, Fit::Page}, {174, 14, 279, 372}, {174, 400, 279, 372}, {66, 1172, 496, 372}},
        {{628, 400, 2, 0.75, Fit::Free}, {128, 28, 1200, 1600}, {128, 1656, 1200, 1600}, {-72 + 100, 4912, 1600, 1200}},
        {{628, 400, 1, 1, Fit::Width, 1}, {14, 14, 600, 450}, {14, 478, 600, 450}, {14, 1406, 600, 800}},
        {{628, 400, 1, 1, Fit::Page, 0, true, 1}, {}, {174, 14, 279, 372}, {}},
    };
    for (const auto& [como, primera, segunda, ultima] : casos) {
        SCOPED_TRACE(como.scale * 100 + como.turn);
        PageLayout hojas;
        hojas.Reset(4, {{600, 800}, {600, 800}, {600, 800}, {800, 600}});
        hojas.Arrange(como);
        Area esperada = primera;
        if (como.fit == Fit::Free) esperada.x = (hojas.Width() - primera.w) / 2;
        EXPECT_EQ(hojas.PageArea(0), esperada);
        esperada = segunda;
        if (como.fit == Fit::Free) esperada.x = (hojas.Width() - segunda.w) / 2;
        EXPECT_EQ(hojas.PageArea(1), esperada);
        EXPECT_EQ(hojas.PageArea(3), ultima);
    }
}

int64_t Parte(double parte, int64_t todo) {
    return std::llround(parte * static_cast<double>(todo));
}

TEST(Disposicion, QueHojaHayAhi) {
    PageLayout hojas;
    hojas.Reset(10, {{600, 800}});
    hojas.Arrange({628, 400, 1, 1, Fit::Width});
    // From, to, the first and the last between them; the gap is of the page below it, and shows none.
    const Filas<int64_t, int64_t, int32_t, int32_t> casos{{0, 14, 0, -1},     {0, 15, 0, 0},    {813, 829, 0, 1},
                                                          {814, 828, 1, 0},   {814, 829, 1, 1}, {8100, 9000, 9, 9},
                                                          {8140, 9000, 10, 9}};
    for (const auto& [desde, hasta, primera, ultima] : casos)
        EXPECT_EQ(hojas.PagesBetween(desde, hasta), std::pair(primera, ultima)) << desde;
    EXPECT_EQ(hojas.PageAt(813), 0);
    EXPECT_EQ(hojas.PageAt(814), 1);
    EXPECT_FALSE(hojas.Learn(3, {{600, 800}})) << "as it was guessed";
    EXPECT_TRUE(hojas.Knows(3));
}

// A place of a page stays under its pixel of the view whatever changes: at each corner, and beside the page.
TEST(Disposicion, LosAnclajesAguantan) {
    PageLayout hojas;
    hojas.Reset(1000, {{600, 800}});
    const Lx::LayoutSetup antes{628, 400, 1, 1, Fit::Free};
    const Filas<int64_t, int64_t, int32_t> puntos{{300, 5, 0},          {14, 14, 0},       {813, 1080, 0},
                                                  {400, 1081 + 500, 1}, {1, 400'000, 370}, {827, 1'081'000, 999}};
    for (const auto& [x, y, hoja] : puntos) {
        SCOPED_TRACE(y);
        hojas.Arrange(antes);
        const PageLayout::Anchor ancla = hojas.AnchorAt(x, y);
        EXPECT_EQ(ancla.page, hoja);
        EXPECT_EQ(hojas.PlaceOf(ancla), std::pair(x, y));
        Lx::LayoutSetup despues = antes;
        despues.zoom = 4;
        hojas.Arrange(despues);
        const Area grande = hojas.PageArea(hoja);
        const auto [x4, y4] = hojas.PlaceOf(ancla);
        EXPECT_EQ(y4 - ancla.dy - grande.y, Parte(ancla.y, grande.h));
        EXPECT_EQ(x4 - ancla.dx - grande.x, Parte(ancla.x, grande.w));
        // Other pages turn out larger: the place goes with its page.
        EXPECT_TRUE(hojas.Learn(0, {{600, 1600}}) || hoja > 0);
        hojas.Arrange(antes);
        EXPECT_EQ(hojas.PlaceOf(ancla).second - hojas.PageArea(hoja).y - ancla.dy,
                  Parte(ancla.y, hojas.PageArea(hoja).h));
        hojas.Learn(0, {{600, 800}});
    }
}

TEST(Disposicion, LasCajasGiranConLaHoja) {
    PageLayout hojas;
    hojas.Reset(1, {{600, 800}});
    const Filas<int32_t, Area> casos{{0, {14 + 60, 14 + 80, 60, 40}},
                                     {1, {14 + 510, 14 + 45, 30, 45}},
                                     {2, {14 + 480, 14 + 680, 60, 40}},
                                     {3, {14 + 60, 14 + 360, 30, 45}}};
    for (const auto& [giro, donde] : casos) {
        SCOPED_TRACE(giro);
        hojas.Arrange({628, 400, 1, 1, Fit::Width, giro});
        EXPECT_EQ(hojas.BoxArea(0, {60, 80, 120, 120}), donde);
        const auto [x, y] = hojas.PointOn(0, donde.x, donde.y);
        EXPECT_TRUE(x > 59 && x < 121 && y > 79 && y < 121) << x << " " << y;
    }
}

std::vector<std::string> Nombres(const std::vector<TileSpec>& trozos) {
    std::vector<std::string> nombres;
    for (const TileSpec& trozo : trozos)
        nombres.push_back(std::to_string(trozo.page) + ":" + Falso::Apuntes::Texto(trozo.area));
    return nombres;
}

TEST(Disposicion, QueSePideYEnQueOrden) {
    PageLayout hojas;
    hojas.Reset(10, std::vector<PageSize>(9, {600, 800}));
    hojas.Arrange({628, 400, 1, 1, Fit::Width});
    const auto plan = [&](int64_t y, int sentido, size_t bytes = 64 << 20, bool trozos = false) {
        const Lx::WantedTiles todo =
            Lx::PlanTiles({hojas, {0, y, 628, 400}, sentido, [=](int32_t) { return trozos; }, bytes});
        auto nombres = Nombres(todo.tiles);
        nombres.insert(nombres.begin() + static_cast<std::ptrdiff_t>(todo.visible), "|");
        for (std::string& nombre : nombres) nombre = nombre.substr(0, trozos ? std::string::npos : nombre.find(':'));
        return nombres;
    };
    EXPECT_THAT(plan(0, 1), ElementsAre("0", "|", "1", "2"));
    EXPECT_THAT(plan(700, 1), ElementsAre("1", "0", "|", "2", "3")) << "the one in the middle first";
    EXPECT_THAT(plan(2600, 1), ElementsAre("3", "|", "4", "5", "2"));
    EXPECT_THAT(plan(2600, -1), ElementsAre("3", "|", "2", "1", "4")) << "ahead is where the scroll goes";
    EXPECT_THAT(plan(2300, -1), ElementsAre("3", "2", "|", "1", "0", "4"));
    EXPECT_THAT(plan(2600, 1, 600 * 800 * 4 * 2), ElementsAre("3", "|", "4")) << "no more than may be kept";
    EXPECT_THAT(plan(7400, 1), ElementsAre("|", "8")) << "of the last page only a guess is known";
    EXPECT_THAT(plan(1000, 1, 64 << 20, true), ElementsAre("1:0,0,600,512", "1:0,512,600,288", "|", "2:0,0,600,512"));
}

TEST(Disposicion, UnaHojaEnormeSeCortaSoloDondeSeVe) {
    PageLayout hojas;
    hojas.Reset(100'000, {{56693, 56693}});  // 20 x 20 m
    hojas.Arrange({1900, 1000, 2, 8, Fit::Free});
    EXPECT_EQ(hojas.PageArea(0).w, 1'209'451);
    EXPECT_GT(hojas.Height(), int64_t{120'000} * 1'000'000);
    const Area medio{600'000, hojas.PageArea(50'000).y + 600'000, 1900, 1000};
    const Lx::WantedTiles plan = Lx::PlanTiles({hojas, medio, 1, [](int32_t) { return true; }, 64 << 20});
    EXPECT_EQ(plan.visible, 0U) << "nothing is drawn at a size that is only guessed";
    hojas.Learn(50'000, {{56693, 56693}});
    const Lx::WantedTiles sabido = Lx::PlanTiles({hojas, medio, 1, [](int32_t) { return true; }, 64 << 20});
    EXPECT_EQ(sabido.visible, 9U);
    EXPECT_LE(sabido.tiles.size(), 18U);
    for (const TileSpec& trozo : sabido.tiles) EXPECT_EQ(trozo.page, 50'000);
    EXPECT_GT(sabido.tiles.back().area.y, 600'000);
    const Lx::WantedTiles arriba = Lx::PlanTiles({hojas, medio, -1, [](int32_t) { return true; }, 64 << 20});
    EXPECT_LT(arriba.tiles.back().area.y, 600'000 - 512) << "ahead is above when the scroll goes up";
}

Lx::Pdf::Picture Hoja(int32_t ancho, int32_t alto) {
    const auto bytes =
        std::make_shared<std::vector<unsigned char>>(static_cast<size_t>(ancho) * static_cast<size_t>(alto) * 4, 200);
    return {bytes->data(), ancho, alto, ancho * 4, bytes};
}

TEST(Disposicion, QueSeGuarda) {
    Lx::TileCache cache;
    const auto poner = [&](int32_t hoja, int32_t ancho, Tile::Kind tipo = Tile::Kind::Whole) {
        cache.Put({hoja, ancho, 0, {0, 0, ancho, 1000}}, Hoja(ancho, 1000), tipo);
    };
    const auto quedan = [&] {
        std::string lista;
        for (int32_t hoja = 0; hoja < 12; ++hoja)
            for (const Tile& trozo : cache.Of(hoja))
                lista += std::to_string(hoja) + (trozo.kind == Tile::Kind::Small ? "m "
                                                 : trozo.spec.width == 1000      ? " "
                                                                                 : "x ");
        return lista;
    };
    // Page 5 is seen at width 1000; the scroll goes on to the end. 4 MB each, 2 MB at the other scale.
    for (const int32_t hoja : {1, 3, 4, 5, 6, 8, 9}) poner(hoja, 1000);
    poner(5, 500);
    poner(6, 500);
    const auto entera = [](int32_t hoja) { return TileSpec{hoja, 1000, 0, {0, 0, 1000, 1000}}; };
    const Lx::TileKeep guardar{5, 5, 1, {entera(5), entera(6)}, 1, [](int32_t) { return 1000; }};
    const Filas<size_t, std::string> pasos{{32'000'000, "1 3 4 5 5x 6 6x 8 9 "},
                                           {30'000'000, "1 3 4 5 5x 6 8 9 "},
                                           {29'000'000, "3 4 5 5x 6 8 9 "},
                                           {25'000'000, "4 5 5x 6 8 9 "},
                                           {20'000'000, "4 5 5x 6 8 "},
                                           {15'000'000, "4 5 5x 6 "},
                                           {10'000'000, "5 5x 6 "},
                                           {8'000'000, "5 6 "},
                                           {0, "5 "}};
    for (const auto& [bytes, lista] : pasos) {
        cache.Trim(bytes, guardar);
        EXPECT_EQ(quedan(), lista) << bytes;
        EXPECT_LE(cache.Bytes(), std::max<size_t>(bytes, 4'000'000));
    }
    // What has to go for the sake of others leaves a thumbnail. An old document's picture goes with the new one's.
    for (int32_t hoja = 0; hoja < 20; ++hoja) poner(hoja, 1000);
    cache.Trim(Lx::TileCache::kLimit, guardar);
    EXPECT_EQ(cache.SmallOf(15, 0), nullptr);
    ASSERT_NE(cache.SmallOf(16, 0), nullptr);
    EXPECT_EQ(cache.SmallOf(16, 0)->spec.area, (Lx::Rect{0, 0, 176, 176}));
    EXPECT_LE(cache.Bytes(), Lx::TileCache::kLimit);
    cache.Age();
    EXPECT_EQ(cache.Find({5, 1000, 0, {0, 0, 1000, 1000}}), nullptr);
    poner(5, 1000);
    EXPECT_EQ(cache.Of(5).size(), 1U);
}

TEST(Disposicion, LasMiniaturasTienenSuParte) {
    Lx::TileCache cache;
    for (int32_t hoja = 0; hoja < 100; ++hoja)
        cache.Put({hoja, 200, 0, {0, 0, 200, 300}}, Hoja(200, 300), Tile::Kind::Small);
    // 240 kB each: those far from what is seen go, but for those that the pane shows.
    cache.Trim(Lx::TileCache::kLimit, {0, 0, 1, {}, 0, [](int32_t) { return 0; }, {90, 99}});
    EXPECT_LE(cache.Bytes(), Lx::TileCache::kSmallLimit);
    EXPECT_GT(cache.Bytes(), Lx::TileCache::kSmallLimit - 240'000);
    EXPECT_NE(cache.SmallOf(95, 0), nullptr);
    EXPECT_EQ(cache.SmallOf(89, 0), nullptr);
}

TEST(Disposicion, TextosDeLasUltimasHojas) {
    Lx::PageTexts textos;
    for (int32_t hoja = 0; hoja < 16; ++hoja) textos.PutText(hoja, {});
    EXPECT_NE(textos.TextOf(0), nullptr);
    EXPECT_EQ(textos.LinksOf(0), nullptr);
    textos.PutText(16, {});
    EXPECT_NE(textos.TextOf(0), nullptr) << "it was looked at after the next one";
    EXPECT_EQ(textos.TextOf(1), nullptr);
}

TEST(Disposicion, UnaSeleccionDeVariasHojas) {
    const Lx::Pdf::PageText texto{std::vector<Lx::Pdf::Glyph>(10)};
    Lx::Selection seleccion;
    seleccion.Set({2, 3}, {0, 5});
    const Filas<int32_t, int32_t, int32_t> casos{{0, 5, 10}, {1, 0, 10}, {2, 0, 3}, {3, 0, 0}};
    for (const auto& [hoja, desde, hasta] : casos) EXPECT_EQ(seleccion.On(hoja, texto), std::pair(desde, hasta));
}

TEST(Disposicion, UnaCopiaPequenaPromedia) {
    Lx::Pdf::Picture grande = Hoja(4, 2);
    auto* puntos = const_cast<unsigned char*>(grande.data);
    // The upper left two of eight.
    for (const int punto : {0, 4})
        for (int parte = 0; parte < 3; ++parte) puntos[punto + parte] = static_cast<unsigned char>(100 - 50 * parte);
    const Lx::Pdf::Picture copia = Lx::Shrunk(grande, 2, 1);
    EXPECT_THAT(std::vector(copia.data, copia.data + 4), ElementsAre(150, 125, 100, 255));
    EXPECT_EQ(copia.data[4], 200);
}

}  // namespace
