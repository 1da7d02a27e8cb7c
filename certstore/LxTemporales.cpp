#include "certstore/LxTemporales.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "crypto/LxFichero.h"

namespace Lx::CertStore {

namespace {

// --- Register of files. A signal handler walks it, so: nodes are only ever added, a node's text changes only while its
// owner is kOcupado, and nothing here takes a lock or frees memory.

constexpr pid_t kLibre = 0;
constexpr pid_t kOcupado = -1;
constexpr size_t kCapacidadMinima = 256;

struct Nodo {
    explicit Nodo(size_t n) : capacidad(n), ruta(new char[n]) {}
    const size_t capacidad;
    const std::unique_ptr<char[]> ruta;
    std::atomic<pid_t> dueno{kOcupado};
    Nodo* siguiente = nullptr;
};

std::atomic<Nodo*> g_registro{nullptr};
static_assert(std::atomic<Nodo*>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

Nodo* NodoLibre(size_t tamano) {
    for (Nodo* n = g_registro; n != nullptr; n = n->siguiente) {
        pid_t libre = kLibre;
        if (n->capacidad >= tamano && n->dueno.compare_exchange_strong(libre, kOcupado)) return n;
    }
    auto nuevo = std::make_unique<Nodo>(std::max(tamano, kCapacidadMinima));
    nuevo->siguiente = g_registro;
    while (!g_registro.compare_exchange_weak(nuevo->siguiente, nuevo.get())) {
    }
    return nuevo.release();
}

void AlTerminar();

void LimpiarAlTerminar() {
    static const int puesto = std::atexit(AlTerminar);
    static_cast<void>(puesto);
}

void Apuntar(const std::string& ruta) {
    LimpiarAlTerminar();
    Nodo* n = NodoLibre(ruta.size() + 1);
    std::memcpy(n->ruta.get(), ruta.c_str(), ruta.size() + 1);
    n->dueno = getpid();
}

void Borrar(const std::string& ruta) {
    for (Nodo* n = g_registro; n != nullptr; n = n->siguiente)
        if (n->dueno == getpid() && ruta == n->ruta.get()) n->dueno = kLibre;
}

// Async-signal-safe.
void QuitarRegistrados() {
    for (Nodo* n = g_registro; n != nullptr; n = n->siguiente)
        if (n->dueno == getpid()) unlink(n->ruta.get());
}

// --- The private folder

std::array<char, PATH_MAX> g_carpeta{};
std::atomic<pid_t> g_duenoCarpeta{kLibre};

constexpr const char* kPrefijo = "velmora_";
constexpr size_t kAzar = 6;  // the Xs of mkdtemp
constexpr int kSenales[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

// An openssl that was running when the signal came may still write its output once: as long as the folder is there, so
// it is tried again until the folder is gone, after which no file can come into being.
void QuitarDesdeSenal() {
    constexpr int kIntentos = 16;
    for (int i = 0; i < kIntentos; ++i) {
        QuitarRegistrados();
        if (g_duenoCarpeta != getpid() || rmdir(g_carpeta.data()) == 0 || errno != ENOTEMPTY) return;
    }
}

// Installed with SA_RESETHAND: the second arrival of the signal, after the return, ends the process.
void AlRecibirSenal(int senal) {
    const int guardado = errno;
    QuitarDesdeSenal();
    raise(senal);
    errno = guardado;
}

void AtenderSenales() {
    struct sigaction nueva {};
    nueva.sa_handler = AlRecibirSenal;
    nueva.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&nueva.sa_mask);
    for (int s : kSenales) sigaddset(&nueva.sa_mask, s);
    for (int s : kSenales) {
        struct sigaction actual {};
        if (sigaction(s, nullptr, &actual) == 0 && actual.sa_handler == SIG_DFL) sigaction(s, &nueva, nullptr);
    }
    struct sigaction hijos {};
    if (sigaction(SIGCHLD, nullptr, &hijos) == 0 && hijos.sa_handler == SIG_IGN) signal(SIGCHLD, SIG_DFL);
}

struct CerrarCarpeta {
    void operator()(DIR* d) const { closedir(d); }
};
using Carpeta = std::unique_ptr<DIR, CerrarCarpeta>;

// Opens `nombre` in `base` as a folder, never through a symbolic link.
int AbrirCarpeta(int base, const char* nombre) {
    return openat(base, nombre, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Empties the open folder `fd` (and closes it) and removes it by its name in `base`. One level: folders are never made
// inside, and one that somebody put there keeps it all standing.
void VaciarYQuitar(int fd, int base, const char* nombre) {
    Carpeta d(fdopendir(fd));
    if (!d) {
        close(fd);
        return;
    }
    while (const dirent* e = readdir(d.get())) unlinkat(fd, e->d_name, 0);
    unlinkat(base, nombre, AT_REMOVEDIR);
}

void QuitarCarpeta() {
    if (g_duenoCarpeta != getpid()) return;
    if (const int fd = AbrirCarpeta(AT_FDCWD, g_carpeta.data()); fd >= 0) VaciarYQuitar(fd, AT_FDCWD, g_carpeta.data());
    g_duenoCarpeta = kLibre;
}

void AlTerminar() {
    QuitarRegistrados();
    QuitarCarpeta();
}

// The process id in the name of a private folder, 0 when it is not such a name.
pid_t PidDelNombre(std::string_view nombre) {
    if (nombre.substr(0, std::strlen(kPrefijo)) != kPrefijo) return 0;
    nombre.remove_prefix(std::strlen(kPrefijo));
    constexpr size_t kCifras = 9;
    long pid = 0;
    size_t i = 0;
    for (; i < nombre.size() && i < kCifras && nombre[i] >= '0' && nombre[i] <= '9'; ++i)
        pid = pid * 10 + (nombre[i] - '0');
    if (i == 0 || nombre[0] == '0' || nombre.size() != i + 1 + kAzar || nombre[i] != '_') return 0;
    const bool azarBien = std::all_of(nombre.begin() + static_cast<std::ptrdiff_t>(i) + 1, nombre.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
    return azarBien ? static_cast<pid_t>(pid) : 0;
}

// Removes the folders of `base` whose process is gone. The process holds a lock on its folder: another process that
// shares the place but not the process ids (a container) is seen by that.
void QuitarAbandonadas(const std::string& base) {
    Carpeta d(opendir(base.c_str()));
    if (!d) return;
    const int fdBase = dirfd(d.get());
    while (const dirent* e = readdir(d.get())) {
        const pid_t pid = PidDelNombre(e->d_name);
        if (pid == 0 || kill(pid, 0) == 0 || errno != ESRCH) continue;
        const int fd = AbrirCarpeta(fdBase, e->d_name);
        if (fd < 0) continue;
        struct stat st {};
        if (fstat(fd, &st) == 0 && st.st_uid == geteuid() && flock(fd, LOCK_EX | LOCK_NB) == 0)
            VaciarYQuitar(fd, fdBase, e->d_name);
        else
            close(fd);
    }
}

// --- Places

std::string CarpetaTemporal() {
    for (const char* variable : {"TEMP", "TMP", "TMPDIR"})
        if (const char* valor = std::getenv(variable); valor != nullptr && *valor != '\0') return valor;
    return "/tmp";
}

// The user's run-time folder, if the system made one that nobody else can enter; else empty.
std::string CarpetaDeEjecucion() {
    const char* ruta = std::getenv("XDG_RUNTIME_DIR");
    struct stat st {};
    if (ruta == nullptr || ruta[0] != '/' || lstat(ruta, &st) != 0) return {};
    const bool propia = S_ISDIR(st.st_mode) && st.st_uid == geteuid() && (st.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return propia ? ruta : std::string();
}

}  // namespace

std::string RutaTemporal(const std::string& sufijo) {
    static std::atomic<long> contador{0};
    char nombre[64];
    std::snprintf(nombre, sizeof nombre, "lxcert_%ld_%d", ++contador, static_cast<int>(getpid()));
    return CarpetaTemporal() + "/" + nombre + sufijo;
}

void QuitarTemporales() {
    QuitarRegistrados();
}

bool FicheroTemporal::Crear(const std::string& sufijo, std::initializer_list<std::string_view> trozos) {
    Quitar();
    constexpr int kNombres = 100;
    int fd = -1;
    for (int i = 0; i < kNombres; ++i) {
        ruta_ = RutaTemporal(sufijo);
        // First: a signal must not fall between the file and its entry.
        Apuntar(ruta_);
        fd = open(ruta_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (fd >= 0) break;
        const int motivo = errno;
        Borrar(ruta_);
        if (motivo != EEXIST) break;
    }
    if (fd < 0) {
        ruta_.clear();
        return false;
    }
    bool bien = true;
    for (std::string_view trozo : trozos) bien = bien && Api::EscribirTodo(fd, trozo);
    if (close(fd) != 0) bien = false;
    if (!bien) Quitar();
    return bien;
}

std::string FicheroTemporal::Soltar() {
    return std::exchange(ruta_, {});
}

void FicheroTemporal::Quitar() {
    if (ruta_.empty()) return;
    unlink(ruta_.c_str());
    Borrar(ruta_);
    ruta_.clear();
}

CarpetaPrivada::CarpetaPrivada() {
    AtenderSenales();
    if (g_duenoCarpeta == getpid()) return;
    LimpiarAlTerminar();
    for (const std::string& base : {CarpetaDeEjecucion(), CarpetaTemporal()}) {
        if (base.empty()) continue;
        QuitarAbandonadas(base);
        std::string ruta = base + "/" + kPrefijo + std::to_string(getpid()) + "_" + std::string(kAzar, 'X');
        if (ruta.size() >= g_carpeta.size() || mkdtemp(ruta.data()) == nullptr) continue;
        std::memcpy(g_carpeta.data(), ruta.c_str(), ruta.size() + 1);
        g_duenoCarpeta = getpid();
        cerrojo_ = AbrirCarpeta(AT_FDCWD, ruta.c_str());
        if (cerrojo_ >= 0) flock(cerrojo_, LOCK_EX | LOCK_NB);
        if (const char* temp = std::getenv("TEMP")) {
            habiaTemp_ = true;
            tempAnterior_ = temp;
        }
        setenv("TEMP", ruta.c_str(), 1);
        ruta_ = ruta;
        return;
    }
}

CarpetaPrivada::~CarpetaPrivada() {
    if (ruta_.empty()) return;
    if (cerrojo_ >= 0) close(cerrojo_);
    QuitarCarpeta();
    if (habiaTemp_)
        setenv("TEMP", tempAnterior_.c_str(), 1);
    else
        unsetenv("TEMP");
}

}  // namespace Lx::CertStore
