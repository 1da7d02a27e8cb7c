// What becomes of secrets in memory: locked while they live, gone afterwards.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <optional>
#include <string>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxSecreto.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using Lx::BloqueSecreto;
using Lx::FicheroMemoria;
using Lx::Secreto;

// Kilobytes that this process has locked.
size_t Bloqueado() {
    std::ifstream estado("/proc/self/status");
    for (std::string palabra; estado >> palabra;)
        if (size_t kb = 0; palabra == "VmLck:" && estado >> kb) return kb;
    return 0;
}

TEST(Secretos, BloqueadosMientrasViven) {
    std::array<char, 1> sonda{};
    if (mlock(sonda.data(), 1) != 0 || Bloqueado() == 0) GTEST_SKIP() << "no memory is locked here";
    munlock(sonda.data(), 1);
    EXPECT_TRUE(Lx::MemoriaBloqueable());
    const size_t antes = Bloqueado(), pagina = static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
    {
        BloqueSecreto bloque(size_t{1} << 20);
        EXPECT_EQ(Bloqueado(), antes) << "only what is used";
        EXPECT_TRUE(bloque.Anadir("x"));
        EXPECT_EQ(Bloqueado(), antes + pagina);
        EXPECT_TRUE(bloque.Anadir(std::string(pagina * 1024, 'x')));
        EXPECT_EQ(Bloqueado(), antes + 2 * pagina);
        FicheroMemoria fichero;
        EXPECT_TRUE(fichero.Crear({"clave"}));
        EXPECT_EQ(Bloqueado(), antes + 3 * pagina);
    }
    EXPECT_EQ(Bloqueado(), antes);

    // Two in one page: it stays locked until the last one goes.
    alignas(8192) std::array<std::optional<Secreto>, 2> dos;
    dos[0].emplace();
    dos[1].emplace();
    const size_t conDos = Bloqueado();
    EXPECT_GT(conDos, antes);
    dos[0].reset();
    EXPECT_EQ(Bloqueado(), conDos);
    dos[1]->Reservar(3 * pagina * 1024);
    EXPECT_GE(Bloqueado(), conDos + 3 * pagina);
    dos[1].reset();
    EXPECT_EQ(Bloqueado(), antes);
}

TEST(Secretos, NadaQuedaDespues) {
    FicheroMemoria fichero;
    ASSERT_TRUE(fichero.Crear({"clave", "", "\n"}));
    const int copia = dup(fichero.Valor());
    const std::string ruta = "/dev/fd/" + std::to_string(copia);
    EXPECT_EQ(Apoyo::LeerFichero(ruta), "clave\n");
    ASSERT_TRUE(fichero.Crear({}));
    EXPECT_EQ(Apoyo::LeerFichero(ruta), std::string(6, '\0'));
    close(copia);

    BloqueSecreto bloque(10);
    ASSERT_TRUE(bloque.Anadir("secreto"));
    char* hueco = bloque.Hueco(3);
    ASSERT_NE(hueco, nullptr);
    hueco[2] = 'x';
    EXPECT_EQ(bloque.Hueco(4), nullptr);
    EXPECT_FALSE(bloque.Anadir("1234"));
    EXPECT_EQ(bloque.Ver(), "secreto");
    const char* donde = bloque.Ver().data();
    bloque.Vaciar();
    EXPECT_EQ(bloque.Ver(), "");
    EXPECT_EQ(std::string(donde, 10), std::string(10, '\0')) << "what was handed out and not counted, too";

    std::string pin(100, '7');
    const char* cifras = pin.data();
    pin.resize(50);
    Lx::Limpiar(pin);
    EXPECT_EQ(std::string(cifras, 100), std::string(100, '\0'));
}

TEST(Secretos, NadieMiraMientrasTanto) {
    ASSERT_EQ(prctl(PR_GET_DUMPABLE), 1);
    {
        const Lx::NoVolcable uno;
        EXPECT_EQ(prctl(PR_GET_DUMPABLE), 0);
        { const Lx::NoVolcable dos; }
        EXPECT_EQ(prctl(PR_GET_DUMPABLE), 0);
    }
    EXPECT_EQ(prctl(PR_GET_DUMPABLE), 1);
}

}  // namespace
