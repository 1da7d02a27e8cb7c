// Documents on their whole way: through the program that draws them, into pixels.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <thread>

#include "ayudante/LxMuros.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/ui/pagina/Procesos.h"
#include "ui/platform/pdf/PageDocument.h"

namespace {

using namespace std::chrono_literals;
using Apoyo::CarpetaTemporal;
using Apoyo::EscribirFichero;
using Lx::Pdf::PageDocument;
using Lx::Pdf::Raster;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kCerrado = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
constexpr auto kTarda = "La pagina tarda demasiado en dibujarse.";

struct Hoja {
    std::string caja = "0 0 200 100";  // /MediaBox
    std::string entradas = {};         // of the page's dictionary
    std::string contenido = {};
};
// Pages, and further objects behind them: the first of those has number 3 + 2 * hojas.size().
std::string ConHojas(const std::vector<Hoja>& hojas, const std::vector<std::string>& otros = {},
                     const std::string& catalogo = {}) {
    std::vector<std::string> objetos{"<< /Type /Catalog /Pages 2 0 R " + catalogo + " >>", ""};
    std::string hijas;
    for (const Hoja& hoja : hojas) {
        const std::string contenido = std::to_string(objetos.size() + 2);
        hijas += std::to_string(objetos.size() + 1) + " 0 R ";
        objetos.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [" + hoja.caja + "] /Contents " + contenido +
                          " 0 R " + hoja.entradas + " >>");
        objetos.push_back(Flujo(hoja.contenido));
    }
    objetos[1] = "<< /Type /Pages /Count " + std::to_string(hojas.size()) + " /Kids [" + hijas + "] >>";
    objetos.insert(objetos.end(), otros.begin(), otros.end());
    return Apoyo::PdfDe(objetos);
}

// A page that no machine draws in a lifetime, and one that is red.
std::string LentaYRoja() {
    constexpr int kPrimera = 7;
    constexpr int kNiveles = 12;
    std::vector<std::string> formas;
    for (int i = 0; i < kNiveles; ++i) {
        const std::string entradas = "/Type /XObject /Subtype /Form /BBox [0 0 200 100] ";
        const std::string otra = "/Resources << /XObject << /F " + std::to_string(kPrimera + i + 1) + " 0 R >> >>";
        std::string diez;
        for (int k = 0; k < 10; ++k) diez += "/F Do ";
        formas.push_back(i + 1 < kNiveles ? Flujo(diez, entradas + otra) : Flujo("0 0 200 100 re f", entradas));
    }
    const std::string recursos = "/Resources << /XObject << /F 7 0 R >> >>";
    return ConHojas({{"0 0 200 100", recursos, "/F Do"}, {"0 0 200 100", "", "1 0 0 rg 0 0 200 100 re f"}}, formas);
}

// "ff0000ff", at a point given in hundredths of the page.
std::string Color(const Raster& r, int x, int y) {
    const auto i = static_cast<size_t>((r.height * y / 100 * r.width + r.width * x / 100) * 4);
    char texto[9];
    std::snprintf(texto, sizeof texto, "%02x%02x%02x%02x", r.pixels[i], r.pixels[i + 1], r.pixels[i + 2],
                  r.pixels[i + 3]);
    return texto;
}

std::string Proc(pid_t pid, const std::string& fichero) {
    return Apoyo::LeerFichero("/proc/" + std::to_string(pid) + "/" + fichero);
}

// Whether the process ends within 5 s; it waits for its parent then.
bool Acaba(pid_t pid) {
    for (int i = 0; i < 5000 && Proc(pid, "stat").find(") Z") == std::string::npos; ++i)
        std::this_thread::sleep_for(1ms);
    return Proc(pid, "stat").find(") Z") != std::string::npos;
}

