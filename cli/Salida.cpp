#include "cli/Salida.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "cli/Texto.h"

namespace Cli {

namespace {

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
    forzar_ = forzar;
    destino_ = forzar ? SinEnlaces(destino) : destino;
    const Lx::Api::Descriptor fd = parcial_.Crear(destino_);
    if (!fd) return FalloSistema(error, destino, errno);
    if (forzar_) CopiarPermisos(fd.Valor(), destino_);
    return true;
}

bool Salida::Colocar(bool& ocupado, std::string& error) {
    ocupado = false;
    int numero = 0;
    if (forzar_)
        numero = Asegurar(Parcial()) && parcial_.Renombrar(destino_) ? 0 : errno;
    else
        numero = RenombrarSinPisar(Parcial(), destino_);
    ocupado = numero == EEXIST;
    if (ocupado) return Fallo(error, "ya existe " + destino_ + ": no se sustituye.");
    if (numero != 0) return FalloSistema(error, destino_, numero);
    parcial_.Soltar();
    return true;
}

bool DestinoPermitido(const std::string& destino, const std::string& entrada, bool forzar, Lx::Aviso& fallo) {
    const auto no = [&fallo](std::string frase, Lx::Motivo motivo = Lx::Motivo::SalidaImposible) {
        fallo = {motivo, std::move(frase)};
        return false;
    };
    fallo = {};
    struct stat hay {
    }, doc{};
    if (destino.empty() || destino.back() == '/') return no("\"" + destino + "\" no es un nombre de fichero.");
    if (lstat(destino.c_str(), &hay) != 0) return true;  // what else is wrong shows when it is made
    const bool alcanzable = stat(destino.c_str(), &hay) == 0;
    if (alcanzable && !entrada.empty() && stat(entrada.c_str(), &doc) == 0 && doc.st_dev == hay.st_dev &&
        doc.st_ino == hay.st_ino)
        return no("la salida " + destino + " es el propio documento: no se sustituye nunca.",
                  Lx::Motivo::SalidaEsEntrada);
    if (alcanzable && !S_ISREG(hay.st_mode)) return no(destino + " ya existe y no es un fichero normal.");
    return forzar || no("ya existe " + destino + ": no se sustituye.");
}

}  // namespace Cli
