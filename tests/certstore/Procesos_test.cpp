// What other processes see of this one: the commands, the files while openssl runs, and what is left at the end.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "Entorno.h"
#include "certstore/LxTemporales.h"
#include "certstore/Pkcs12.h"

namespace fs = std::filesystem;
using namespace Lx::CertStore;
using Apoyo::EscribirFichero;
using Apoyo::LeerFichero;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* kClave = "clave-que-nadie-ve";

class Procesos : public Entorno {
  protected:
    void SetUp() override {
        Entorno::SetUp();
        CrearPfx("a.p12", "Ana", kClave);
        EscribirFichero(base / "clave.txt", std::string(kClave) + "\n");
        fs::create_directory(ejecucion = base / "ejecucion");
        fs::permissions(ejecucion, fs::perms::owner_all);
        setenv("XDG_RUNTIME_DIR", ejecucion.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("XDG_RUNTIME_DIR");
        Entorno::TearDown();
    }

    // Starts the helper program with these words before and after the path of the file, by an env with `entorno`. Its
    // output goes to "dicho".
    [[nodiscard]] static pid_t Lanzar(const std::string& antes, const std::string& despues = "",
                                      const std::string& entorno = "") {
        fs::remove(base / "dicho");
        const std::string orden = "exec env " + entorno + Ruta2Cmd(AYUDANTE) + " " + antes + " " +
                                  Ruta2Cmd(base / "a.p12") + " " + despues + " <" + Ruta2Cmd(base / "clave.txt") +
                                  " >" + Ruta2Cmd(base / "dicho") + " 2>/dev/null";
        const pid_t pid = fork();
        if (pid == 0) {
            // A job in the background is born deaf to some of them.
            for (const int senal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) signal(senal, SIG_DFL);
            constexpr rlimit kSinVolcado{0, 0};
            setrlimit(RLIMIT_CORE, &kSinVolcado);
            execl("/bin/sh", "sh", "-c", orden.c_str(), nullptr);
            _exit(127);
        }
        return pid;
    }

    // Until the condition holds, ten seconds at most.
    template <class F>
    static void Esperar(F condicion) {
        bool cumplida = condicion();
        for (int i = 0; i < 1000 && !cumplida; ++i, cumplida = condicion())
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_TRUE(cumplida);
    }
    // The same with "esperar" at the end, once it has said something.
    [[nodiscard]] static pid_t LanzarYEsperar(const std::string& antes, const std::string& entorno = "") {
        const pid_t pid = Lanzar(antes, "esperar", entorno);
        Esperar([] { return LeerFichero(base / "dicho").find('\n') != std::string::npos; });
        return pid;
    }
    static void Matar(pid_t pid, int senal) {
        kill(pid, senal);
        EXPECT_EQ(Fin(pid), -senal);
    }
    // Exit status, or minus the signal that ended it.
    [[nodiscard]] static int Fin(pid_t pid) {
        int estado = 0;
        Esperar([&] { return waitpid(pid, &estado, WNOHANG) == pid; });
        return WIFSIGNALED(estado) ? -WTERMSIG(estado) : WEXITSTATUS(estado);
    }

    fs::path ejecucion;
};

constexpr const char* kAnotar = R"(
r="${0%/bin/openssl}/registro"
for a in "$@"; do printf '[%s]' "$a"; done >>"$r"
echo >>"$r"
for f in "$TEMP"/lxcert_*; do LC_ALL=C stat -c '%a %F' "$f"; done >>"$r"
)";

