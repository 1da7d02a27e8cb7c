// Documents that other programs made, and documents signed more than once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "signer/LxPdfSigner.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdfSigner {
namespace {

using namespace testing;

constexpr std::string_view kTexto =
    ".TL\nContrato de prueba\n.LP\nUn texto con varias palabras.\n.bp\nLa segunda hoja.\n.bp\nLa tercera hoja.\n";
constexpr std::string_view kDibujo =
    "<svg xmlns='http://www.w3.org/2000/svg' width='300' height='300'><rect width='200' height='100' fill='red'/>"
    "<text x='20' y='150'>Dibujo</text></svg>";

class Documentos : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        carpeta_ = new Apoyo::CarpetaTemporal;
        Apoyo::EscribirFichero(Ruta("texto.ms"), kTexto);
        Apoyo::EscribirFichero(Ruta("dibujo.svg"), kDibujo);
        Apoyo::EscribirFichero(Ruta("groff.pdf"), Apoyo::Exigir({"groff", "-Tpdf", "-ms", Ruta("texto.ms")}));
        Apoyo::Exigir({"rsvg-convert", "-f", "pdf", "-o", Ruta("cairo.pdf"), Ruta("dibujo.svg")});
        Apoyo::Exigir({"gs", "-q", "-sDEVICE=pdfwrite", "-dCompatibilityLevel=1.4", "-o", Ruta("ghostscript.pdf"),
                       Ruta("groff.pdf")});
        Apoyo::Exigir({"qpdf", "--linearize", "--object-streams=disable", Ruta("groff.pdf"), Ruta("lineal.pdf")});
        Apoyo::Exigir({"qpdf", "--qdf", Ruta("groff.pdf"), Ruta("legible.pdf")});
    }
    static void TearDownTestSuite() { delete carpeta_; }
    static std::string Ruta(const std::string& nombre) { return *carpeta_ / nombre; }
    Resultado FirmarComo(const std::string& entrada, const std::string& salida, const Opciones& opciones) {
        return Firmar(Ruta(entrada), Ruta(salida), identidad_.certificado, identidad_.firmar, {}, opciones);
    }

    static Apoyo::CarpetaTemporal* carpeta_;
    const Apoyo::Identidad& identidad_ = Apoyo::IdentidadComun();
};

Apoyo::CarpetaTemporal* Documentos::carpeta_ = nullptr;

TEST_F(Documentos, TresFirmasSeguidasSobreLoQueHacenOtrosProgramas) {
    for (const char* nombre : {"groff.pdf", "cairo.pdf", "ghostscript.pdf", "lineal.pdf", "legible.pdf"}) {
        SCOPED_TRACE(nombre);
        std::string antes = nombre;
        for (const int modo : {0, 1, 2}) {
            const std::string salida = std::to_string(modo) + nombre;
            ASSERT_EQ(FirmarComo(antes, salida, {modo, ""}).error, "");
            EXPECT_THAT(Apoyo::LeerFichero(Ruta(salida)), StartsWith(Apoyo::LeerFichero(Ruta(antes))));
            EXPECT_TRUE(Apoyo::PdfValido(Ruta(salida), identidad_, static_cast<size_t>(modo) + 1));
            antes = salida;
        }
    }
}

TEST_F(Documentos, ElSelloSeVeEnLasPaginasElegidasYNoTapaAlAnterior) {
    ASSERT_TRUE(FirmarComo("groff.pdf", "todas.pdf", {3, ""}).firmado);
    ASSERT_TRUE(FirmarComo("todas.pdf", "lista.pdf", {4, "3,1"}).firmado);
    EXPECT_TRUE(Apoyo::PdfValido(Ruta("lista.pdf"), identidad_, 2));
    for (const auto& [pagina, sellos] : std::map<std::string, size_t>{{"1", 2}, {"2", 1}, {"3", 2}}) {
        const std::string texto = Apoyo::Exigir({"pdftotext", "-f", pagina, "-l", pagina, Ruta("lista.pdf"), "-"});
        EXPECT_EQ(Apoyo::Cuenta(texto, "Firmado digitalmente por:\nAna Núñez Peña\n"), sellos) << pagina << texto;
    }
    EXPECT_THAT(Apoyo::LeerFichero(Ruta("lista.pdf")), HasSubstr("/Rect [50 76 "));
}

}  // namespace
}  // namespace LxPdfSigner
