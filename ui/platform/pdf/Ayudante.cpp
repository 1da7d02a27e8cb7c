#include "ui/platform/pdf/Ayudante.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <string>

namespace Lx::Pdf {
namespace {

// Beside this program, where a build puts it, or where packages put the programs that nobody runs by hand.
constexpr const char* kLugares[] = {"/velmora-pagina", "/../lib/velmora/velmora-pagina"};

std::string RutaDelPrograma() {
    std::string propia(4096, '\0');
    const ssize_t n = readlink("/proc/self/exe", propia.data(), propia.size());
    if (n <= 0 || static_cast<size_t>(n) == propia.size()) return {};
    propia.resize(static_cast<size_t>(n));
    propia.erase(propia.rfind('/'));
    for (const char* lugar : kLugares) {
        std::string ruta = propia + lugar;
        if (access(ruta.c_str(), X_OK) == 0) return ruta;
    }
    return {};
}

// Above the numbers that the program finds its own under, so that putting one there can't overwrite another.
Descriptor Apartado(const Descriptor& original) {
    return Descriptor(fcntl(original.Numero(), F_DUPFD_CLOEXEC, kCuantos));
}

struct Preparativos {
    Preparativos() {
        posix_spawn_file_actions_init(&ficheros);
        posix_spawnattr_init(&atributos);
    }
    ~Preparativos() {
        posix_spawn_file_actions_destroy(&ficheros);
        posix_spawnattr_destroy(&atributos);
    }
    Preparativos(const Preparativos&) = delete;
    Preparativos& operator=(const Preparativos&) = delete;

    posix_spawn_file_actions_t ficheros;
    posix_spawnattr_t atributos;
};

// The three descriptors, /dev/null three times, no signal blocked or ignored.
bool Disponer(Preparativos& p, const std::array<Descriptor, 3>& propios) {
    for (int estandar = 0; estandar < 3; ++estandar)
        if (posix_spawn_file_actions_addopen(&p.ficheros, estandar, "/dev/null", O_RDWR, 0) != 0) return false;
    for (int i = 0; i < 3; ++i)
        if (posix_spawn_file_actions_adddup2(&p.ficheros, propios[static_cast<size_t>(i)].Numero(), kCanal + i) != 0)
            return false;
    if (posix_spawn_file_actions_addclosefrom_np(&p.ficheros, kCuantos) != 0) return false;
    sigset_t ninguna, todas;
    sigemptyset(&ninguna);
    sigfillset(&todas);
    return posix_spawnattr_setsigmask(&p.atributos, &ninguna) == 0 &&
           posix_spawnattr_setsigdefault(&p.atributos, &todas) == 0 &&
           posix_spawnattr_setflags(&p.atributos, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0;
}

}  // namespace

std::unique_ptr<Ayudante> Ayudante::Arrancar(const Descriptor& documento, const Descriptor& pixeles) {
    const std::string programa = RutaDelPrograma();
    int extremos[2];
    if (programa.empty() || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, extremos) != 0) return nullptr;
    Descriptor canal(extremos[0]);
    const Descriptor suyo(extremos[1]);
    const std::array<Descriptor, 3> propios{Apartado(suyo), Apartado(documento), Apartado(pixeles)};
    for (const Descriptor& d : propios)
        if (!d.Vale()) return nullptr;

    Preparativos preparativos;
    if (!Disponer(preparativos, propios)) return nullptr;
    std::string nombre = "velmora-pagina", idioma = "LC_ALL=C.UTF-8";
    char* const argumentos[] = {nombre.data(), nullptr};
    char* const entorno[] = {idioma.data(), nullptr};
    pid_t proceso = -1;
    if (posix_spawn(&proceso, programa.c_str(), &preparativos.ficheros, &preparativos.atributos, argumentos, entorno) !=
        0)
        return nullptr;
    return std::unique_ptr<Ayudante>(new Ayudante(std::move(canal), proceso));
}

Ayudante::~Ayudante() {
    Acabar();
}

bool Ayudante::Enviar(const Peticion& peticion) {
    return send(canal_.Numero(), &peticion, sizeof peticion, MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(sizeof peticion);
}

Ayudante::Lectura Ayudante::Leer(Respuesta& respuesta, std::chrono::milliseconds espera) {
    pollfd mirado{canal_.Numero(), POLLIN, 0};
    const int listos = poll(&mirado, 1, static_cast<int>(espera.count()));
    if (listos == 0 || (listos < 0 && errno == EINTR)) return Lectura::Nada;
    const ssize_t n = recv(canal_.Numero(), &respuesta, sizeof respuesta, MSG_DONTWAIT | MSG_TRUNC);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return Lectura::Nada;
    return n == static_cast<ssize_t>(sizeof respuesta) ? Lectura::Respuesta : Lectura::Fin;
}

int Ayudante::Acabar() {
    if (proceso_ < 0) return -1;
    // One that is ending already keeps its status.
    kill(proceso_, SIGKILL);
    int estado = 0;
    pid_t acabado = -1;
    do acabado = waitpid(proceso_, &estado, 0);
    while (acabado < 0 && errno == EINTR);
    proceso_ = -1;
    return acabado > 0 && WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
}

}  // namespace Lx::Pdf
