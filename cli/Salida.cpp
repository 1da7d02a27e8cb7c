#include "cli/Salida.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "cli/Texto.h"

namespace Cli {

namespace {

// --- The one unfinished file, for the signal handler. The temporary files' own handlers come after it.

constexpr int kSenales[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
std::array<char, PATH_MAX> g_ruta{};
std::atomic<pid_t> g_dueno{0};
struct sigaction g_antes[std::size(kSenales)]{};
static_assert(std::atomic<pid_t>::is_always_lock_free);

// The signal itself is blocked here: raised again, it goes to the earlier handler after the return.
void AlRecibirSenal(int senal) {
    const int guardado = errno;
    if (g_dueno == getpid()) unlink(g_ruta.data());
    for (size_t i = 0; i < std::size(kSenales); ++i)
        if (kSenales[i] == senal) sigaction(senal, &g_antes[i], nullptr);
    raise(senal);
    errno = guardado;
}

void Vigilar(const std::string& ruta) {
    std::memcpy(g_ruta.data(), ruta.c_str(), ruta.size() + 1);
    g_dueno = getpid();
    struct sigaction nueva {};
    nueva.sa_handler = AlRecibirSenal;
    sigemptyset(&nueva.sa_mask);
    for (size_t i = 0; i < std::size(kSenales); ++i) {
        sigaction(kSenales[i], nullptr, &g_antes[i]);
        if (g_antes[i].sa_handler != SIG_IGN) sigaction(kSenales[i], &nueva, nullptr);
    }
}

void DejarDeVigilar() {
    g_dueno = 0;
    for (size_t i = 0; i < std::size(kSenales); ++i) sigaction(kSenales[i], &g_antes[i], nullptr);
}

// --- Names

bool Fallo(std::string& error, std::string frase) {
    error = std::move(frase);
    return false;
}

bool FalloSistema(std::string& error, const std::string& ruta, int numero) {
    return Fallo(error, "no se pudo abrir " + ruta + " para escritura. Motivo: " + ExplicarErrno(numero) + ".");
}

// A link that is replaced would leave the file behind it as it was, under the other name.
[[nodiscard]] std::string SinEnlaces(const std::string& ruta) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(ruta.c_str(), nullptr), std::free);
    return real ? std::string(real.get()) : ruta;
}

[[nodiscard]] std::string NombreParcial(const std::string& destino, int intento) {
    const size_t barra = destino.rfind('/');
    const std::string carpeta = barra == destino.npos ? "" : destino.substr(0, barra + 1);
    return carpeta + ".velmora_" + std::to_string(getpid()) + "_" + std::to_string(intento) + ".pdf";
}

// What is replaced keeps its permissions.
void CopiarPermisos(int fd, const std::string& destino) {
    struct stat st {};
    if (stat(destino.c_str(), &st) == 0 && fchmod(fd, st.st_mode & 0777) != 0) return;
}

// The bytes must be on the disk before the only earlier copy goes.
[[nodiscard]] bool Asegurar(const std::string& ruta) {
    const int fd = open(ruta.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool bien = fsync(fd) == 0;
    return close(fd) == 0 && bien;
}

// Renames unless the name is taken; 0 or the error number. Not every file system knows the flag, nor hard links.
[[nodiscard]] int RenombrarSinPisar(const std::string& de, const std::string& a) {
    if (renameat2(AT_FDCWD, de.c_str(), AT_FDCWD, a.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (link(de.c_str(), a.c_str()) == 0) return unlink(de.c_str()) == 0 ? 0 : errno;
    if (errno == EEXIST) return EEXIST;
    struct stat st {};
    if (lstat(a.c_str(), &st) == 0) return EEXIST;
    return rename(de.c_str(), a.c_str()) == 0 ? 0 : errno;
}

}  // namespace

bool Salida::Preparar(const std::string& destino, bool forzar, std::string& error) {
    Descartar();
    constexpr int kIntentos = 100;
    forzar_ = forzar;
    destino_ = forzar ? SinEnlaces(destino) : destino;
    int fd = -1;
    std::string ruta;
    for (int i = 1; i <= kIntentos && fd < 0; ++i) {
        ruta = NombreParcial(destino_, i);
        if (ruta.size() >= g_ruta.size()) return FalloSistema(error, destino, ENAMETOOLONG);
        fd = open(ruta.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) break;
    }
    if (fd < 0) return FalloSistema(error, destino, errno);
    parcial_ = ruta;
    Vigilar(parcial_);
    if (forzar_) CopiarPermisos(fd, destino_);
    close(fd);
    return true;
}

bool Salida::Colocar(bool& ocupado, std::string& error) {
    ocupado = false;
    int numero = 0;
    if (forzar_)
        numero = Asegurar(parcial_) && rename(parcial_.c_str(), destino_.c_str()) == 0 ? 0 : errno;
    else
        numero = RenombrarSinPisar(parcial_, destino_);
    ocupado = numero == EEXIST;
    if (ocupado) return Fallo(error, "ya existe " + destino_ + ": no se sustituye.");
    if (numero != 0) return FalloSistema(error, destino_, numero);
    parcial_.clear();
    DejarDeVigilar();
    return true;
}

void Salida::Descartar() {
    if (parcial_.empty()) return;
    unlink(parcial_.c_str());
    parcial_.clear();
    DejarDeVigilar();
}

bool DestinoPermitido(const std::string& destino, const std::string& entrada, bool forzar, std::string& error) {
    struct stat hay {
    }, doc{};
    if (destino.empty() || destino.back() == '/')
        return Fallo(error, "\"" + destino + "\" no es un nombre de fichero.");
    if (lstat(destino.c_str(), &hay) != 0) return true;  // what else is wrong shows when it is made
    const bool alcanzable = stat(destino.c_str(), &hay) == 0;
    if (alcanzable && !entrada.empty() && stat(entrada.c_str(), &doc) == 0 && doc.st_dev == hay.st_dev &&
        doc.st_ino == hay.st_ino)
        return Fallo(error, "la salida " + destino + " es el propio documento: no se sustituye nunca.");
    if (alcanzable && !S_ISREG(hay.st_mode)) return Fallo(error, destino + " ya existe y no es un fichero normal.");
    if (!forzar) return Fallo(error, "ya existe " + destino + ": no se sustituye.");
    return true;
}

}  // namespace Cli
