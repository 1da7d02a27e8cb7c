// What other processes see of this one: the commands, what is open in them, and what a kill leaves behind.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "Entorno.h"
#include "certstore/Pkcs12.h"

namespace fs = std::filesystem;
using namespace Lx::CertStore;
using Apoyo::EscribirFichero;
using Apoyo::LeerFichero;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* kClave = "clave-que-nadie-ve";
constexpr const char* kAntes = "DNIe: sin lector | NSS (Linux): vacío | PKCS#12: ";
const std::string kFirmado = std::string(kAntes) + "1 certificado(s) del PKCS#12\nAna con clave\nfirmado\n";

class Procesos : public Entorno {
  protected:
    void SetUp() override {
        Entorno::SetUp();
        CrearPfx("a.p12", "Ana", kClave);
        fs::remove(base / "clave.txt");
    }
    // What the helper program, run in the test's folder, says of the file; `entorno` goes to env.
    static std::string Ayudante(const std::string& orden, const std::vector<std::string>& entorno = {},
                                const std::string& ruta = base / "a.p12") {
        std::vector<std::string> argumentos = {"env", "-C", base};
        argumentos.insert(argumentos.end(), entorno.begin(), entorno.end());
        argumentos.insert(argumentos.end(), {AYUDANTE, orden, ruta});
        return Apoyo::Exigir(argumentos, std::string(kClave) + "\n");
    }
};

// The words of each command, and each file that is open in it.
TEST_F(Procesos, OrdenesYFicherosAbiertos) {
    PonerOpenssl(R"sh(
r="${0%/bin/openssl}/registro"
( for a in "$@"; do printf '[%s]' "$a"; done; echo
  for f in 0 1 2 3 4 5 6 7 8 9; do [ -e /proc/$$/fd/$f ] && echo "$f $(readlink /proc/$$/fd/$f)"; done ) >>"$r"
exec "$REAL" "$@"
)sh");
    EXPECT_EQ(Ayudante("firmar"), kFirmado);
    const std::string pfx = base / "a.p12";
    const std::string nada = "0 /dev/null\n", nadas = nada + "1 /dev/null\n2 /dev/null\n";
    const std::string memoria = " /memfd:velmora \\(deleted\\)\n", tubo = " pipe:\\[[0-9]+\\]\n";
    const std::string p12 = "\\[pkcs12\\]\\[-in\\]\\[" + pfx + "\\]\\[-passin\\]\\[file:/dev/fd/3\\]";
    const std::string claves =
        p12 + "\\[-nocerts\\]\\[-nodes\\]\\[-out\\]\\[/dev/fd/4\\]\n" + nadas + "3" + memoria + "4" + tubo;
    const std::string firma =
        "\\[dgst\\]\\[-sha256\\]\\[-sign\\]\\[/dev/fd/3\\]\\[-out\\]\\[/dev/fd/4\\]\\[/dev/fd/5\\]\n";
    EXPECT_THAT(LeerFichero(base / "registro"),
                testing::MatchesRegex("\\[version\\]\n" + nadas + p12 + "\\[-nokeys\\]\\[-clcerts\\]\n" + nada + "1" +
                                      tubo + "2 /dev/null\n3" + memoria + claves + claves + firma + nadas + "3" +
                                      memoria + "4" + tubo + "5" + memoria));
    EXPECT_THAT(Nombres(temp), IsEmpty());
}

// A program of that name runs only from where nobody else could have put it.
TEST_F(Procesos, OpensslDeFiar) {
    const std::string falso = "#!/bin/sh\ntouch " + Ruta2Cmd(base / "corrio") + "\nexec /usr/bin/openssl \"$@\"\n";
    const Apoyo::Filas<const char*, std::string, const char*, bool> kFilas = {
        {"suya", base / "bin", "true", true},
        {"enlace a suya", base / "enlace", "ln -s bin enlace", true},
        {"relativa", "bin", "true", false},
        {"la de trabajo", "", "cp bin/openssl .", false},
        {"del grupo", base / "bin", "chmod 775 bin", false},
        {"de todos", base / "bin", "chmod 1777 bin", false},
        {"fichero del grupo", base / "bin", "chmod 775 bin/openssl", false},
        {"fichero de todos", base / "bin", "chmod 757 bin/openssl", false},
        {"no se ejecuta", base / "bin", "chmod 644 bin/openssl", false},
        {"no es un fichero", base / "bin", "rm bin/openssl; mkfifo -m 700 bin/openssl", false},
        {"enlace de todos", base / "bin", "mkdir -m 777 otra; mv bin/openssl otra; ln -s ../otra/openssl bin", false},
        {"ajena", base / "bin", "chown 65534 bin", false},
        {"fichero ajeno", base / "bin", "chown 65534 bin/openssl", false},
    };
    for (const auto& [nombre, camino, guion, corre] : kFilas) {
        SCOPED_TRACE(nombre);
        if (std::string_view(guion).starts_with("chown") && geteuid() != 0) continue;
        Orden("rm -rf bin otra enlace openssl corrio; mkdir -m 755 bin");
        EscribirFichero(base / "bin/openssl", falso);
        fs::permissions(base / "bin/openssl", fs::perms::owner_all);
        Orden(guion);
        EXPECT_EQ(Ayudante("firmar", {"PATH=" + camino + ":/usr/bin:/bin"}), kFirmado);
        EXPECT_EQ(fs::exists(base / "corrio"), corre);
    }
    for (const std::string camino : {"", "bin", ":", "/nada"})
        EXPECT_THAT(Ayudante("listar", {"PATH=" + camino}),
                    HasSubstr("para leer el PKCS#12 hace falta el programa 'openssl' en el PATH."));
}