class Pagina : public testing::Test {
  protected:
    void TearDown() override {
        doc.reset();
        EXPECT_THAT(Hijos(), IsEmpty()) << "a process was left behind";
    }
    void Abrir(const std::string& pdf, std::chrono::milliseconds plazo = PageDocument::kLimit) {
        EscribirFichero(ruta, pdf);
        doc = PageDocument::Open(ruta, error, plazo);
        ASSERT_TRUE(doc) << error;
    }
    bool Dibujar(int pagina, int ancho) { return doc->RenderPage(pagina, ancho, raster, error); }

    CarpetaTemporal carpeta;
    std::string ruta = carpeta / "documento.pdf";
    std::unique_ptr<PageDocument> doc;
    Raster raster;
    std::string error;
};

TEST_F(Pagina, AbreSoloLoQueEsUnPdf) {
    const std::string una = ConHojas({{}});
    EscribirFichero(carpeta / "clara.pdf", una);
    Apoyo::Exigir({"qpdf", "--encrypt", "abre", "manda", "256", "--", carpeta / "clara.pdf", carpeta / "cifrada.pdf"});
    EscribirFichero(carpeta / "sin_hojas.pdf", ConHojas({}));
    EscribirFichero(carpeta / "sin_tabla.pdf", una.substr(0, una.find("xref")));
    ASSERT_EQ(mkfifo((carpeta / "tubo.pdf").c_str(), 0600), 0);
    const char* const danado = "No se pudo abrir el PDF (archivo inexistente o dañado).";
    const Apoyo::Filas<std::string, std::string> casos{
        {"clara.pdf", ""},         {"cifrada.pdf", "El PDF esta protegido con contraseña."},
        {"sin_tabla.pdf", danado}, {"tubo.pdf", danado},
        {"sin_hojas.pdf", danado}, {"", "Ruta de archivo invalida."}};
    for (const auto& [nombre, frase] : casos) {
        SCOPED_TRACE(nombre);
        const std::string camino = nombre.empty() ? "" : carpeta / nombre;
        const std::unique_ptr<Lx::Pdf::IDocument> abierto(Lx::Pdf::Open(camino, error));
        EXPECT_EQ(error, frase);
        EXPECT_EQ(abierto ? abierto->GetPageCount() : 0, frase.empty() ? 1 : 0);
    }
}

TEST_F(Pagina, DibujaLaHojaComoSeVe) {
    // Red at the left, green at the right, blue along the bottom; 10 points of black around the crop box.
    const std::string contenido =
        "0 g 0 0 220 120 re f 1 0 0 rg 10 10 100 100 re f 0 1 0 rg 110 10 100 100 re f 0 0 1 rg 10 10 200 20 re f";
    // The same as an image that is larger than it is drawn.
    std::string imagen = "0 g 0 0 220 120 re f q 200 0 0 100 10 10 cm BI /W 80 /H 40 /CS /RGB /BPC 8 /F /AHx ID ";
    for (int i = 0; i < 80 * 40; ++i) imagen += i >= 80 * 32 ? "0000ff" : i % 80 < 40 ? "ff0000" : "00ff00";
    imagen += "> EI Q";
    const std::string rojo = "ff0000ff", verde = "00ff00ff", azul = "0000ffff";
    // Its size, and the colours at 5 and 95 hundredths of either direction, in the middle of the other one.
    using S = std::string;
    const Apoyo::Filas<S, int, int, S, S, S, S> casos = {
        {"/CropBox [10 10 210 110]", 300, 150, rojo, verde, rojo, azul},
        {"/CropBox [10 10 210 110] /Rotate 90", 300, 600, azul, rojo, rojo, verde},
        {"/CropBox [110 10 310 110]", 220, 200, verde, "000000ff", verde, azul},
    };
    for (const auto& [entradas, ancho, alto, izquierda, derecha, arriba, abajo] : casos) {
        for (const int parte : {1, 10}) {
            SCOPED_TRACE(entradas + std::to_string(parte));
            Abrir(ConHojas({{"0 0 220 120", entradas, parte == 1 ? contenido : imagen}}));
            ASSERT_TRUE(Dibujar(0, ancho / parte)) << error;
            EXPECT_TRUE(raster.width == ancho / parte && raster.height == alto / parte);
            ASSERT_EQ(raster.pixels.size(), static_cast<size_t>(raster.width * raster.height * 4));
            EXPECT_EQ(Color(raster, 4, 45), izquierda);
            EXPECT_EQ(Color(raster, 96, 45), derecha);
            EXPECT_EQ(Color(raster, 45, 4), arriba);
            EXPECT_EQ(Color(raster, 45, 96), abajo);
        }
    }
}