TEST_F(Procesos, OrdenesYPermisos) {
    PonerOpenssl(std::string(kAnotar) + "exec \"$REAL\" \"$@\"\n");
    const std::string pfx = base / "a.p12";
    const std::string modo = "600 regular file\n", vacio = "600 regular empty file\n";
    for (const char* accion : {"listar", "firmar"}) {
        SCOPED_TRACE(accion);
        fs::remove(base / "registro");
        const pid_t pid = Lanzar(accion);
        EXPECT_EQ(Fin(pid), 0);
        const auto nombre = [pid](int n, const char* sufijo) {
            return (temp / ("lxcert_" + std::to_string(n) + "_" + std::to_string(pid) + sufijo)).string();
        };
        const auto con = [&](int n) { return "[pkcs12][-in][" + pfx + "][-passin][file:" + nombre(n, ".pass") + "]"; };
        std::string espero = "[version]\n";
        if (accion == std::string("listar")) {
            espero += con(1) + "[-nokeys][-clcerts]\n" + modo;
            espero += con(2) + "[-nocerts][-nodes][-out][" + nombre(3, ".key") + "]\n" + modo + vacio;
        } else {
            espero += con(1) + "[-nocerts][-nodes][-out][" + nombre(2, ".key") + "]\n" + modo + vacio;
            espero += "[dgst][-sha256][-sign][" + nombre(2, ".key") + "][-out][" + nombre(4, ".sig") + "][" +
                      nombre(3, ".msg") + "]\n" + modo + modo + vacio;
        }
        const std::string registro = LeerFichero(base / "registro");
        // Without files the pattern stays as it is, and stat says nothing of it on its standard output.
        EXPECT_EQ(registro, espero);
        EXPECT_THAT(registro, Not(HasSubstr(kClave)));
        EXPECT_THAT(Nombres(temp), IsEmpty()) << "the end of the process removes the listing's key";
    }
}

TEST_F(Procesos, SinOpenssl) {
    fs::create_directory(base / "nada");
    const std::string sinRuta = "PATH=" + Ruta2Cmd(base / "nada") + " ";
    EXPECT_EQ(Fin(Lanzar("firmar", "", sinRuta)), 0);
    EXPECT_EQ(LeerFichero(base / "dicho"), "falta el programa 'openssl' en el PATH.\n");
    EXPECT_THAT(Nombres(temp), IsEmpty());
}

TEST_F(Procesos, CarpetaPrivadaHastaElFinal) {
    const pid_t pid = LanzarYEsperar("--carpeta listar");
    const std::string carpeta = "velmora_" + std::to_string(pid) + "_";
    ASSERT_THAT(Nombres(ejecucion), ElementsAre(testing::StartsWith(carpeta)));
    struct stat st {};
    ASSERT_EQ(stat((ejecucion / Nombres(ejecucion)[0]).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777U, 0700U);
    EXPECT_EQ(Nombres(ejecucion / Nombres(ejecucion)[0]).size(), 1U);
    Matar(pid, SIGTERM);
    EXPECT_THAT(Nombres(ejecucion), IsEmpty());
    EXPECT_THAT(Nombres(temp), IsEmpty());

    EXPECT_EQ(Fin(Lanzar("--carpeta listar")), 0);
    EXPECT_THAT(LeerFichero(base / "dicho"), HasSubstr("1 certificado(s) del PKCS#12\n"));
    EXPECT_THAT(Nombres(ejecucion), IsEmpty());
}

// A run-time folder that others can enter, that is a link or that is missing is not used.
TEST_F(Procesos, CarpetaDeEjecucionInservible) {
    fs::create_directory(base / "abierta");
    fs::permissions(base / "abierta", fs::perms::all);
    fs::create_directory_symlink(ejecucion, base / "enlace");
    for (const char* nombre : {"abierta", "enlace", "no existe"}) {
        SCOPED_TRACE(nombre);
        setenv("XDG_RUNTIME_DIR", (base / nombre).c_str(), 1);
        const pid_t pid = LanzarYEsperar("--carpeta nada");
        EXPECT_EQ(Nombres(temp).size(), 1U);
        Matar(pid, SIGINT);
        EXPECT_THAT(Nombres(temp), IsEmpty());
    }
}

TEST_F(Procesos, Senales) {
    for (const int senal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM}) {
        SCOPED_TRACE(senal);
        const pid_t pid = LanzarYEsperar("--carpeta listar");
        Matar(pid, senal);
        EXPECT_THAT(Nombres(ejecucion), IsEmpty());
    }
    // What the program was told to ignore stays ignored, but for the one that hides how children end.
    const pid_t pid = LanzarYEsperar("--carpeta listar", "--ignore-signal=HUP,CHLD ");
    EXPECT_THAT(LeerFichero(base / "dicho"), HasSubstr("1 certificado(s) del PKCS#12\n"));
    kill(pid, SIGHUP);
    Matar(pid, SIGTERM);
}