// What openssl answers is taken for what it is, whatever its status says.
TEST_F(Procesos, RespuestasDeOpenssl) {
    const std::string noAbre =
        "(sin clave privada: openssl no pudo abrir el PKCS#12 (contraseña incorrecta o fichero dañado).)";
    const std::string uno = std::string(kAntes) + "1 certificado(s) del PKCS#12";
    const std::string noFirma = "openssl no pudo firmar con la clave del PKCS#12.\n";
    const Apoyo::Filas<const char*, std::string> kFilas = {
        {"*-nocerts*) exit 1;;", uno + " " + noAbre + "\nAna\n"},
        {"*-nocerts*) exec yes >/dev/fd/4;;", uno + " " + noAbre + "\nAna\n"},
        {"*-nokeys*-legacy*) ;; *-nokeys*) \"$REAL\" \"$@\"; exit 1;;", kFirmado},
        {"*-legacy*) ;; *-nokeys*) exit 0;;", kFirmado},
        {"*-sign*) exit 0;;", uno + "\nAna con clave\n" + noFirma},
        {"*-sign*) \"$REAL\" \"$@\"; exit 1;;", kFirmado},
        {"*version*) exit 1;;",
         std::string(kAntes) + "para leer el PKCS#12 hace falta el programa 'openssl' en el PATH.\n"},
    };
    for (const auto& [caso, dice] : kFilas) {
        SCOPED_TRACE(caso);
        PonerOpenssl("\ncase \"$*\" in " + std::string(caso) + " esac\nexec \"$REAL\" \"$@\"\n");
        EXPECT_EQ(Ayudante("firmar"), dice);
    }
    PonerOpenssl("\nexec \"$REAL\" \"$@\"\n");
    for (const std::string nombre : {"-", "-x.p12"}) {
        fs::copy(base / "a.p12", base / nombre);
        EXPECT_EQ(Ayudante("firmar", {}, nombre), kFirmado) << "no option, and no standard input: " << nombre;
    }
    EXPECT_EQ(Ayudante("firmar", {"--ignore-signal=CHLD"}), kFirmado) << "a launcher that hides how children end";
}

// Killed at any moment of its work, the program leaves neither key nor password nor any file.
TEST_F(Procesos, MuerteEnCualquierMomento) {
    constexpr int kVeces = 40;
    const std::string orden = "exec " + Ruta2Cmd(AYUDANTE) + " bucle " + Ruta2Cmd(base / "a.p12") + " <" +
                              Ruta2Cmd(base / "entrada") + " >>" + Ruta2Cmd(base / "dicho");
    EscribirFichero(base / "entrada", std::string(kClave) + "\n");
    setenv("TMPDIR", temp.c_str(), 1);
    std::mt19937 azar(7);
    for (int i = 0; i < kVeces; ++i) {
        const pid_t pid = fork();
        if (pid == 0) {
            execl("/bin/sh", "sh", "-c", orden.c_str(), nullptr);
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(azar() % 120000));
        kill(pid, SIGKILL);
        int estado = 0;
        EXPECT_EQ(waitpid(pid, &estado, 0), pid);
        EXPECT_TRUE(WIFSIGNALED(estado)) << "it ended by itself";
        EXPECT_THAT(Nombres(temp), IsEmpty());
    }
    unsetenv("TMPDIR");
    EXPECT_THAT(LeerFichero(base / "dicho"), HasSubstr("firmado\n"));
    for (const fs::directory_entry& e : fs::directory_iterator("/dev/shm")) {
        if (!e.is_regular_file()) continue;
        EXPECT_THAT(LeerFichero(e.path()), testing::AllOf(Not(HasSubstr(kClave)), Not(HasSubstr("PRIVATE KEY"))));
    }
}

}  // namespace