TEST_F(Pagina, RehusaLoQueNoTieneTamano) {
    Abrir(ConHojas({{}, {"0 0 10 10000"}}));
    const std::string sinMemoria = "Sin memoria para rasterizar la pagina.";
    const Apoyo::Filas<int, int, std::string> casos{{-1, 100, "Pagina fuera de rango (0 de 2)."},
                                                    {2, 100, "Pagina fuera de rango (3 de 2)."},
                                                    {0, 0, "La pagina tiene un tamano invalido."},
                                                    {1, 317, sinMemoria},
                                                    {1, 300, ""}};
    for (const auto& [pagina, ancho, frase] : casos) {
        SCOPED_TRACE(std::to_string(pagina) + " " + std::to_string(ancho));
        EXPECT_EQ(Dibujar(pagina, ancho), frase.empty());
        EXPECT_EQ(error, frase);
    }
}

// A form that asks for appearances to be made anew: the stamp of a signature stays, and so does its document's text.
TEST_F(Pagina, ConservaElSelloDeUnaFirma) {
    const std::string sello = Flujo("1 0 0 rg 0 0 100 50 re f", "/Type /XObject /Subtype /Form /BBox [0 0 100 50]");
    const std::string nota =
        "<< /Type /Annot /FT/Sig /Subtype/Widget /T (Firma) /Rect [50 25 150 75] /F 4 /P 3 0 R /AP << /N 6 0 R >> >>";
    Abrir(ConHojas({{"0 0 200 100", "/Annots [5 0 R]"}}, {nota, sello},
                   "/AcroForm << /Fields [5 0 R] /SigFlags 3 /NeedAppearances true >>"));
    ASSERT_TRUE(Dibujar(0, 200)) << error;
    EXPECT_EQ(Color(raster, 50, 50), "ff0000ff");
}

// As a program without walls draws them: by their names alone, and by a table of characters that isn't there either.
TEST_F(Pagina, DibujaLetrasQueElDocumentoNoTrae) {
    const std::string china =
        "<< /Type /Font /Subtype /Type0 /BaseFont /STSong-Light /Encoding /UniGB-UCS2-H /DescendantFonts [<< "
        "/Type /Font /Subtype /CIDFontType0 /BaseFont /STSong-Light /CIDSystemInfo << /Registry (Adobe) /Ordering "
        "(GB1) /Supplement 4 >> /FontDescriptor "
        "<< /Type /FontDescriptor /FontName /STSong-Light /Flags 6 /FontBBox [0 -200 1000 900] "
        "/ItalicAngle 0 /Ascent 800 /Descent -200 /CapHeight 800 /StemV 80 >> >>] >>";
    const std::string letras =
        "/Resources << /Font << /A << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> /B " + china + " >> >>";
    Abrir(ConHojas({{"0 0 200 100", letras, "BT /A 60 Tf 10 50 Td (MMM) Tj /B 40 Tf 0 -45 Td <004D0041004D> Tj ET"}}));
    ASSERT_TRUE(Dibujar(0, 400)) << error;
    const std::string suya = Apoyo::Exigir({"pdftoppm", "-scale-to-x", "400", "-scale-to-y", "200", ruta});
    const std::string cabecera = "P6\n400 200\n255\n";
    ASSERT_EQ(suya.substr(0, cabecera.size()), cabecera);
    size_t negros = 0, suyos = 0;
    for (size_t i = 0; i < raster.pixels.size() / 4; ++i) {
        negros += raster.pixels[4 * i] < 128 ? 1 : 0;
        suyos += static_cast<unsigned char>(suya[cabecera.size() + 3 * i]) < 128 ? 1 : 0;
    }
    // Drawn by another of poppler's engines: the same letters with other edges.
    EXPECT_GT(negros, 3000U);
    EXPECT_NEAR(static_cast<double>(negros), static_cast<double>(suyos), 0.1 * static_cast<double>(suyos));
}

