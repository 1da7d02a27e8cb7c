#include "crypto/LxInacabado.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>

namespace Lx::Api {

namespace {

// --- The register that the signal handler walks

// More at once than these are removed by their objects only.
constexpr int kSitios = 8;
constexpr pid_t kLibre = 0;
constexpr pid_t kOcupado = -1;

struct Sitio {
    std::atomic<pid_t> dueno{kLibre};
    char ruta[PATH_MAX];
};

Sitio g_sitios[kSitios];
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

constexpr int kSenales[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

struct Manejador {
    std::atomic<bool> puesto{false};
    struct sigaction antes {};
};

Manejador g_manejadores[std::size(kSenales)];
std::mutex g_cerrojo;  // of the count and of putting and taking away; the handler never takes it
int g_vigilados = 0;

// Async-signal-safe. A child of this process has the register too, but the files aren't its own.
void QuitarTodos() {
    for (Sitio& s : g_sitios)
        if (s.dueno == getpid()) unlink(s.ruta);
}

// The signal itself is blocked here: raised again, it goes to the earlier handler after the return.
void AlRecibirSenal(int senal) {
    const int guardado = errno;
    QuitarTodos();
    for (size_t i = 0; i < std::size(kSenales); ++i)
        if (kSenales[i] == senal && g_manejadores[i].puesto.exchange(false))
            sigaction(senal, &g_manejadores[i].antes, nullptr);
    raise(senal);
    errno = guardado;
}

void PonerManejadores() {
    static const int alSalir = std::atexit(QuitarTodos);
    static_cast<void>(alSalir);
    const std::lock_guard guarda(g_cerrojo);
    if (g_vigilados++ > 0) return;
    struct sigaction nueva {};
    nueva.sa_handler = AlRecibirSenal;
    sigemptyset(&nueva.sa_mask);
    for (size_t i = 0; i < std::size(kSenales); ++i) {
        Manejador& m = g_manejadores[i];
        if (m.puesto) continue;
        sigaction(kSenales[i], nullptr, &m.antes);
        if (m.antes.sa_handler == SIG_IGN) continue;
        m.puesto = true;
        sigaction(kSenales[i], &nueva, nullptr);
    }
}

// A handler that was put over ours meanwhile stays, and ours under it.
void QuitarManejadores() {
    const std::lock_guard guarda(g_cerrojo);
    if (--g_vigilados > 0) return;
    for (size_t i = 0; i < std::size(kSenales); ++i) {
        Manejador& m = g_manejadores[i];
        struct sigaction actual {};
        sigaction(kSenales[i], nullptr, &actual);
        if (actual.sa_handler == AlRecibirSenal && m.puesto.exchange(false)) sigaction(kSenales[i], &m.antes, nullptr);
    }
}

// The place of `ruta` in the register, -1 when there is none. What another process left there by forking is free.
int Apuntar(const std::string& ruta) {
    if (ruta.size() >= sizeof g_sitios[0].ruta) return -1;
    for (int i = 0; i < kSitios; ++i) {
        Sitio& s = g_sitios[i];
        pid_t dueno = s.dueno;
        if (dueno == kOcupado || dueno == getpid() || !s.dueno.compare_exchange_strong(dueno, kOcupado)) continue;
        std::memcpy(s.ruta, ruta.c_str(), ruta.size() + 1);
        PonerManejadores();
        s.dueno = getpid();
        return i;
    }
    return -1;
}

void Borrar(int sitio) {
    if (sitio < 0) return;
    g_sitios[sitio].dueno = kLibre;
    QuitarManejadores();
}

// --- Names

// By chance: another process with this number, in another container, may be at work in the same folder.
std::string NombreNuevo(const std::string& destino) {
    uint64_t azar = 0;
    if (getrandom(&azar, sizeof azar, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof azar)) azar = 0;
    static std::atomic<uint64_t> contador{0};
    const unsigned long long numero = azar + contador++;
    char nombre[64];
    snprintf(nombre, sizeof nombre, ".velmora_%ld_%llx.tmp", static_cast<long>(getpid()), numero);
    return destino.substr(0, destino.rfind('/') + 1) + nombre;
}

}  // namespace

bool Enlazar(int fd, const std::string& ruta) {
    char abierto[64];
    snprintf(abierto, sizeof abierto, "/proc/self/fd/%d", fd);
    return linkat(AT_FDCWD, abierto, AT_FDCWD, ruta.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// The name is in the register before the file is there: a signal must not fall between.
template <typename Hacer>
bool Inacabado::Intentar(const std::string& destino, Hacer hacer) {
    Quitar();
    const std::string ruta = NombreNuevo(destino);
    const int sitio = Apuntar(ruta);
    if (hacer(ruta)) {
        ruta_ = ruta;
        sitio_ = sitio;
        return true;
    }
    const int numero = errno;
    Borrar(sitio);
    errno = numero;
    return false;
}

Descriptor Inacabado::Crear(const std::string& destino) {
    int fd = -1;
    const auto abrir = [&](const std::string& ruta) {
        fd = open(ruta.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        return fd >= 0;
    };
    if (!Intentar(destino, abrir)) return {};
    return Descriptor(fd);
}

bool Inacabado::Enlazar(int fd, const std::string& destino) {
    return Intentar(destino, [fd](const std::string& ruta) { return Api::Enlazar(fd, ruta); });
}

bool Inacabado::Renombrar(const std::string& destino) {
    if (rename(ruta_.c_str(), destino.c_str()) != 0) return false;
    Soltar();
    return true;
}

void Inacabado::Soltar() {
    Borrar(sitio_);
    sitio_ = -1;
    ruta_.clear();
}

void Inacabado::Quitar() {
    if (ruta_.empty()) return;
    unlink(ruta_.c_str());
    Soltar();
}

}  // namespace Lx::Api
