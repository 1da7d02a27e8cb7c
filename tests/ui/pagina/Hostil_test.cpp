// A page program that a document has taken over may say what it likes.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>

#include "ayudante/Intermediario.h"
#include "ayudante/LxMuros.h"
#include "ayudante/LxProtocolo.h"
#include "tests/apoyo/Apoyo.h"
#include "ui/platform/pdf/PageDocument.h"

namespace {

using namespace std::chrono_literals;
using Lx::Ayudante::Estado;

template <class Registro = Lx::Ayudante::Respuesta>
std::string Hex(const Registro& r, size_t bytes = sizeof(Registro)) {
    std::string datos(reinterpret_cast<const char*>(&r), sizeof r), texto;
    datos.resize(bytes, 'x');
    for (char c : datos) {
        char par[3];
        std::snprintf(par, sizeof par, "%02x", static_cast<unsigned>(c) & 0xFF);
        texto += par;
    }
    return texto + "\n";
}

std::string Saluda(uint32_t seccomp = 1, uint32_t intermediario = 1, int32_t landlock = 0, size_t bytes = 12) {
    return Hex(Lx::Ayudante::Saludo{seccomp, intermediario, landlock}, bytes);
}

const std::string kTresHojas = Saluda() + Hex({1, Estado::Bien, 3, 0, 0});

TEST(Hostil, SoloSeCreeLoQueCuadraConLoPedido) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "guion";
    const std::string cerrado = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
    Apoyo::Filas<std::string, std::string> casos{
        {Hex({2, Estado::Bien, 50, 0, 0}), ""},
        {"llena\n", "Sin memoria para rasterizar la pagina."},
        {Hex({2, Estado::SinMemoria, 50, 0, 0}), "Sin memoria para rasterizar la pagina."},
        {Hex({2, Estado{77}, 50, 0, 0}), "No se pudo dibujar la pagina."},
        {Hex({2, Estado::TamanoInvalido, 50, 0, 0}), "La pagina tiene un tamano invalido."},
    };
    constexpr unsigned kTodo = 400'000'000;
    for (const auto& [numero, alto, largo, bytes] :
         Apoyo::Filas<unsigned, int, unsigned, size_t>{{3, 50, 0, 20},
                                                       {1, 50, 0, 20},
                                                       {2, -50, 0, 20},
                                                       {2, 0, 0, 20},
                                                       {2, 1'001'000, 0, 20},
                                                       {2, 50, 2 * kTodo, 20},
                                                       {2, 50, 0, 19},
                                                       {2, 50, 0, 21},
                                                       {2, 50, 0, 0}})
        casos.emplace_back(Hex({numero, Estado::Bien, alto, 0, largo}, bytes), cerrado);
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
    const std::string danado = "No se pudo abrir el PDF (archivo inexistente o dañado).", una = Hex({1, {}, 1, 0, 0});
    const std::string mudo = "No se pudo dibujar la pagina: el programa que la dibuja no responde.";
    const auto falta = [](bool seccomp) { return Lx::Ayudante::ExplicarFalta({seccomp, false, 0}); };
    struct Caso {
        std::string guion, frase;
        std::chrono::milliseconds plazo{20'000}, tarda{0};
    };
    const Caso casos[] = {
        {Saluda() + Hex({1, Estado::Bien, 0, 0, 0}), danado},
        {Saluda() + Hex({2, Estado::Bien, 3, 0, 0}), danado},
        {Saluda() + Hex({1, Estado{9}, 3, 0, 0}), danado},
        {Saluda() + Hex({}, 3), danado},
        {Saluda(1, 0, 1) + una, ""},
        {Saluda(2, 1, 0) + una, danado},
        {Saluda(1, 2, 0) + una, danado},
        {Saluda(1, 0, -1) + una, danado},
        {Saluda(1, 1, 0, 11) + una, danado},
        {Saluda(1, 1, 0, 4000) + una, danado},
        {Saluda(0, 1, 6) + una, falta(false)},
        {Saluda(1, 0, 0) + una, falta(true)},
        {"\n", danado},
        {"escucha\n" + una, ""},
        {Saluda() + "00", "El PDF tarda demasiado en abrirse.", 200ms, 200ms},
        {"00", mudo, 20s, 5s},
    };
    for (const auto& [guion, frase, plazo, tarda] : casos) {
        SCOPED_TRACE(guion.substr(0, 80));
        Apoyo::EscribirFichero(ruta, guion);
        std::string error;
        const auto inicio = std::chrono::steady_clock::now();
        const bool abierto = Lx::Pdf::PageDocument::Open(ruta, error, plazo) != nullptr;
        const auto pasado = std::chrono::steady_clock::now() - inicio;
        EXPECT_EQ(error, frase);
        EXPECT_EQ(abierto, frase.empty());
        EXPECT_GE(pasado, tarda);
        EXPECT_LT(pasado, tarda + 2s);
    }
}

// The real walls, tried from inside.
TEST(Hostil, LosMurosAguantan) {
    Apoyo::Filas<std::string, int> casos{
        {"leer /etc/passwd", EACCES},
        {"leer /proc/self/environ", EACCES},
        {"leer etc/fonts/fonts.conf", EACCES},
        {"leer /etc/fonts/../passwd", EACCES},
        {"leer /etc/fonts/no_esta", ENOENT},
        {"leer /" + std::string(5000, 'a'), EFAULT},
        {"sin_nombre", EFAULT},
        {"escribir /etc/fonts/fonts.conf", EPERM},
        {"openat2 /etc/fonts/fonts.conf", EPERM},
        {"carpeta /etc/fonts/fonts.conf", ENOTDIR},
        {"leer /etc/fonts/fonts.conf", 0},
        {"carpeta /usr/share/fonts", 0},
        {"leer " + std::filesystem::directory_iterator("/usr/share/fonts")->path().string(), 0},
        {"leer " + std::filesystem::directory_iterator("/etc/fonts/conf.d")->path().string(), 0},
    };
    for (const char* que : {"socket", "kill", "tgkill", "ptrace", "memoria", "execve", "fork", "sendmsg", "recvmsg",
                            "codigo", "volverlo"})
        casos.emplace_back(que, EPERM);
    const Apoyo::CarpetaTemporal carpeta;
    std::string guion = "muros\n" + Hex({1, Estado::Bien, static_cast<int>(casos.size()), 0, 0}), error;
    for (const auto& [intento, _] : casos) guion += intento + "\n";
    Apoyo::EscribirFichero(carpeta / "guion", guion);
    const auto doc = Lx::Pdf::PageDocument::Open(carpeta / "guion", error);
    ASSERT_TRUE(doc) << error;
    for (const auto& [intento, errno_] : casos) {
        Lx::Pdf::Raster raster;
        ASSERT_TRUE(doc->RenderPage(0, 1, raster, error)) << intento << error;
        EXPECT_EQ(raster.height - 1, errno_) << intento;
    }
}

// What is looked at by who opens files for the program, in a tree with links that lead out of it.
TEST(Hostil, SoloSeAbreLoQueEstaEnLasCarpetas) {
    const Apoyo::CarpetaTemporal carpeta;
    Apoyo::Exigir(
        {"sh", "-c", "cd " + carpeta.Ruta() + R"( && mkdir dentro dentro2 fuera dentro/sub && echo si > dentro/a &&
                       echo no > fuera/b && echo no > dentro2/c && ln -s ../fuera/b dentro/enlace && ln -s a dentro/bien &&
                       ln -s ../fuera dentro/salida && ln -s ../dentro2/c dentro/otra && ln -s ../dentro fuera/vuelta &&
                       ln -s ../otra/letra dentro/letra && mkdir otra && echo si > otra/letra && mkfifo dentro/tubo &&
                       ln -s lazo dentro/lazo && ln -s otra nombre)"});
    const Apoyo::Filas<int, std::vector<std::string>> casos{
        {0, {"/dentro/a", "/dentro", "/dentro/bien", "/dentro/letra"}},
        {EACCES, {"/dentro/enlace", "/dentro/salida/b", "/dentro/otra", "/dentro2/c", "/fuera/b", "/fuera/vuelta/a"}},
        {EACCES, {"/dentro/tubo", "/dentro/sub/../a", ""}},
        {ENOENT, {"/dentro/no"}},
        {ENOTDIR, {"/dentro/a/b"}},
        {ELOOP, {"/dentro/lazo"}},
    };
    const std::vector<std::string> carpetas{carpeta / "dentro", carpeta / "otra"};
    for (const auto& [espera, rutas] : casos) {
        for (const std::string& ruta : rutas) {
            int error = 0;
            const auto abierto = Lx::Ayudante::AbrirPermitido(carpeta.Ruta() + ruta, 0, carpetas, error);
            EXPECT_EQ(abierto ? 0 : error, espera) << ruta;
        }
    }
}

}  // namespace