TEST_F(Pagina, UnaHojaLentaNoParaNadaMas) {
    Abrir(LentaYRoja(), 1500ms);
    const auto inicio = PageDocument::Clock::now();
    EXPECT_FALSE(doc->WaitForPage(0, 200, 100));
    EXPECT_LT(PageDocument::Clock::now() - inicio, 500ms);
    // Another page is wanted: the slow one goes, and its process with it.
    const pid_t primero = Hijos().at(0);
    ASSERT_TRUE(Dibujar(1, 200)) << error;
    EXPECT_EQ(Color(raster, 50, 50), "ff0000ff");
    EXPECT_LT(PageDocument::Clock::now() - inicio, 1200ms);
    EXPECT_NE(Hijos().at(0), primero);

    // Too slow, or dead midway: another process draws the next page.
    for (const bool muere : {false, true}) {
        EXPECT_FALSE(doc->WaitForPage(0, 200, 50));
        if (muere) kill(Hijos().at(0), SIGSEGV);
        EXPECT_FALSE(Dibujar(0, 200));
        EXPECT_EQ(error, muere ? kCerrado : kTarda);
        ASSERT_TRUE(Dibujar(1, 200)) << error;
    }
}

TEST_F(Pagina, UnaHojaPedidaAntesEstaHecha) {
    Abrir(LentaYRoja(), 1500ms);
    doc->RenderAhead(1, 200);
    ASSERT_TRUE(doc->WaitForPage(1, 200, 1000));
    // Another one is wanted instead: the process that drew ahead is free for it, however long that is ago.
    const pid_t proceso = Hijos().at(0);
    doc->RenderAhead(1, 300);
    std::this_thread::sleep_for(500ms);
    ASSERT_TRUE(Dibujar(1, 250)) << error;
    ASSERT_EQ(Hijos().at(0), proceso);

    doc->RenderAhead(1, 200);
    ASSERT_TRUE(doc->WaitForPage(1, 200, 1000));
    // Nothing more is needed from the process, and its end is no fault of the next page.
    kill(proceso, SIGKILL);
    ASSERT_TRUE(Acaba(proceso));
    for (const int ancho : {200, 201}) {
        ASSERT_TRUE(Dibujar(1, ancho)) << error;
        EXPECT_EQ(Color(raster, 50, 50), "ff0000ff");
    }
}

