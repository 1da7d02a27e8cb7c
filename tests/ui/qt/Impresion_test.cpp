// Pages printed into a PDF file by the library that the program opens to print.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <memory>
#include <random>

#include "tests/apoyo/Apoyo.h"
#include "ui/platform/qt/QtPrint.h"
#include "ui/viewer/LxPrinting.h"

namespace {

using namespace Apoyo;
using Lx::Pdf::Outcome;
using testing::HasSubstr;

// Black in the upper left quarter of a page as it isn't turned; odd pages are noise.
class Hojas : public Lx::Pdf::IPages {
  public:
    [[nodiscard]] const Lx::Pdf::Opened& State() const override { return estado; }
    void Unlock(const std::string&) override {}
    Id Sizes(int32_t pagina, int32_t, Done<std::vector<Lx::Pdf::PageSize>> listo) override {
        return Luego([this, pagina, listo] { listo(Outcome::Good, {medidas[static_cast<size_t>(pagina)]}); });
    }
    Id Draw(const Lx::Pdf::TileSpec& t, Done<Lx::Pdf::Picture> listo) override {
        pedidas.push_back(t);
        const auto ancho = static_cast<size_t>(t.area.w), filas = static_cast<size_t>(t.area.h);
        auto puntos = std::make_shared<std::vector<uint32_t>>(ancho * filas, 0x00FFFFFF);
        const int alto = Lx::Pdf::HeightOf(medidas[static_cast<size_t>(t.page)], t.turn, t.width);
        for (size_t y = 0; y < filas && t.area.y + static_cast<int>(y) < alto / 2; ++y)
            std::fill_n(puntos->begin() + static_cast<long>(y * ancho + (t.turn == 0 ? 0 : ancho / 2)), ancho / 2, 0);
        std::minstd_rand ruido;
        if (t.page % 2 != 0) std::generate(puntos->begin(), puntos->end(), ruido);
        const auto* bytes = reinterpret_cast<const unsigned char*>(puntos->data());
        const Lx::Pdf::Picture dibujo{bytes, t.area.w, t.area.h, t.area.w * 4, puntos};
        const Outcome como = t.page == rota ? Outcome::Slow : Outcome::Good;
        return Luego([como, dibujo, listo] { listo(como, dibujo); });
    }
    Id DrawThumbnail(const Lx::Pdf::TileSpec&, Done<Lx::Pdf::Picture>) override { return 0; }
    Id Text(int32_t, Done<Lx::Pdf::PageText>) override { return 0; }
    Id Links(int32_t, Done<std::vector<Lx::Pdf::Link>>) override { return 0; }
    Id Outline(Done<std::vector<Lx::Pdf::OutlineItem>>) override { return 0; }
    Id Attachments(Done<std::vector<Lx::Pdf::Attachment>>) override { return 0; }
    Id SaveAttachment(int32_t, const std::string&, Done<std::string>) override { return 0; }
    Id Search(const Lx::Pdf::SearchSpec&, Done<Lx::Pdf::SearchNews>) override { return 0; }
    void Cancel(Id) override { pendientes.clear(); }
    void Shrink() override {}

    Lx::Pdf::Opened estado;
    std::vector<Lx::Pdf::PageSize> medidas = {{595, 842}, {300, 200}, {842, 595}};
    std::vector<Lx::Pdf::TileSpec> pedidas;
    std::deque<std::function<void()>> pendientes;
    int rota = -1;

  private:
    Id Luego(std::function<void()> que) {
        pendientes.push_back(std::move(que));
        return 1;
    }
};

class Impresion : public testing::Test {
  protected:
    Impresion() {
        hojas.estado.pages = 3;
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static const std::unique_ptr<Lx::CAppBackend> kPrograma(Lx::CreatePlatformBackend());
        void* biblioteca = dlopen(IMPRESION, RTLD_NOW);
        entrada_ = biblioteca == nullptr ? nullptr
                                         : reinterpret_cast<Lx::PrintFileEntry>(dlsym(biblioteca, Lx::kPrintFileEntry));
    }
    // "", a sentence, or "a medias".
    std::string Imprimir(const std::vector<int>& paginas, bool ajustado, size_t pasos = 1000) {
        if (entrada_ == nullptr) return "no library";
        std::string fin = "a medias";
        Lx::CPrintRun obra(hojas, std::unique_ptr<Lx::IPrintJob>(entrada_(fichero.c_str(), ajustado, paginas)));
        obra.onProgress = [this](int una, int total) {
            avance += std::to_string(una) + "/" + std::to_string(total) + " ";
        };
        obra.onFinished = [&fin](const std::string& error) { fin = error; };
        obra.Start();
        for (; pasos > 0 && !hojas.pendientes.empty(); --pasos) {
            const auto paso = std::move(hojas.pendientes.front());
            hojas.pendientes.pop_front();
            paso();
        }
        return fin;
    }
    std::string Ver(const std::vector<std::string>& orden) const { return Ejecutar(orden).texto; }
    // Rows of a page's grey values, one pixel a 36th of an inch.
    std::string Gris(int pagina) const {
        const std::string n = std::to_string(pagina);
        return Ver({"pdftoppm", "-r", "36", "-gray", "-f", n, "-l", n, fichero});
    }

