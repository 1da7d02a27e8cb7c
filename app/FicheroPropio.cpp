#include "app/FicheroPropio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "crypto/LxDescriptor.h"
#include "crypto/LxFichero.h"
#include "crypto/LxInacabado.h"

namespace Orvanta {

namespace {

constexpr mode_t kSoloMio = 0600, kCarpetaMia = 0700;
constexpr size_t kMaxUserDirs = 64 * 1024;

// A relative path in one of these variables is to be ignored.
[[nodiscard]] std::string Variable(const char* nombre) {
    const char* valor = std::getenv(nombre);
    return valor != nullptr && valor[0] == '/' ? valor : std::string();
}

[[nodiscard]] std::string CarpetaXdg(const char* variable, const char* enCasa) {
    std::string carpeta = Variable(variable);
    if (carpeta.empty() && !Variable("HOME").empty()) carpeta = Variable("HOME") + enCasa;
    return carpeta;
}

[[nodiscard]] std::string Propia(const std::string& base) {
    return base.empty() ? base : base + "/velmora";
}

[[nodiscard]] bool HacerCarpetas(const std::string& ruta) {
    const size_t barra = ruta.rfind('/');
    if (barra == 0 || barra == ruta.npos) return true;
    const std::string carpeta = ruta.substr(0, barra);
    if (mkdir(carpeta.c_str(), kCarpetaMia) == 0 || errno == EEXIST) return true;
    return errno == ENOENT && HacerCarpetas(carpeta) && mkdir(carpeta.c_str(), kCarpetaMia) == 0;
}

}  // namespace

std::string CarpetaDeEstado() {
    return Propia(CarpetaXdg("XDG_STATE_HOME", "/.local/state"));
}

std::string CarpetaDeConfiguracion() {
    return Propia(CarpetaXdg("XDG_CONFIG_HOME", "/.config"));
}

std::string CarpetaDeDocumentos() {
    const std::string casa = Variable("HOME");
    const std::string todo = LeerPropio(CarpetaXdg("XDG_CONFIG_HOME", "/.config") + "/user-dirs.dirs", kMaxUserDirs);
    constexpr std::string_view kClave = "\nXDG_DOCUMENTS_DIR=\"";
    const size_t clave = ("\n" + todo).find(kClave);
    if (clave == todo.npos) return casa;
    const size_t inicio = clave + kClave.size() - 1;  // the line feed before the text isn't in it
    std::string carpeta = todo.substr(inicio, todo.find('"', inicio) - inicio);
    constexpr std::string_view kCasa = "$HOME";
    if (carpeta.starts_with(kCasa)) carpeta = casa + carpeta.substr(kCasa.size());
    std::error_code fallo;
    return carpeta.starts_with('/') && std::filesystem::is_directory(carpeta, fallo) ? carpeta : casa;
}

std::string LeerPropio(const std::string& ruta, size_t maximo) {
    const Lx::Api::Descriptor fichero(open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat dato {};
    if (!fichero || fstat(fichero.Valor(), &dato) != 0 || !S_ISREG(dato.st_mode) || dato.st_uid != geteuid() ||
        dato.st_size < 0 || static_cast<size_t>(dato.st_size) > maximo)
        return {};
    std::string texto(static_cast<size_t>(dato.st_size), '\0');
    const ssize_t leidos = Lx::Api::LeerEn(fichero.Valor(), texto.data(), texto.size(), 0);
    texto.resize(leidos < 0 ? 0 : static_cast<size_t>(leidos));
    return texto;
}

bool EscribirPropio(const std::string& ruta, std::string_view datos) {
    if (!ruta.starts_with('/') || !HacerCarpetas(ruta)) return false;
    Lx::Api::Inacabado::QuitarAbandonados(ruta);
    Lx::Api::Inacabado nuevo;
    Lx::Api::Descriptor fichero = nuevo.Crear(ruta, kSoloMio);
    return fichero && Lx::Api::EscribirTodo(fichero.Valor(), datos) && fichero.Cerrar() && nuevo.Renombrar(ruta);
}

}  // namespace Orvanta