TEST_F(Pagina, ElProgramaEstaEncerrado) {
    // What this process left open for all must not reach that one.
    const int abierto = fcntl(STDERR_FILENO, F_DUPFD, 50);
    Abrir(ConHojas({{}}));
    close(abierto);
    const pid_t pid = Hijos().at(0);
    const std::string estado = Proc(pid, "status");
    EXPECT_THAT(estado, HasSubstr("Seccomp:\t2"));
    EXPECT_THAT(estado, HasSubstr("NoNewPrivs:\t1"));
    const std::string limites = Proc(pid, "limits");
    EXPECT_THAT(limites, testing::ContainsRegex("core file size +0 +0 "));
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_THAT(limites, testing::ContainsRegex("address space +2147483648 +2147483648 "));
#endif
    EXPECT_EQ(Proc(pid, "environ"), std::string("LC_ALL=C.UTF-8\0", 15));
    std::map<std::string, std::string> descriptores;
    for (const auto& uno : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"))
        descriptores[uno.path().filename()] = std::filesystem::read_symlink(uno).string().substr(0, 14);
    EXPECT_THAT(descriptores, testing::ElementsAre(testing::Pair("0", "/dev/null"), testing::Pair("1", "/dev/null"),
                                                   testing::Pair("2", "/dev/null"),
                                                   testing::Pair("3", testing::StartsWith("socket:")),
                                                   testing::Pair("4", "/memfd:ranuras")));
}

// From here on this process and those that it starts live on a kernel without Landlock and with less of seccomp.
enum class Quita { Nada, Avisos, QuienLosOiga, Todo };
void Quitar(Quita que) {
    scmp_filter_ctx sin = seccomp_init(SCMP_ACT_ALLOW);
    const auto rehusar = [&sin](int llamada, scmp_arg_cmp cuando) {
        seccomp_rule_add_array(sin, SCMP_ACT_ERRNO(EINVAL), llamada, 1, &cuando);
    };
    constexpr auto kAvisos = SECCOMP_FILTER_FLAG_NEW_LISTENER;
    seccomp_rule_add(sin, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(landlock_create_ruleset), 0);
    if (que == Quita::Avisos) rehusar(SCMP_SYS(seccomp), {1, SCMP_CMP_MASKED_EQ, kAvisos, kAvisos});
    if (que == Quita::QuienLosOiga) seccomp_rule_add(sin, SCMP_ACT_ERRNO(EMFILE), SCMP_SYS(eventfd2), 0);
    if (que == Quita::Todo) {
        seccomp_rule_add(sin, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(seccomp), 0);
        rehusar(SCMP_SYS(prctl), {0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0});
    }
    if (seccomp_load(sin) != 0) _exit(1);
}

TEST_F(Pagina, SinMurosNoSeDibuja) {
    using Lx::Ayudante::ExplicarMuros;
    EXPECT_THAT(ExplicarMuros(Lx::Ayudante::Muros{true, true, 6}), HasSubstr("ficheros y Landlock (versión 6)."));
    EXPECT_THAT(ExplicarMuros({}), HasSubstr("falta o no responde"));
    EscribirFichero(ruta, ConHojas({{}}));
    const std::string aislada =
        "Lectura de PDF aislada: filtro de llamadas .seccomp. e intermediario de ficheros; Landlock no está en este "
        "núcleo.";
    const std::string sinFicheros = "No se dibujan páginas: este sistema no ofrece ni intermediario de ficheros .*";
    const std::string sinFiltro = "No se dibujan páginas: este sistema no ofrece el filtro de llamadas .*";
    const Apoyo::Filas<Quita, std::string> casos{
        {Quita::Nada, "^" + aislada + "\n$"},
        {Quita::Avisos, "^" + sinFicheros + "\n" + sinFicheros + "$"},
        {Quita::QuienLosOiga, "^" + sinFicheros + "\n" + sinFicheros + "$"},
        {Quita::Todo, "^" + sinFiltro + "\n" + sinFiltro + "$"},
    };
    for (const auto& [que, espera] : casos) {
        EXPECT_EXIT(
            {
                Quitar(que);
                std::fprintf(stderr, "%s\n", ExplicarMuros(Lx::Ayudante::MurosEnVigor()).c_str());
                doc = PageDocument::Open(ruta, error);
                std::fputs(error.c_str(), stderr);
                if (doc) _exit(0);
                // The program itself doesn't look at the document either.
                const auto programa =
                    Lx::Ayudante::Programa::Arrancar(Lx::Ayudante::Ranuras::Crear(Lx::Ayudante::kUnidad)->Memoria());
                _exit(Acaba(Hijos().at(0)) ? 3 : 4);
            },
            testing::ExitedWithCode(que == Quita::Nada ? 0 : 3), espera);
    }
}

}  // namespace
