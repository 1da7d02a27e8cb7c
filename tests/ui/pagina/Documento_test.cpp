// Documents as the view gets them: later, from processes apart.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstring>
#include <memory>

#include "tests/apoyo/Apoyo.h"
#include "ui/platform/pdf/Pages.h"

namespace {

using namespace std::chrono_literals;
using namespace Lx::Pdf;
using Lx::Rect;

class Documento : public testing::Test {
  protected:
    // Attends to it until `hecho`, 10 s at most.
    bool Esperar(const std::function<bool()>& hecho) {
        const auto fin = std::chrono::steady_clock::now() + 10s;
        while (!hecho() && std::chrono::steady_clock::now() < fin) {
            pollfd mirado{doc->Fd(), POLLIN, 0};
            if (poll(&mirado, 1, 100) > 0) doc->Attend();
        }
        return hecho();
    }
    const Opened& Abrir(const std::string& pdf, int adelanto = 0, const Crew::Limits& limites = {}) {
        Apoyo::EscribirFichero(ruta, pdf);
        doc = std::make_unique<Pages>(ruta, adelanto, limites);
        int veces = 0;
        doc->Tell([&veces](const Opened&) { ++veces; });
        EXPECT_EQ(veces, 0) << "told from within";
        EXPECT_TRUE(Esperar([&] { return veces > 0; }));
        EXPECT_EQ(veces, 1);
        return doc->State();
    }
    // The answer, waited for.
    template <class T, class Preguntar>
    std::pair<Outcome, T> Pedir(Preguntar preguntar) {
        std::optional<std::pair<Outcome, T>> respuesta;
        preguntar([&](Outcome como, T que) { respuesta.emplace(como, std::move(que)); });
        EXPECT_FALSE(respuesta.has_value()) << "told from within";
        EXPECT_TRUE(Esperar([&] { return respuesta.has_value(); }));
        return respuesta.value_or(std::pair<Outcome, T>{Outcome::Slow, {}});
    }
    std::pair<Outcome, Picture> Dibujar(const TileSpec& trozo) {
        return Pedir<Picture>([&](auto hecho) { doc->Draw(trozo, hecho); });
    }

    Apoyo::CarpetaTemporal carpeta;
    std::string ruta = carpeta / "documento.pdf";
    std::unique_ptr<Pages> doc;
};

std::string UnaHoja(const std::string& entradas, const std::string& contenido) {
    return Apoyo::PdfDe(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Count 1 /Kids [3 0 R] >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents 4 0 R " + entradas + " >>",
         "<< /Length " + std::to_string(contenido.size()) + " >>\nstream\n" + contenido + "\nendstream"});
}

// 0xffRRGGBB
uint32_t Punto(const Picture& p, int x, int y) {
    uint32_t punto = 0;
    std::memcpy(&punto, p.data + y * p.stride + x * 4, 4);
    return punto;
}

TEST_F(Documento, DaCadaTrozoDeUnaHojaGirada) {
    // Left half red, right half green, the lower quarter blue.
    const Opened& abierto =
        Abrir(UnaHoja("", "1 0 0 rg 0 0 100 100 re f 0 1 0 rg 100 0 100 100 re f 0 0 1 rg 0 0 200 25 re f"), 400);
    ASSERT_EQ(abierto.outcome, Outcome::Good);
    EXPECT_EQ(abierto.pages, 1);
    EXPECT_EQ(abierto.sizes, std::vector<PageSize>({{200, 100}}));
    const uint32_t rojo = 0xffff0000, verde = 0xff00ff00, azul = 0xff0000ff;
    const Apoyo::Filas<TileSpec, uint32_t, uint32_t> casos{
        // What was drawn ahead, and a slice of the same; the corners top left and bottom right.
        {{0, 400, 0, {0, 0, 400, 200}, false}, rojo, azul},  {{0, 400, 0, {150, 0, 100, 100}, false}, rojo, verde},
        {{0, 200, 1, {0, 0, 200, 400}, false}, azul, verde}, {{0, 400, 2, {0, 0, 400, 200}, false}, azul, rojo},
        {{0, 200, 3, {0, 0, 200, 400}, false}, verde, azul}, {{0, 200, 3, {0, 220, 140, 100}, true}, rojo, rojo},
    };
    for (const auto& [trozo, arriba, abajo] : casos) {
        SCOPED_TRACE(trozo.turn);
        const auto [como, foto] = Dibujar(trozo);
        ASSERT_EQ(como, Outcome::Good);
        ASSERT_TRUE(foto.width == trozo.area.w && foto.height == trozo.area.h);
        EXPECT_EQ(Punto(foto, 1, 1), arriba);
        EXPECT_EQ(Punto(foto, foto.width - 2, foto.height - 2), abajo);
    }
    for (const auto& [trozo, espera] :
         Apoyo::Filas<TileSpec, Outcome>{{{1, 10, 0, {0, 0, 10, 5}}, Outcome::NotDrawn},
                                         {{0, 10, 0, {0, 0, 0, 5}}, Outcome::BadSize},
                                         {{0, 90'000, 0, {0, 0, 20'000, 9'000}}, Outcome::NoMemory}})
        EXPECT_EQ(Dibujar(trozo).first, espera);
}

}  // namespace
