#include "ayudante/LxPrograma.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "ayudante/Intermediario.h"
#include "crypto/LxApi.h"

namespace Lx::Ayudante {
namespace {

using Api::Descriptor;
using std::chrono::milliseconds;

// Beside this program, where a build puts it, or where packages put the programs that nobody runs by hand.
constexpr const char* kLugares[] = {"/velmora-pagina", "/../lib/velmora/velmora-pagina"};

std::string RutaDelPrograma() {
    if (Api::GetCurrentSelfPath().empty()) return {};
    for (const char* lugar : kLugares) {
        std::string ruta = Api::ExeDirectory() + lugar;
        if (access(ruta.c_str(), X_OK) == 0) return ruta;
    }
    return {};
}

// Above the numbers that the program finds its own under, so that putting one there can't overwrite another.
Descriptor Apartado(const Descriptor& original) {
    return Descriptor(fcntl(original.Valor(), F_DUPFD_CLOEXEC, kCuantos));
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

using Propios = std::array<Descriptor, kCuantos - kCanal>;

// Its descriptors, /dev/null three times, no signal blocked or ignored.
bool Disponer(Preparativos& p, const Propios& propios) {
    for (int estandar = 0; estandar < 3; ++estandar)
        if (posix_spawn_file_actions_addopen(&p.ficheros, estandar, "/dev/null", O_RDWR, 0) != 0) return false;
    for (int i = 0; i < kCuantos - kCanal; ++i)
        if (posix_spawn_file_actions_adddup2(&p.ficheros, propios[static_cast<size_t>(i)].Valor(), kCanal + i) != 0)
            return false;
    if (posix_spawn_file_actions_addclosefrom_np(&p.ficheros, kCuantos) != 0) return false;
    sigset_t ninguna, todas;
    sigemptyset(&ninguna);
    sigfillset(&todas);
    return posix_spawnattr_setsigmask(&p.atributos, &ninguna) == 0 &&
           posix_spawnattr_setsigdefault(&p.atributos, &todas) == 0 &&
           posix_spawnattr_setflags(&p.atributos, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0;
}

bool Pareja(int tipo, Descriptor& nuestro, Descriptor& suyo) {
    int extremos[2];
    if (socketpair(AF_UNIX, tipo | SOCK_CLOEXEC, 0, extremos) != 0) return false;
    nuestro = Descriptor(extremos[0]);
    suyo = Descriptor(extremos[1]);
    return true;
}

}  // namespace

std::unique_ptr<Programa> Programa::Arrancar(const Descriptor& ranuras) {
    const std::string programa = RutaDelPrograma();
    Descriptor canal, suyo, intermediario, suIntermediario;
    if (programa.empty() || !Pareja(SOCK_SEQPACKET, canal, suyo) ||
        !Pareja(SOCK_SEQPACKET, intermediario, suIntermediario))
        return nullptr;
    const Propios propios{Apartado(suyo), Apartado(ranuras), Apartado(suIntermediario)};
    for (const Descriptor& d : propios)
        if (!d) return nullptr;

    Preparativos preparativos;
    if (!Disponer(preparativos, propios)) return nullptr;
    std::string nombre = "velmora-pagina", idioma = "LC_ALL=C.UTF-8";
    char* const argumentos[] = {nombre.data(), nullptr};
    char* const entorno[] = {idioma.data(), nullptr};
    pid_t proceso = -1;
    if (posix_spawn(&proceso, programa.c_str(), &preparativos.ficheros, &preparativos.atributos, argumentos, entorno) !=
        0)
        return nullptr;
    return std::unique_ptr<Programa>(new Programa(std::move(canal), std::move(intermediario), proceso));
}

Programa::Programa(Descriptor canal, Descriptor intermediario, pid_t proceso)
    : canal_(std::move(canal)),
      proceso_(proceso),
      inicio_(std::chrono::steady_clock::now()),
      intermediario_(std::make_unique<Intermediario>(std::move(intermediario), proceso)) {}

Programa::~Programa() {
    Acabar();
}

uint32_t Programa::Pedir(const Peticion& peticion, std::initializer_list<int> descriptores) {
    Peticion pedida = conversacion_.Pedir(peticion);
    iovec parte{&pedida, sizeof pedida};
    alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))] = {};
    msghdr mensaje{};
    mensaje.msg_iov = &parte;
    mensaje.msg_iovlen = 1;
    if (const size_t cuantos = std::min<size_t>(descriptores.size(), 2); cuantos > 0) {
        mensaje.msg_control = control;
        mensaje.msg_controllen = CMSG_SPACE(cuantos * sizeof(int));
        cmsghdr* const cabecera = CMSG_FIRSTHDR(&mensaje);
        *cabecera = {CMSG_LEN(cuantos * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(cabecera), descriptores.begin(), cuantos * sizeof(int));
    }
    const ssize_t n = sendmsg(canal_.Valor(), &mensaje, MSG_NOSIGNAL | MSG_DONTWAIT);
    return n == static_cast<ssize_t>(sizeof pedida) ? pedida.numero : 0;
}

Noticia Programa::Leer(milliseconds espera) {
    const auto desde = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - inicio_);
    const milliseconds queda = std::max(kPlazoSaludo - desde, milliseconds(0));
    if (!conversacion_.Saludado()) espera = std::min(espera, queda);
    pollfd mirado{canal_.Valor(), POLLIN, 0};
    const int listos = poll(&mirado, 1, static_cast<int>(espera.count()));
    if (listos == 0) return conversacion_.Saludado() || espera < queda ? Noticia::Nada : Noticia::Mudo;
    if (listos < 0 && errno == EINTR) return Noticia::Nada;
    // One byte more than any record has: what is longer is seen to be.
    char mensaje[sizeof(Respuesta) + 1];
    const ssize_t n = recv(canal_.Valor(), mensaje, sizeof mensaje, MSG_DONTWAIT);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return Noticia::Nada;
    return n > 0 ? conversacion_.Oir(mensaje, static_cast<size_t>(n)) : Noticia::Fin;
}

int Programa::Acabar() {
    if (proceso_ < 0) return -1;
    // One that is ending already keeps its status.
    kill(proceso_, SIGKILL);
    int estado = 0;
    pid_t acabado = -1;
    do acabado = waitpid(proceso_, &estado, 0);
    while (acabado < 0 && errno == EINTR);
    proceso_ = -1;
    intermediario_.reset();
    return acabado > 0 && WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
}

}  // namespace Lx::Ayudante