    const CarpetaTemporal carpeta;
    const std::string fichero = carpeta / "salida.pdf";
    Hojas hojas;
    std::string avance;

  private:
    Lx::PrintFileEntry entrada_ = nullptr;
};

TEST_F(Impresion, AtActualSizeASheetIsAsLargeAsItsPage) {
    ASSERT_EQ(Imprimir({0, 1, 2}, false), "");
    EXPECT_EQ(avance, "1/3 2/3 3/3 ");
    const std::string medidas = Ver({"pdfinfo", "-f", "1", "-l", "3", fichero});
    for (const char* una : {"Page    1 size:  595 x 842", "Page    2 size:  300 x 200", "Page    3 size:  842 x 595"})
        EXPECT_THAT(medidas, HasSubstr(una));
    for (const Lx::Pdf::TileSpec& t : hojas.pedidas) {
        EXPECT_LE(int64_t{t.area.w} * t.area.h * 4, 32 << 20);
        EXPECT_EQ(t.area.y % 200, 0);
        EXPECT_LE(t.width, 842 * 600 / 72 + 1);
        EXPECT_TRUE(t.forPrint);
    }
    // What repeats is kept as it is, what doesn't is worth a JPEG.
    const std::string imagenes = Ver({"pdfimages", "-list", fichero});
    EXPECT_THAT(imagenes, testing::ContainsRegex("\n +1 [^\n]* image "));
    EXPECT_THAT(imagenes, testing::ContainsRegex("\n +2 [^\n]* jpeg "));
    const std::string gris = Gris(1);
    const size_t ancho = 298, cabecera = gris.size() - ancho * 421;
    const auto en = [&](size_t x, size_t y) { return static_cast<unsigned char>(gris[cabecera + y * ancho + x]); };
    EXPECT_LT(en(5, 5), 8);
    EXPECT_LT(en(143, 205), 8);
    EXPECT_GT(en(153, 205), 248);
    EXPECT_GT(en(143, 215), 248);
}

TEST_F(Impresion, FittedAPageFillsTheSheetTurnedWhereThatIsLarger) {
    ASSERT_EQ(Imprimir({2}, true), "");
    EXPECT_THAT(Ver({"pdfinfo", fichero}), testing::ContainsRegex("Page size: +59[45](\\.[0-9]+)? x 84[12]"));
    ASSERT_FALSE(hojas.pedidas.empty());
    EXPECT_EQ(hojas.pedidas[0].turn, 1);
    EXPECT_GT(hojas.pedidas[0].width, 500 * 600 / 72 / 2);
}

TEST_F(Impresion, SaysWhyItDoesNotPrint) {
    hojas.rota = 1;
    EXPECT_THAT(Imprimir({0, 1}, false), HasSubstr("página 2"));
    EXPECT_FALSE(std::filesystem::exists(fichero)) << "half a document is no document";
    EXPECT_EQ(Imprimir({0, 2}, false, 3), "a medias");
    EXPECT_FALSE(std::filesystem::exists(fichero));
    EXPECT_TRUE(hojas.pendientes.empty()) << "what isn't wanted any more was cancelled";
    hojas.estado.mayPrintWell = false;
    hojas.pedidas.clear();
    EXPECT_EQ(Imprimir({0}, false), "");
    EXPECT_LE(hojas.pedidas[0].width, 595 * 150 / 72);
    hojas.estado.mayPrint = false;
    EXPECT_THAT(Imprimir({0}, false), HasSubstr("no permite"));
}

}  // namespace
