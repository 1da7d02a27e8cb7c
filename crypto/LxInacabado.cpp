#include "crypto/LxInacabado.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>

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

std::mutex g_cerrojo;  // of the count and of putting and taking away; the handler never takes it
int g_vigilados = 0;

// Async-signal-safe. A child of this process has the register too, but the files aren't its own.
void QuitarTodos() {
    for (Sitio& s : g_sitios)
        if (s.dueno == getpid()) unlink(s.ruta);
}

// The signal itself is blocked here: raised again, it ends the program after the return.
void AlRecibirSenal(int senal) {
    const int guardado = errno;
    QuitarTodos();
    signal(senal, SIG_DFL);
    raise(senal);
    errno = guardado;
}

// Puts `nuevo` where `actual` is what the program does about a signal.
void CambiarManejadores(void (*actual)(int), void (*nuevo)(int)) {
    struct sigaction accion {};
    accion.sa_handler = nuevo;
    sigemptyset(&accion.sa_mask);
    for (const int senal : kSenales) {
        struct sigaction hay {};
        sigaction(senal, nullptr, &hay);
        if ((hay.sa_flags & SA_SIGINFO) == 0 && hay.sa_handler == actual) sigaction(senal, &accion, nullptr);
    }
}

void PonerManejadores() {
    static const int alSalir = std::atexit(QuitarTodos);
    static_cast<void>(alSalir);
    const std::lock_guard guarda(g_cerrojo);
    if (g_vigilados++ == 0) CambiarManejadores(SIG_DFL, AlRecibirSenal);
}

// A handler that was put over ours meanwhile stays.
void QuitarManejadores() {
    const std::lock_guard guarda(g_cerrojo);
    if (--g_vigilados == 0) CambiarManejadores(AlRecibirSenal, SIG_DFL);
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

constexpr std::string_view kPrefijo = ".velmora_";
constexpr std::string_view kSufijo = ".tmp";

std::string CarpetaCon(const std::string& destino) {
    return destino.substr(0, destino.rfind('/') + 1);
}

// By chance: another process with this number, in another container, may be at work in the same folder.
std::string NombreNuevo(const std::string& destino) {
    uint64_t azar = 0;
    if (getrandom(&azar, sizeof azar, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof azar)) azar = 0;
    static std::atomic<uint64_t> contador{0};
    const unsigned long long numero = azar + contador++;
    char medio[64];
    snprintf(medio, sizeof medio, "%ld_%llx", static_cast<long>(getpid()), numero);
    return CarpetaCon(destino).append(kPrefijo).append(medio).append(kSufijo);
}

// The number of the process that gave a file this name; 0 when nobody did.
pid_t QuienNombro(std::string_view nombre) {
    if (nombre.size() < kPrefijo.size() + kSufijo.size() || !nombre.starts_with(kPrefijo) || !nombre.ends_with(kSufijo))
        return 0;
    nombre.remove_prefix(kPrefijo.size());
    nombre.remove_suffix(kSufijo.size());
    pid_t pid = 0;
    const auto [fin, error] = std::from_chars(nombre.data(), nombre.data() + nombre.size(), pid);
    nombre.remove_prefix(static_cast<size_t>(fin - nombre.data()));
    constexpr std::string_view kHex = "0123456789abcdef";
    const bool suyo = error == std::errc() && nombre.size() > 1 && nombre[0] == '_' &&
                      nombre.find_first_not_of(kHex, 1) == std::string_view::npos;
    return suyo && pid > 0 ? pid : 0;
}

// Says of an open file that its program is at work. Where there are no locks its number alone says so.
void Bloquear(int fd) {
    static_cast<void>(flock(fd, LOCK_SH | LOCK_NB) == 0);
}

// The lock comes last: it is asked for on a file that nobody else gives another name to.
bool EstaAbandonado(const std::string& ruta) {
    const Descriptor fd(open(ruta.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat hay {};
    return fd && fstat(fd.Valor(), &hay) == 0 && S_ISREG(hay.st_mode) && hay.st_uid == geteuid() &&
           flock(fd.Valor(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

void Inacabado::QuitarAbandonados(const std::string& destino) {
    const std::string carpeta = CarpetaCon(destino);
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(carpeta.empty() ? "." : carpeta.c_str()), closedir);
    if (!dir) return;
    while (const dirent* entrada = readdir(dir.get())) {
        const pid_t pid = QuienNombro(entrada->d_name);
        const std::string ruta = carpeta + entrada->d_name;
        if (pid != 0 && kill(pid, 0) != 0 && errno == ESRCH && EstaAbandonado(ruta)) unlink(ruta.c_str());
    }
}

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

Descriptor Inacabado::Crear(const std::string& destino, mode_t permisos) {
    int fd = -1;
    const auto abrir = [&](const std::string& ruta) {
        fd = open(ruta.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, permisos);
        return fd >= 0;
    };
    if (!Intentar(destino, abrir)) return {};
    Bloquear(fd);
    return Descriptor(fd);
}

bool Inacabado::Enlazar(int fd, const std::string& destino) {
    Bloquear(fd);
    return Intentar(destino, [fd](const std::string& ruta) { return Api::Enlazar(fd, ruta); });
}

bool Inacabado::Renombrar(const std::string& destino) {
    if (rename(ruta_.c_str(), destino.c_str()) != 0) return false;
    Soltar();
    return true;
}

// Not every file system knows the flag, nor hard links. Where neither is known the name is taken first by an empty
// file, the only moment in which a kill leaves one.
bool Inacabado::RenombrarSinPisar(const std::string& destino) {
    if (renameat2(AT_FDCWD, ruta_.c_str(), AT_FDCWD, destino.c_str(), RENAME_NOREPLACE) == 0) {
        Soltar();
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) return false;
    if (link(ruta_.c_str(), destino.c_str()) == 0) {
        Quitar();
        return true;
    }
    if (errno != EPERM && errno != EOPNOTSUPP) return false;
    const Descriptor sitio(open(destino.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!sitio) return false;
    if (Renombrar(destino)) return true;
    unlink(destino.c_str());
    return false;
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
