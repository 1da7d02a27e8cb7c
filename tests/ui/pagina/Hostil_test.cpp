// A page program that a document has taken over may say what it likes.
#include <gtest/gtest.h>

#include <memory>

#include "tests/apoyo/Apoyo.h"
#include "ui/platform/pdf/PageDocument.h"
#include "ayudante/LxProtocolo.h"

namespace {

using Lx::Ayudante::Estado;

std::string Hex(const Lx::Ayudante::Respuesta& r, size_t bytes = sizeof(Lx::Ayudante::Respuesta)) {
    std::string datos(reinterpret_cast<const char*>(&r), sizeof r), texto;
    datos.resize(bytes, 'x');
    for (char c : datos) {
        char par[3];
        std::snprintf(par, sizeof par, "%02x", static_cast<unsigned>(c) & 0xFF);
        texto += par;
    }
    return texto + "\n";
}

const std::string kTresHojas = Hex({0, Estado::Bien, 3, 0});

TEST(Hostil, SoloSeCreeLoQueCuadraConLoPedido) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "guion";
    const std::string cerrado = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
    const Apoyo::Filas<std::string, std::string> casos{
        {Hex({1, Estado::Bien, 100, 50}), ""},
        {Hex({2, Estado::Bien, 100, 50}), cerrado},
        {Hex({0, Estado::Bien, 100, 50}), cerrado},
        {Hex({1, Estado::Bien, 99, 50}), cerrado},
        {Hex({1, Estado::Bien, -100, -50}), cerrado},
        {Hex({1, Estado::Bien, 100, 0}), cerrado},
        {Hex({1, Estado::Bien, 100, 1'000'001}), cerrado},
        {Hex({1, Estado::Bien, 100, 2'147'483'647}), cerrado},
        {Hex({1, Estado::Bien, 100, 50}, 15), cerrado},
        {Hex({1, Estado::Bien, 100, 50}, 17), cerrado},
        {Hex({1, Estado::Bien, 100, 50}, 4000), cerrado},
        {"", cerrado},
        {Hex({1, Estado{77}, 100, 50}), "No se pudo dibujar la pagina."},
        {Hex({1, Estado::TamanoInvalido, 100, 50}), "La pagina tiene un tamano invalido."},
    };
    for (const auto& [respuesta, frase] : casos) {
        SCOPED_TRACE(respuesta.substr(0, 40));
        Apoyo::EscribirFichero(ruta, kTresHojas + respuesta);
        std::string error;
        const std::unique_ptr<Lx::Pdf::IDocument> doc(Lx::Pdf::Open(ruta, error));
        ASSERT_TRUE(doc) << error;
        EXPECT_EQ(doc->GetPageCount(), 3);
        Lx::Pdf::Raster raster;
        EXPECT_EQ(doc->RenderPage(2, 100, raster, error), frase.empty());
        EXPECT_EQ(error, frase);
        EXPECT_EQ(raster.pixels.size(), frase.empty() ? 20'000U : 0U);
    }
}

TEST(Hostil, NiAlAbrir) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "guion";
    for (const std::string& saludo : {Hex({0, Estado::Bien, 0, 0}), Hex({0, Estado::Bien, -1, 0}),
                                      Hex({1, Estado::Bien, 3, 0}), Hex({0, Estado{9}, 3, 0}), Hex({}, 3)}) {
        Apoyo::EscribirFichero(ruta, saludo);
        std::string error;
        EXPECT_EQ(Lx::Pdf::Open(ruta, error), nullptr) << saludo;
        EXPECT_EQ(error, "No se pudo abrir el PDF (archivo inexistente o dañado).");
    }
    Apoyo::EscribirFichero(ruta, "00");  // half a line: it says nothing
    std::string error;
    EXPECT_EQ(Lx::Pdf::PageDocument::Abrir(ruta, error, std::chrono::milliseconds(200)), nullptr);
    EXPECT_EQ(error, "El PDF tarda demasiado en abrirse.");
}

}  // namespace
