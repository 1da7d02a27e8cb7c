// Files without a final name go with whatever ends the program, and nothing else does.
#include "crypto/LxInacabado.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "tests/apoyo/Apoyo.h"

namespace Lx::Api {
namespace {

namespace fs = std::filesystem;

class InacabadoTest : public testing::Test {
  protected:
    // `hacer` in a process of its own: its status, 128 and more for a signal.
    static int Aparte(const std::function<void()>& hacer) {
        const pid_t hijo = fork();
        if (hijo == 0) {
            hacer();
            _exit(0);
        }
        int estado = 0;
        EXPECT_EQ(waitpid(hijo, &estado, 0), hijo);
        return WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado);
    }
    [[nodiscard]] long Hay() const {
        return std::distance(fs::directory_iterator(carpeta_.Ruta()), fs::directory_iterator());
    }

    Apoyo::CarpetaTemporal carpeta_;
    const std::string destino_ = carpeta_ / "d.pdf";
};

void Salir77(int) {
    _exit(77);
}

struct sigaction g_debajo {};

// Hands the signal on to the handler that it was put over.
void Seguir(int senal) {
    sigaction(senal, &g_debajo, nullptr);
    raise(senal);
}

// Several at once, one of them given up to somebody else.
TEST_F(InacabadoTest, UnaSenalSeLosLleva) {
    const auto herir = [&](int senal, void (*antes)(int)) {
        signal(senal, antes);
        std::array<Inacabado, 3> varios;
        for (Inacabado& i : varios)
            if (!i.Crear(destino_)) _exit(1);
        if (Hay() != 3) _exit(2);
        varios[1].Soltar();
        raise(senal);
        if (Hay() != 3) _exit(3);  // it was ignored
    };
    // Only the one that was given up stays, or all: what the program does about a signal is its own affair.
    const Apoyo::Filas<int, void (*)(int), int, long> filas = {
        {SIGHUP, SIG_DFL, 128 + SIGHUP, 1},   {SIGINT, SIG_DFL, 128 + SIGINT, 1}, {SIGQUIT, SIG_DFL, 128 + SIGQUIT, 1},
        {SIGTERM, SIG_DFL, 128 + SIGTERM, 1}, {SIGTERM, Salir77, 77, 3},          {SIGHUP, SIG_IGN, 0, 1},
    };
    for (const auto& [senal, antes, estado, quedan] : filas) {
        SCOPED_TRACE(std::to_string(senal) + " " + std::to_string(estado));
        EXPECT_EQ(Aparte([&, s = senal, a = antes] { herir(s, a); }), estado);
        EXPECT_EQ(Hay(), quedan);
        for (const auto& e : fs::directory_iterator(carpeta_.Ruta())) fs::remove(e);
    }
}

TEST_F(InacabadoTest, TambienAlSalir) {
    EXPECT_EQ(Aparte([&] {
                  static auto* const perdido = new Inacabado;
                  if (!perdido->Crear(destino_)) _exit(1);
                  std::exit(5);
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
                  if (!suyo.Crear(destino_) || Hay() != 3) _exit(1);
                  raise(SIGTERM);
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
    EXPECT_EQ(Aparte([&] {
                  {
                      Inacabado uno;
                      if (!uno.Crear(destino_)) _exit(1);
                      struct sigaction encima {};
                      encima.sa_handler = Seguir;
                      sigaction(SIGTERM, &encima, &g_debajo);
                  }
                  Inacabado otro;
                  if (!otro.Crear(destino_)) _exit(1);
                  alarm(10);
                  raise(SIGTERM);
              }),
              128 + SIGTERM);
    EXPECT_EQ(Hay(), 0);
}

TEST_F(InacabadoTest, Nombres) {
    {
        Inacabado uno, otro, ninguno;
        const Descriptor fd = uno.Crear(destino_);
        ASSERT_TRUE(fd && otro.Crear(destino_));
        EXPECT_THAT(uno.Ruta(), testing::StartsWith(carpeta_ / ".velmora_"));
        EXPECT_NE(uno.Ruta(), otro.Ruta());
        ASSERT_EQ(write(fd.Valor(), "x", 1), 1);
        EXPECT_FALSE(Enlazar(fd.Valor(), otro.Ruta()));
        EXPECT_EQ(errno, EEXIST);
        EXPECT_FALSE(uno.Renombrar(carpeta_ / "no/hay"));
        EXPECT_TRUE(uno.Renombrar(destino_));
        EXPECT_EQ(uno.Ruta(), "");
        EXPECT_FALSE(ninguno.Crear(carpeta_ / "no/hay"));
        EXPECT_EQ(errno, ENOENT);
        Inacabado lleno[12];
        for (Inacabado& i : lleno) EXPECT_TRUE(i.Crear(destino_)) << "more than there are places";
        EXPECT_EQ(Hay(), 14);
    }
    EXPECT_EQ(Hay(), 1);
    EXPECT_EQ(Apoyo::LeerFichero(destino_), "x");
}

}  // namespace
}  // namespace Lx::Api
