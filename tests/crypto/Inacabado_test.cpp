// Files without a final name go with whatever ends the program, and nothing else does.
#include "crypto/LxInacabado.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/apoyo/Apoyo.h"

namespace Lx::Api {
namespace {

namespace fs = std::filesystem;
using Apoyo::Aparte;

class InacabadoTest : public testing::Test {
  protected:
    [[nodiscard]] long Hay() const {
        return std::distance(fs::directory_iterator(carpeta_.Ruta()), fs::directory_iterator());
    }

    Apoyo::CarpetaTemporal carpeta_;
    const std::string destino_ = carpeta_ / "d.pdf";
};

void Salir77(int) {
    _exit(77);
}

// Several at once, one of them given up to somebody else.
TEST_F(InacabadoTest, UnaSenalSeLosLleva) {
    const auto herir = [&](int senal, void (*antes)(int)) {
        signal(senal, antes);
        Inacabado uno, soltado, otro;
        if (!uno.Crear(destino_) || !soltado.Crear(destino_) || !otro.Crear(destino_)) return false;
        soltado.Soltar();
        return raise(senal) == 0 && Hay() == 3;
    };
    // Only the one that was given up stays, or all: what the program does about a signal is its own affair.
    const Apoyo::Filas<int, void (*)(int), int, long> filas = {
        {SIGHUP, SIG_DFL, 128 + SIGHUP, 1},   {SIGINT, SIG_DFL, 128 + SIGINT, 1}, {SIGQUIT, SIG_DFL, 128 + SIGQUIT, 1},
        {SIGTERM, SIG_DFL, 128 + SIGTERM, 1}, {SIGTERM, Salir77, 77, 3},          {SIGHUP, SIG_IGN, 0, 1},
    };
    for (const auto& [senal, antes, estado, quedan] : filas) {
        SCOPED_TRACE(std::to_string(senal) + " " + std::to_string(estado));
        EXPECT_EQ(Aparte([&, s = senal, a = antes] { return herir(s, a); }), estado);
        EXPECT_EQ(Hay(), quedan);
        for (const auto& e : fs::directory_iterator(carpeta_.Ruta())) fs::remove(e);
    }
    // At the end of the program too.
    EXPECT_EQ(Aparte([&] {
                  static auto* const perdido = new Inacabado;
                  if (perdido->Crear(destino_)) std::exit(5);
                  return false;
              }),
              5);
    EXPECT_EQ(Hay(), 0);
}

// A child that ends by a signal leaves its parent's files, and has its own place in the register.
TEST_F(InacabadoTest, LosDelPadreNoSonDelHijo) {
    Inacabado uno, otro;
    ASSERT_TRUE(uno.Crear(destino_) && otro.Crear(destino_));
    EXPECT_EQ(Aparte([&] {
                  Inacabado suyo;
                  return suyo.Crear(destino_) && Hay() == 3 && raise(SIGTERM) == 0;
              }),
              128 + SIGTERM);
    EXPECT_EQ(Hay(), 2);
    EXPECT_TRUE(fs::exists(uno.Ruta()) && fs::exists(otro.Ruta()));
}

// Handlers are there only as long as there are files, and one put over them meanwhile keeps its place.
TEST_F(InacabadoTest, LosManejadoresVuelven) {
    const auto manejador = [](int senal) {
        struct sigaction a {};
        sigaction(senal, nullptr, &a);
        return a.sa_handler;
    };
    {
        Inacabado uno, otro;
        ASSERT_TRUE(uno.Crear(destino_) && otro.Crear(destino_));
        uno.Quitar();
        EXPECT_NE(manejador(SIGTERM), SIG_DFL);
    }
    EXPECT_EQ(manejador(SIGTERM), SIG_DFL);
    {
        Inacabado uno;
        ASSERT_TRUE(uno.Crear(destino_));
        signal(SIGTERM, Salir77);
    }
    EXPECT_EQ(signal(SIGTERM, SIG_DFL), Salir77);
}

TEST_F(InacabadoTest, Nombres) {
    const std::string tomado = carpeta_ / "tomado";
    Apoyo::EscribirFichero(tomado, "de otro");
    {
        Inacabado uno, otro, ninguno;
        const mode_t antes = umask(027);
        const Descriptor fd = uno.Crear(destino_, 0751);
        umask(antes);
        ASSERT_TRUE(fd && otro.Crear(destino_));
        EXPECT_THAT(uno.Ruta(), testing::StartsWith(carpeta_ / ".velmora_"));
        EXPECT_NE(uno.Ruta(), otro.Ruta());
        ASSERT_EQ(write(fd.Valor(), "x", 1), 1);
        EXPECT_TRUE(!Enlazar(fd.Valor(), otro.Ruta()) && errno == EEXIST);
        EXPECT_TRUE(!uno.RenombrarSinPisar(tomado) && errno == EEXIST);
        EXPECT_TRUE(uno.RenombrarSinPisar(destino_) && otro.Renombrar(tomado));
        EXPECT_EQ(uno.Ruta(), "");
        EXPECT_TRUE(!ninguno.Crear(carpeta_ / "no/hay") && errno == ENOENT);
        Inacabado lleno[12];
        for (Inacabado& i : lleno) EXPECT_TRUE(i.Crear(destino_)) << "more than there are places";
        EXPECT_EQ(Hay(), 14);
    }
    EXPECT_EQ(Hay(), 2);
    EXPECT_EQ(Apoyo::LeerFichero(destino_) + Apoyo::LeerFichero(tomado), "x");
    struct stat st {};
    EXPECT_TRUE(stat(destino_.c_str(), &st) == 0 && (st.st_mode & 0777) == 0750);
}

// What ended programs of this user left, and nothing else.
TEST_F(InacabadoTest, LoQueDejoUnMuerto) {
    EXPECT_EQ(Aparte([&] {
                  Inacabado uno;
                  return uno.Crear(destino_) && raise(SIGKILL) == 0;
              }),
              128 + SIGKILL);
    ASSERT_EQ(Hay(), 1);
    const std::string suyo = fs::directory_iterator(carpeta_.Ruta())->path();
    const std::string muerto = suyo.substr(0, suyo.rfind('_') + 1), vivo = std::to_string(getpid());
    for (const std::string& otro :
         {muerto + "zz.tmp", muerto + ".tmp", muerto + "ab.tmpx", carpeta_ / ".velmora_0_ab.tmp",
          carpeta_ / ".velmora_-2_ab.tmp", carpeta_ / ".velmora_.tmp", carpeta_ / ".velmora_" + vivo + "_ab.tmp",
          muerto + "de0.tmp"})
        Apoyo::EscribirFichero(otro, "");
    fs::create_symlink(destino_, muerto + "e.tmp");
    const bool ajeno = chown((muerto + "de0.tmp").c_str(), 12345, 0) == 0;
    Inacabado trabaja;  // in another container: its process has no number here
    const Descriptor fd = trabaja.Crear(destino_);
    fs::rename(trabaja.Ruta(), muerto + "c.tmp");
    const long habia = Hay();
    Inacabado::QuitarAbandonados(carpeta_ / "no/hay.pdf");
    Inacabado::QuitarAbandonados(destino_);
    EXPECT_FALSE(fs::exists(suyo));
    EXPECT_EQ(Hay(), habia - (ajeno ? 1 : 2));
}

}  // namespace
}  // namespace Lx::Api
