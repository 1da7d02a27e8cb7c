#include "signer/PdfProvisional.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <string_view>
#include <utility>

namespace LxPdfSigner::Interno {

using Lx::Api::Descriptor;

namespace {

std::string CarpetaDe(const std::string& ruta) {
    const size_t barra = ruta.rfind('/');
    if (barra == std::string::npos) return ".";
    return barra == 0 ? "/" : ruta.substr(0, barra);
}

// Where a chain of symbolic links leads, whether something is there or not. Links among the folders are left to the
// system.
std::string TrasEnlaces(std::string ruta) {
    constexpr int kEnlaces = 40;
    for (int i = 0; i < kEnlaces; ++i) {
        std::array<char, PATH_MAX> texto{};
        const ssize_t n = readlink(ruta.c_str(), texto.data(), texto.size());
        if (n <= 0 || static_cast<size_t>(n) == texto.size()) break;
        const std::string_view otra(texto.data(), static_cast<size_t>(n));
        ruta = otra[0] == '/' ? std::string() : CarpetaDe(ruta) + "/";
        ruta += otra;
    }
    return ruta;
}

// Whether another file may take the name `destino` of the file that `hay` tells of. Not when the path leads there by
// other ways than names (/proc/self/fd), when it is mounted there, or when the folder lets only owners do it.
bool Sustituible(const std::string& destino, const struct stat& hay) {
    struct stat suyo = {};
    struct stat carpeta = {};
    if (!S_ISREG(hay.st_mode) || stat(destino.c_str(), &suyo) != 0 || suyo.st_dev != hay.st_dev ||
        suyo.st_ino != hay.st_ino || stat(CarpetaDe(destino).c_str(), &carpeta) != 0)
        return false;
    const uid_t yo = geteuid();
    const bool soloDuenos = (carpeta.st_mode & S_ISVTX) != 0 && yo != 0;
    return carpeta.st_dev == hay.st_dev && (!soloDuenos || yo == carpeta.st_uid || yo == hay.st_uid);
}

// Owner first: changing it may take permissions away. Who may not give a file away keeps it.
void Imitar(int fd, const struct stat& hay) {
    static_cast<void>(fchown(fd, hay.st_uid, hay.st_gid) == 0);
    static_cast<void>(fchmod(fd, hay.st_mode & 0777) == 0);
}

}  // namespace

bool AsegurarEnDisco(int fd) {
    return fdatasync(fd) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS;
}

bool Provisional::Crear(bool sinNombre) {
    // The name comes through /proc.
    if (sinNombre && access("/proc/self/fd", X_OK) == 0) {
        fd_ = Descriptor(open(CarpetaDe(destino_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
        // What file systems and kernels without nameless files say.
        if (fd_ || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT && errno != EINVAL)) return bool(fd_);
    }
    fd_ = conNombre_.Crear(destino_);
    return bool(fd_);
}

bool Provisional::Abrir(const std::string& salida, bool sinNombre) {
    struct stat hay = {};
    const bool existe = stat(salida.c_str(), &hay) == 0;
    if (!existe && (errno != ENOENT || salida.empty())) return false;
    if (existe && (S_ISDIR(hay.st_mode) || faccessat(AT_FDCWD, salida.c_str(), W_OK, AT_EACCESS) != 0)) return false;
    destino_ = TrasEnlaces(salida);
    directa_ = existe && !Sustituible(destino_, hay);
    if (directa_) return true;
    if (!Crear(sinNombre)) {
        directa_ = existe && (errno == EACCES || errno == EPERM || errno == EROFS);
        return directa_;
    }
    if (existe) Imitar(fd_.Valor(), hay);
    return true;
}

bool Provisional::Nombrar() {
    const bool puesto = conNombre_.Ruta().empty() && Lx::Api::Enlazar(fd_.Valor(), destino_);
    if (!puesto && conNombre_.Ruta().empty() && (errno != EEXIST || !conNombre_.Enlazar(fd_.Valor(), destino_))) {
        return false;
    }
    if (!puesto && !conNombre_.Renombrar(destino_)) return false;
    // The file is whole and has its name: that its name may come late to the disk is no failure.
    const Descriptor carpeta(open(CarpetaDe(destino_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (carpeta) static_cast<void>(fsync(carpeta.Valor()));
    return true;
}

}  // namespace LxPdfSigner::Interno