// The keyboard's interrupt reaches openssl too, and while it runs the program itself is deaf to it.
TEST_F(Procesos, InterrupcionDeOpenssl) {
    const Apoyo::Filas<const char*, const char*> kFilas = {
        {"listar", "-nokeys"}, {"listar", "-nocerts"}, {"firmar", "-nocerts"}, {"firmar", "-sign"}};
    for (const auto& [accion, donde] : kFilas) {
        PonerOpenssl("case \"$*\" in *" + std::string(donde) + "*) kill -INT $$;; esac\nexec \"$REAL\" \"$@\"\n");
        for (const char* carpeta : {"", "--carpeta "}) {
            SCOPED_TRACE(carpeta + std::string(accion) + " " + donde);
            EXPECT_EQ(Fin(Lanzar(std::string(carpeta) + accion)), -SIGINT);
            EXPECT_THAT(Nombres(temp), IsEmpty());
            EXPECT_THAT(Nombres(ejecucion), IsEmpty());
        }
    }
}

// An openssl that outlives the program must not bring the key back.
TEST_F(Procesos, SenalMientrasCorreOpenssl) {
    PonerOpenssl(R"(b="${0%/bin/openssl}"
case "$*" in
*-nocerts*) touch "$b/empieza"; while [ ! -e "$b/sigue" ]; do sleep 0.02; done; "$REAL" "$@"; touch "$b/acaba";;
*) exec "$REAL" "$@";;
esac)");
    const pid_t pid = Lanzar("--carpeta listar");
    Esperar([] { return fs::exists(base / "empieza"); });
    Matar(pid, SIGTERM);
    EscribirFichero(base / "sigue", "");
    Esperar([] { return fs::exists(base / "acaba"); });
    EXPECT_THAT(Nombres(ejecucion), IsEmpty());
}

TEST_F(Procesos, CarpetasAbandonadas) {
    const pid_t muerto = LanzarYEsperar("--carpeta listar");
    Matar(muerto, SIGKILL);
    ASSERT_EQ(Nombres(ejecucion).size(), 1U);
    const std::string abandonada = Nombres(ejecucion)[0];

    const std::string pid = std::to_string(muerto);
    std::vector<std::string> quedan = {"velmora_" + std::to_string(getpid()) + "_abcdef",  // alive
                                       "velmora_" + pid + "_abcde",                        // not our names
                                       "velmora_" + pid + "_abcdefg",
                                       "velmora_" + pid + "_abc.ef",
                                       "velmora_0" + pid + "_abcdef",
                                       "velmora__abcdef",
                                       "velmora_-1_abcdef",
                                       "velmora_99999999999_abcdef",
                                       "xvelmora_" + pid + "_abcdef",
                                       "velmora_" + pid + "_locked"};
    for (const std::string& nombre : quedan) {
        fs::create_directory(ejecucion / nombre);
        EscribirFichero(ejecucion / nombre / "f", "");
    }
    const int cerrojo = open((ejecucion / quedan.back()).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(cerrojo, LOCK_EX | LOCK_NB), 0);
    if (geteuid() == 0) {
        quedan.push_back("velmora_" + pid + "_ajena0");
        fs::create_directory(ejecucion / quedan.back());
        EscribirFichero(ejecucion / quedan.back() / "f", "");
        ASSERT_EQ(chown((ejecucion / quedan.back()).c_str(), 65534, 65534), 0);
    }
    fs::create_directory(base / "otra");
    EscribirFichero(base / "otra" / "f", "");
    quedan.push_back("velmora_" + pid + "_enlace");
    fs::create_directory_symlink(base / "otra", ejecucion / quedan.back());

    EXPECT_EQ(Fin(Lanzar("--carpeta nada")), 0);
    close(cerrojo);
    EXPECT_FALSE(fs::exists(ejecucion / abandonada));
    EXPECT_THAT(Nombres(ejecucion), testing::UnorderedElementsAreArray(quedan));
    for (const std::string& nombre : quedan) EXPECT_TRUE(fs::exists(ejecucion / nombre / "f")) << nombre;
}

// A child that was forked and ends by exit() leaves its parent's files alone.
TEST_F(Procesos, HijoSinExec) {
    FicheroTemporal f;
    ASSERT_TRUE(f.Crear(".msg", {"a"}));
    const pid_t pid = fork();
    if (pid == 0) std::exit(0);
    EXPECT_EQ(Fin(pid), 0);
    EXPECT_EQ(LeerFichero(f.Ruta()), "a");
}

}  // namespace
