#include "crypto/LxExplicar.h"

#include <cerrno>
#include <string_view>

namespace Lx::Api {

namespace {

// What an ordinary run can meet.
constexpr struct {
    int numero;
    const char* texto;
} kErrores[] = {
    {ENOENT, "no existe"},
    {EACCES, "permiso denegado"},
    {EPERM, "operación no permitida"},
    {EEXIST, "ya existe"},
    {EISDIR, "es una carpeta"},
    {ENOTDIR, "una parte de la ruta no es una carpeta"},
    {ENAMETOOLONG, "el nombre es demasiado largo"},
    {ELOOP, "demasiados enlaces simbólicos"},
    {ENOSPC, "no queda espacio en el disco"},
    {EDQUOT, "se agotó la cuota de disco"},
    {EROFS, "el sistema de ficheros es de solo lectura"},
    {EFBIG, "el fichero es demasiado grande"},
    {EIO, "error de entrada o salida"},
    {EPIPE, "nadie lee la salida"},
    {EBADF, "la salida está cerrada"},
    {EMFILE, "hay demasiados ficheros abiertos"},
};

// What no shell gives a meaning to, wherever it stands in a word.
constexpr std::string_view kLlanos = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,:+@%";

}  // namespace

std::string ExplicarErrno(int numero) {
    for (const auto& e : kErrores)
        if (e.numero == numero) return e.texto;
    return "error " + std::to_string(numero) + " del sistema";
}

std::string Citar(const std::string& ruta) {
    if (!ruta.empty() && ruta.find_first_not_of(kLlanos) == ruta.npos) return ruta;
    std::string palabra = "'";
    for (const char c : ruta) palabra += c == '\'' ? "'\\''" : std::string(1, c);
    return palabra + "'";
}

}  // namespace Lx::Api
