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

using Lx::Motivo;
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

// Owner first: changing it may take permissions away. Who may not give a file away keeps it; what the old group might
// do is then not for another one.
void Imitar(int fd, const struct stat& hay) {
    mode_t permisos = hay.st_mode & 0777;
    if (fchown(fd, hay.st_uid, hay.st_gid) != 0 && fchown(fd, static_cast<uid_t>(-1), hay.st_gid) != 0)
        permisos &= ~static_cast<mode_t>(S_IRWXG);
    static_cast<void>(fchmod(fd, permisos) == 0);
}

}  // namespace

Destino DestinoDe(const std::string& salida, const Opciones& opciones, const LxPdf::Fuente& documento) {
    Destino destino{salida, opciones.referencias, opciones.reemplazar};
    destino.otroNombre = opciones.otroNombre;
    struct stat suyo = {};
    if (fstat(documento.Descriptor(), &suyo) == 0) destino.permisos = suyo.st_mode & 0777;
    return destino;
}

bool AsegurarEnDisco(int fd) {
    int hecho = 0;
    do {
        hecho = fsync(fd);
    } while (hecho != 0 && errno == EINTR);
    return hecho == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS;
}

bool ReservarEspacio(int fd, uint64_t desde, uint64_t hasta) {
    if (desde >= hasta) return true;
    const auto n = static_cast<off_t>(hasta - desde);
    return fallocate(fd, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(desde), n) == 0 ||
           (errno != ENOSPC && errno != EDQUOT && errno != EFBIG);
}

void EmpezarAVolcar(int fd, uint64_t desde, uint64_t n) {
    const auto hecho = sync_file_range(fd, static_cast<off64_t>(desde), static_cast<off64_t>(n), SYNC_FILE_RANGE_WRITE);
    static_cast<void>(hecho);
}

bool Provisional::Crear(bool sinNombre, mode_t permisos) {
    // The name comes through /proc.
    if (sinNombre && access("/proc/self/fd", X_OK) == 0) {
        fd_ = Descriptor(open(CarpetaDe(destino_.ruta).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, permisos));
        // What file systems and kernels without nameless files say.
        if (fd_ || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT && errno != EINVAL)) return bool(fd_);
    }
    fd_ = conNombre_.Crear(destino_.ruta, permisos);
    return bool(fd_);
}

Motivo Provisional::Abrir(Destino destino, bool sinNombre) {
    destino_ = std::move(destino);
    return destino_.entero ? AbrirEntero(sinNombre) : AbrirComoSea(sinNombre);
}

// Another name after one that is taken.
bool Provisional::OtroNombre() {
    constexpr int kNombres = 1000;
    if (!destino_.otroNombre || ++nombres_ > kNombres) return false;
    std::string otra = destino_.otroNombre(destino_.ruta);
    if (otra.empty()) return false;
    destino_.ruta = std::move(otra);
    return true;
}

// A link counts as what it is, wherever it leads: neither followed nor replaced.
Motivo Provisional::AbrirEntero(bool sinNombre) {
    const std::string& ruta = destino_.ruta;
    if (ruta.empty() || ruta.back() == '/') return Motivo::SalidaImposible;
    struct stat hay = {};
    int numero = 0;
    while ((numero = lstat(ruta.c_str(), &hay) == 0 ? 0 : errno) == 0 && !destino_.reemplazar) {
        if (!OtroNombre())
            return S_ISREG(hay.st_mode) || S_ISLNK(hay.st_mode) ? Motivo::SalidaExiste : Motivo::SalidaAjena;
    }
    if (numero != 0 && numero != ENOENT) return Motivo::SalidaImposible;
    const bool existe = numero == 0;
    if (existe && !S_ISREG(hay.st_mode)) return Motivo::SalidaAjena;
    if (existe && !Sustituible(ruta, hay)) return Motivo::SalidaImposible;
    Lx::Api::Inacabado::QuitarAbandonados(ruta);
    const mode_t permisos = destino_.permisos & 0777 & (existe ? hay.st_mode : 0777);
    return Crear(sinNombre, permisos) ? Motivo::Ninguno : Motivo::SalidaImposible;
}

Motivo Provisional::AbrirComoSea(bool sinNombre) {
    const std::string salida = destino_.ruta;
    destino_.reemplazar = true;
    struct stat hay = {};
    const bool existe = stat(salida.c_str(), &hay) == 0;
    if (!existe && (errno != ENOENT || salida.empty())) return Motivo::SalidaImposible;
    if (existe && (S_ISDIR(hay.st_mode) || faccessat(AT_FDCWD, salida.c_str(), W_OK, AT_EACCESS) != 0))
        return Motivo::SalidaImposible;
    destino_.ruta = TrasEnlaces(salida);
    directa_ = existe && !Sustituible(destino_.ruta, hay);
    if (directa_ || Crear(sinNombre, 0666)) return Motivo::Ninguno;
    directa_ = existe && (errno == EACCES || errno == EPERM || errno == EROFS);
    return directa_ ? Motivo::Ninguno : Motivo::SalidaImposible;
}

// Gives it the name if that is free; 0 or the error's number, EEXIST when it is taken.
int Provisional::Enlazar() {
    const bool puesto = conNombre_.Ruta().empty() ? Lx::Api::Enlazar(fd_.Valor(), destino_.ruta)
                                                  : conNombre_.RenombrarSinPisar(destino_.ruta);
    return puesto ? 0 : errno;
}

Motivo Provisional::Sustituir() {
    struct stat hay = {};
    if (lstat(destino_.ruta.c_str(), &hay) == 0) {
        if (!S_ISREG(hay.st_mode)) return Motivo::SalidaAjena;
        Imitar(fd_.Valor(), hay);
    }
    if (conNombre_.Ruta().empty() && !conNombre_.Enlazar(fd_.Valor(), destino_.ruta)) return Motivo::SalidaImposible;
    return conNombre_.Renombrar(destino_.ruta) ? Motivo::Ninguno : Motivo::SalidaImposible;
}

Motivo Provisional::Nombrar() {
    int numero = 0;
    while ((numero = Enlazar()) == EEXIST && !destino_.reemplazar)
        if (!OtroNombre()) return Motivo::SalidaExiste;
    Motivo causa = Motivo::Ninguno;
    if (numero != 0) causa = numero == EEXIST ? Sustituir() : Motivo::SalidaImposible;
    if (causa != Motivo::Ninguno) return causa;
    // The file is whole and has its name: that its name may come late to the disk is no failure.
    const Descriptor carpeta(open(CarpetaDe(destino_.ruta).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (carpeta) static_cast<void>(fsync(carpeta.Valor()));
    return Motivo::Ninguno;
}

}  // namespace LxPdfSigner::Interno
