#include "certstore/sistema/BasesNss.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace Lx::CertStore {

namespace {

namespace fs = std::filesystem;

// The XDG base directory rules: a variable that is not an absolute path counts as not set.
[[nodiscard]] fs::path CarpetaXdg(const char* variable, const fs::path& siFalta) {
    const char* valor = std::getenv(variable);
    return valor != nullptr && *valor == '/' ? fs::path(valor) : siFalta;
}

// What stands after "NOMBRE=" in each line of an .ini file that begins so, whatever its section. A file that isn't
// there has none.
[[nodiscard]] std::vector<std::string> ValoresIni(const fs::path& fichero, std::string_view nombre) {
    constexpr size_t kLineas = 100000;
    std::vector<std::string> valores;
    std::ifstream f(fichero);
    std::string linea;
    for (size_t i = 0; i < kLineas && std::getline(f, linea); ++i) {
        if (!linea.empty() && linea.back() == '\r') linea.pop_back();
        if (linea.size() > nombre.size() + 1 && linea.starts_with(nombre) && linea[nombre.size()] == '=')
            valores.push_back(linea.substr(nombre.size() + 1));
    }
    return valores;
}

void Anadir(const fs::path& carpeta, std::vector<std::string>& carpetas) {
    std::error_code error;
    if (!fs::exists(carpeta / "cert9.db", error)) return;
    const std::string ruta = fs::canonical(carpeta, error).string();
    if (!error && std::find(carpetas.begin(), carpetas.end(), ruta) == carpetas.end()) carpetas.push_back(ruta);
}

// IsRelative needs no look: joining an absolute path to the folder gives that path.
void AnadirPerfiles(const fs::path& carpeta, std::vector<std::string>& carpetas) {
    for (const std::string& perfil : ValoresIni(carpeta / "profiles.ini", "Path")) Anadir(carpeta / perfil, carpetas);
}

}  // namespace

std::vector<std::string> CarpetasNss() {
    std::vector<std::string> carpetas;
    const char* variable = std::getenv("HOME");
    if (variable == nullptr || *variable == '\0') return carpetas;
    const fs::path casa = variable;
    Anadir(casa / ".pki/nssdb", carpetas);
    Anadir(CarpetaXdg("XDG_DATA_HOME", casa / ".local/share") / "pki/nssdb", carpetas);
    Anadir(casa / "snap/chromium/current/.pki/nssdb", carpetas);
    for (const fs::path& programa :
         {casa / ".mozilla/firefox", CarpetaXdg("XDG_CONFIG_HOME", casa / ".config") / "mozilla/firefox",
          casa / "snap/firefox/common/.mozilla/firefox", casa / ".var/app/org.mozilla.firefox/.mozilla/firefox",
          casa / ".thunderbird"})
        AnadirPerfiles(programa, carpetas);
    return carpetas;
}

int VersionDePerfil(const std::string& carpeta) {
    int version = 0;
    for (const std::string& valor : ValoresIni(fs::path(carpeta) / "compatibility.ini", "LastVersion"))
        std::from_chars(valor.data(), valor.data() + valor.size(), version);
    return version;
}

}  // namespace Lx::CertStore
