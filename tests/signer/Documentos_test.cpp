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

// Where the stamp is seen, as another program sees its words.
TEST_F(Documentos, ElSitioDelSelloEsElQueSeVe) {
    const std::string recorte = "/CropBox [30 20 400 500]";
    const Apoyo::Filas<std::string, std::string, int32_t, double> filas = {
        {"", "", 0, 5120},
        {recorte, "", 0, 5120},
        {"", recorte + " /Rotate 90", 0, 5120},
        {recorte + " /Rotate 180", "/Rotate 90", 0, 5120},
        {"/Rotate 7 0 R", "/CropBox [40 9999 8 0 R 10]", 0, 5120},
        {"/CropBox [45 42 500 600] /Rotate -90", "", 0, 4800},
        {"/CropBox [300 300 500 500]", "", 1, 5120},
    };
    for (const auto& [pagina, arbol, indice, area] : filas) {
        SCOPED_TRACE(pagina + " " + arbol);
        Apoyo::EscribirFichero(
            Ruta("girado.pdf"),
            Apoyo::PdfDe({"<< /Type /Catalog /Pages 2 0 R >>",
                          "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 /MediaBox [0 0 595 842] " + arbol + " >>",
                          "<< /Type /Page /Parent 2 0 R " + pagina + " >>", "<< /Type /Page /Parent 2 0 R >>", "null",
                          "null", "270", "9999"}));
        const Estampa e = FirmarComo("girado.pdf", "visto.pdf", {3, "", true, true}).estampa;
        ASSERT_EQ(e.pagina, indice);
        const std::string n = std::to_string(indice + 1);
        const std::string cajas =
            Apoyo::Exigir({"pdftotext", "-bbox", "-cropbox", "-f", n, "-l", n, Ruta("visto.pdf"), "-"});
        // Whole points: with decimals it would be read as the locale has it.
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0, izquierda = 9999, arriba = 9999, derecha = 0, abajo = 0;
        for (size_t pos = cajas.find("<word "); pos != cajas.npos; pos = cajas.find("<word ", pos + 1)) {
            const char* forma = R"(<word xMin="%d.%*d" yMin="%d.%*d" xMax="%d.%*d" yMax="%d)";
            ASSERT_EQ(sscanf(cajas.c_str() + pos, forma, &x1, &y1, &x2, &y2), 4);
            izquierda = std::min(izquierda, x1), arriba = std::min(arriba, y1);
            derecha = std::max(derecha, x2), abajo = std::max(abajo, y2);
        }
        EXPECT_TRUE(e.izquierda < izquierda && izquierda < e.izquierda + 50) << izquierda;
        EXPECT_TRUE(e.derecha > derecha && derecha > e.derecha - 50) << derecha;
        EXPECT_TRUE(e.arriba < arriba && arriba < e.arriba + 50) << arriba;
        EXPECT_TRUE(e.abajo > abajo && abajo > e.abajo - 50) << abajo;
        EXPECT_NEAR((e.derecha - e.izquierda) * (e.abajo - e.arriba), area, 1);
    }
}

}  // namespace
}  // namespace LxPdfSigner
