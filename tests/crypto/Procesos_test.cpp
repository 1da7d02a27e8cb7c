// Programs that are started: what reaches them, what they leave, and how their time ends.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "crypto/LxProceso.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using namespace std::chrono_literals;
using Lx::BloqueSecreto;
using Lx::Control;
using Lx::FicheroMemoria;
using testing::HasSubstr;
using testing::Not;

// A shell script's end and its standard output, of which there is room for `tope` bytes.
std::pair<Fin, std::string> Correr(const std::string& guion, size_t tope = 1000, Control* control = nullptr,
                                   std::chrono::milliseconds plazo = 10s) {
    Control propio;
    BloqueSecreto salida(tope);
    Orden orden("/bin/sh");
    orden.Palabras({"-c", guion});
    orden.RecogerSalida(salida);
    const Fin fin = orden.Ejecutar(control == nullptr ? propio : *control, plazo);
    return {fin, std::string(salida.Ver())};
}

TEST(Proceso, FinYSalida) {
    const std::string mil(1000, 'x');
    const Apoyo::Filas<const char*, Fin, std::string> filas = {
        {"echo \"a'b $HOME\" | cut -c1-3; echo no >&2", Fin::Bien, "a'b\n"},
        {"printf antes; exit 3", Fin::Mal, "antes"},
        {"kill -TERM $$", Fin::Mal, ""},
        {"cat; read x || echo vacia", Fin::Bien, "vacia\n"},
        {"printf %01000d 0 | tr 0 x", Fin::Bien, mil},
        {"yes | tr -d '\\n' | tr y x", Fin::Excede, mil},
        // Whoever is left behind with the pipe isn't waited for.
        {"sleep 20 & echo ya", Fin::Bien, "ya\n"},
        // No terminal of ours: a session of its own. Nothing blocked or ignored.
        {"set -- $(cat /proc/$$/stat); [ $1 = $6 ] && echo suya", Fin::Bien, "suya\n"},
        {"s=/proc/self/status; b=$(sed -n 's/SigBlk:.//p' $s); i=$(sed -n 's/SigIgn:.//p' $s)\n"
         "echo $((0x$b)) $((0x$i & 0x7FFFFFFF))",  // above them are the C library's own
         Fin::Bien, "0 0\n"},
    };
    sigset_t una, antes;
    sigemptyset(&una);
    sigaddset(&una, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &una, &antes);
    const auto tubo = signal(SIGPIPE, SIG_IGN);
    for (const auto& [guion, fin, salida] : filas) {
        SCOPED_TRACE(guion);
        const auto inicio = std::chrono::steady_clock::now();
        EXPECT_EQ(Correr(guion), std::pair(fin, salida));
        EXPECT_LT(std::chrono::steady_clock::now() - inicio, 5s);
    }
    signal(SIGPIPE, tubo);
    pthread_sigmask(SIG_SETMASK, &antes, nullptr);
    EXPECT_EQ(Orden("/nada/de/nada").Ejecutar(Control()), Fin::NoArranca);
}

// Its files come under their numbers, whatever numbers they have here; no other file of ours is open in it.
TEST(Proceso, SoloLosFicherosDichos) {
    FicheroMemoria uno, dos, otra;
    ASSERT_TRUE(uno.Crear({"un", "o\n"}) && dos.Crear({"dos\n"}) && otra.Crear({"otra"}));
    const int abierto = open("/dev/null", O_RDONLY);  // not close-on-exec
    BloqueSecreto fuera(100), salida(1000);
    Orden orden("/bin/sh");
    // The last one here is the first one there.
    const std::string a = orden.Fichero(dos.Valor()), b = orden.Fichero(uno.Valor()), c = orden.Recoger(fuera);
    orden.Palabras({"-c", "cat $0 $1 >$2; cat $0; ls -l /proc/$$/fd", a, b, c});
    orden.RecogerSalida(salida);
    EXPECT_EQ(orden.Ejecutar(Control()), Fin::Bien);
    EXPECT_EQ(fuera.Ver(), "dos\nuno\n");
    const std::string dicho(salida.Ver());
    EXPECT_THAT(dicho, testing::StartsWith("dos\n"));
    EXPECT_EQ(Apoyo::Cuenta(dicho, "memfd:velmora"), 2U);
    EXPECT_EQ(Apoyo::Cuenta(dicho, " -> "), 6U) << dicho;
    close(abierto);
    EXPECT_THAT(Apoyo::Exigir({"ls", "-l", "/proc/self/fd"}), Not(HasSubstr("memfd:velmora"))) << "any other child";
}

TEST(Proceso, CancelarYPlazo) {
    const auto inicio = std::chrono::steady_clock::now();
    Control control;
    std::thread hilo([&control] {
        std::this_thread::sleep_for(300ms);
        control.Cancelar();
    });
    for (const auto& [fin, plazo] : {std::pair(Fin::Tarde, 100ms), {Fin::Cancelado, 10'000ms}}) {
        const auto [como, pid] = Correr("echo $$; exec sleep 20", 1000, &control, plazo);
        EXPECT_EQ(como, fin);
        EXPECT_NE(kill(std::stoi(pid), 0), 0) << "it goes on";
    }
    hilo.join();
    EXPECT_EQ(Correr("echo no", 1000, &control), std::pair(Fin::Cancelado, std::string()));
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, 1s);

    Control comprometido;
    ASSERT_TRUE(comprometido.Comprometer());
    EXPECT_FALSE(comprometido.Cancelar());
    EXPECT_EQ(Correr("sleep 0.2; echo hecho", 1000, &comprometido), std::pair(Fin::Bien, std::string("hecho\n")));
}

}  // namespace
