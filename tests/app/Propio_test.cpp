// What the program keeps for itself, and what it makes of words that others wrote: its command line, its own files,
// addresses.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "app/Direccion.h"
#include "app/Escasez.h"
#include "app/FicheroPropio.h"
#include "app/LineaDeOrdenes.h"
#include "app/Preferencias.h"
#include "app/Recientes.h"
#include "tests/apoyo/Apoyo.h"

namespace {

namespace fs = std::filesystem;
using Orvanta::LeerLinea;
using Orvanta::LineaDeOrdenes;
using Orvanta::Recientes;
using Accion = LineaDeOrdenes::Accion;
using Palabras = std::vector<std::string>;

mode_t Permisos(const std::string& ruta) {
    struct stat d {};
    return stat(ruta.c_str(), &d) == 0 ? d.st_mode & 0777U : 0;
}

TEST(LineaDeOrdenes, LoQueSePide) {
    const Apoyo::Filas<Palabras, Accion, Palabras> filas = {
        {Palabras(), Accion::Abrir, {}},
        {{"a.pdf", "-", ""}, Accion::Abrir, {"a.pdf", "-", ""}},
        {{"a.pdf", "--version"}, Accion::Version, {"a.pdf"}},
        {Palabras{"-h", "-V"}, Accion::Ayuda, {}},
        {{"--diagnostico"}, Accion::Diagnostico, {}},
        {{"--", "--help", "--"}, Accion::Abrir, {"--help", "--"}},
        {{"a.pdf", "--hel"}, Accion::Error, {}},
        {Palabras(20, "a.pdf"), Accion::Abrir, Palabras(20, "a.pdf")},
        {Palabras(21, "a.pdf"), Accion::Error, {}},
    };
    for (const auto& [palabras, accion, documentos] : filas) {
        SCOPED_TRACE(testing::PrintToString(palabras));
        const LineaDeOrdenes linea = LeerLinea(palabras);
        EXPECT_EQ(linea.accion, accion);
        EXPECT_EQ(linea.documentos, documentos);
        EXPECT_EQ(linea.error.empty(), accion != Accion::Error);
    }
}

TEST(Escasez, LoQueDiceElNucleo) {
    for (const char* mucha : {"some avg10=10.00 avg60=0.00", "some avg10=99.5"})
        EXPECT_TRUE(Orvanta::FaltaMemoria(mucha));
    for (const char* poca : {"some avg10=9.99 avg60=80.00", "full avg10=50.00", "some avg10=", "some avg10=nan", ""})
        EXPECT_FALSE(Orvanta::FaltaMemoria(poca)) << poca;
}

TEST(Direccion, SoloLoQueSePuedeComprobar) {
    const Apoyo::Filas<std::string, std::string> filas = {
        {"HTTPS://a.es/b?c=d", "HTTPS://a.es/b?c=d"},
        {"mailto:ana@a.es", "mailto:ana@a.es"},
        {"http://a.es/\xe2\x80\xae x\n", "http://a.es/%E2%80%AE%20x%0A"},
        {"https://", ""},
        {"javascript:alert(1)", ""},
        {" http://a.es", ""},
        {"file:///etc/passwd", ""},
        {"http://a.es/" + std::string(989, 'a'), ""},
    };
    for (const auto& [direccion, segura] : filas) {
        std::string error;
        EXPECT_EQ(Orvanta::DireccionSegura(direccion, error), segura) << direccion;
        EXPECT_EQ(error.empty(), !segura.empty());
    }
    for (const auto& [direccion, sitio] :
         Apoyo::Filas<std::string, std::string>{{"https://banco.es@malo.es:8/banco.es?a@banco.es", "malo.es:8"},
                                                {"http://malo.es\\@banco.es", "malo.es"},
                                                {"https://a@b@malo.es#@banco.es", "malo.es"},
                                                {"mailto:ana@a.es", ""}})
        EXPECT_EQ(Orvanta::SitioDe(direccion), sitio);
}

class Propio : public testing::Test {
  protected:
    Propio() {
        setenv("XDG_STATE_HOME", (carpeta_ / "estado").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (carpeta_ / "config").c_str(), 1);
        setenv("HOME", carpeta_.Ruta().c_str(), 1);
    }
    Apoyo::CarpetaTemporal carpeta_;
    std::string fichero_ = carpeta_ / "estado/velmora/recientes";
};

TEST_F(Propio, LosRecientes) {
    const Recientes recientes;
    const Lx::ViewPlace lugar{41, 0.25, 0.5, 1.7, Lx::ViewPlace::Fit::Free, 3, true};
    for (int i = 0; i < 12; ++i) recientes.Anotar({"/a/ñ %+\n" + std::to_string(i), {}});
    EXPECT_EQ(Permisos(fichero_), 0600U);
    EXPECT_EQ(Permisos(carpeta_ / "estado/velmora"), 0700U);
    ASSERT_EQ(recientes.Ver().size(), 10U);
    recientes.Anotar({"/a/ñ %+\n5", lugar});
    recientes.Mover({"/a/ñ %+\n2", lugar});
    recientes.Mover({"/otro", lugar});
    const auto todos = recientes.Ver();
    ASSERT_EQ(todos.size(), 10U);
    EXPECT_EQ(todos.front().ruta, "/a/ñ %+\n5");
    EXPECT_EQ(todos.front().lugar, lugar);
    EXPECT_EQ(todos.back().ruta, "/a/ñ %+\n2");
    EXPECT_EQ(recientes.LugarDe("/a/ñ %+\n2"), lugar);
    EXPECT_FALSE(recientes.LugarDe("/otro"));
    recientes.Borrar();
    EXPECT_FALSE(fs::exists(fichero_));
    EXPECT_TRUE(recientes.Ver().empty());
}

// What somebody else wrote there is taken for what it can be.
TEST_F(Propio, UnFicheroHostil) {
    const std::string cabecera = "velmora-recientes 1\n", buena = "0 0 0 1 1 0 0 /b\n";
    const Apoyo::Filas<std::string, size_t> filas = {
        {cabecera + buena, 1},
        {buena, 0},
        {cabecera + "x\n\n-1 0 0 1 1 0 0 /b\n0 2 0 1 1 0 0 /b\n0 0 nan 1 1 0 0 /b\n0 0 0 9 1 0 0 /b\n" + buena, 1},
        {cabecera + "0 0 0 1 3 0 0 /b\n0 0 0 1 1 4 0 /b\n0 0 0 1 1 0 2 /b\n99999999999 0 0 1 1 0 0 /b", 0},
        {cabecera + "0 0 0 1 1 0 0 b\n0 0 0 1 1 0 0 /b%00c\n0 0 0 1 1 0 0 /" + std::string(4096, 'a') + "\n", 0},
        {cabecera + std::string(300'000, ' ') + buena, 0},
    };
    fs::create_directories(carpeta_ / "estado/velmora");
    for (const auto& [texto, quedan] : filas) {
        SCOPED_TRACE(texto.substr(0, 80));
        Apoyo::EscribirFichero(fichero_, texto);
        EXPECT_EQ(Recientes().Ver().size(), quedan);
    }
    fs::rename(fichero_, fichero_ + "2");
    Apoyo::EscribirFichero(fichero_ + "2", cabecera + buena);
    fs::create_symlink(fichero_ + "2", fichero_);
    EXPECT_TRUE(Recientes().Ver().empty()) << "a link";
    Recientes().Anotar({"/c", {}});
    EXPECT_EQ(Apoyo::LeerFichero(fichero_ + "2"), cabecera + buena) << "what the link leads to stays";
    EXPECT_EQ(Recientes().Ver().size(), 1U);
    fs::remove(fichero_);
    ASSERT_EQ(mkfifo(fichero_.c_str(), 0600), 0);
    EXPECT_TRUE(Recientes().Ver().empty());
}

TEST_F(Propio, LasPreferenciasYLasCarpetas) {
    using Orvanta::Tema;
    EXPECT_TRUE(Orvanta::LeerPreferencias().recientes);
    for (const Tema tema : {Tema::Claro, Tema::Oscuro, Tema::DelEscritorio}) {
        ASSERT_TRUE(Orvanta::GuardarPreferencias({tema, tema != Tema::Oscuro}));
        EXPECT_EQ(Orvanta::LeerPreferencias().tema, tema);
        EXPECT_EQ(Orvanta::LeerPreferencias().recientes, tema != Tema::Oscuro);
    }
    EXPECT_EQ(Permisos(carpeta_ / "config/velmora/preferencias"), 0600U);
    setenv("XDG_STATE_HOME", "relativa", 1);
    EXPECT_EQ(Orvanta::CarpetaDeEstado(), carpeta_ / ".local/state/velmora");
    // The folder of the person's documents, as the desktop writes it.
    fs::create_directory(carpeta_ / "Mis papeles");
    const Apoyo::Filas<std::string, std::string> filas = {
        {"# x\nXDG_DOCUMENTS_DIR=\"$HOME/Mis papeles\"\n", carpeta_ / "Mis papeles"},
        {"XDG_DOCUMENTS_DIR=\"" + carpeta_ / "Mis papeles" + "\"", carpeta_ / "Mis papeles"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/No está\"\n", carpeta_.Ruta()},
        {"#XDG_DOCUMENTS_DIR=\"/\"\n", carpeta_.Ruta()},
        {"XDG_DOCUMENTS_DIR=\"", carpeta_.Ruta()},
    };
    for (const auto& [texto, carpeta] : filas) {
        Apoyo::EscribirFichero(carpeta_ / "config/user-dirs.dirs", texto);
        EXPECT_EQ(Orvanta::CarpetaDeDocumentos(), carpeta) << texto;
    }
}

}  // namespace
