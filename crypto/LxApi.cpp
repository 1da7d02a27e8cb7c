#include "crypto/LxApi.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <memory>

#include "crypto/LxDescriptor.h"
#include "crypto/RutaInterna.h"

namespace Lx::Api {
namespace {

struct Cerrar {
    void operator()(FILE* f) const { (void)std::fclose(f); }
};
using Fichero = std::unique_ptr<FILE, Cerrar>;

}  // namespace

// A pipe is asked for, not opened: that would wait for its other end, or wake who waits there.
bool FileExists(const std::string& path) {
    struct stat hay {};
    if (stat(path.c_str(), &hay) != 0) return false;
    if (S_ISFIFO(hay.st_mode)) return faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
    return bool(Descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)));
}

bool AppendLog(const std::string& path, const std::string& line) {
    if (path.empty()) return false;
    const Fichero fichero(std::fopen(path.c_str(), "ab"));
    if (fichero == nullptr) return false;
    // Unbuffered: the line reaches the file in one write, whole also when several processes append, and a full disk
    // shows in the count.
    (void)std::setvbuf(fichero.get(), nullptr, _IONBF, 0);
    const std::string registro = line + "\n";
    return std::fwrite(registro.data(), 1, registro.size(), fichero.get()) == registro.size();
}

std::string TimestampNow(const char* format) {
    const time_t ahora = time(nullptr);
    struct tm local {};
    if (localtime_r(&ahora, &local) == nullptr) return {};
    char texto[128];
    const size_t largo = strftime(texto, sizeof texto, format != nullptr ? format : "%Y-%m-%d %H:%M:%S", &local);
    return {texto, largo};
}

std::string GetCurrentSelfPath() {
    char ruta[4096];
    const ssize_t largo = readlink("/proc/self/exe", ruta, sizeof ruta);
    // A full buffer may be a cut path.
    if (largo <= 0 || static_cast<size_t>(largo) >= sizeof ruta) return {};
    return {ruta, static_cast<size_t>(largo)};
}

std::string ExeDirectory() {
    return Interno::CarpetaDe(GetCurrentSelfPath());
}

std::string ExeName() {
    return Interno::NombreDe(GetCurrentSelfPath());
}

bool RegisterUrlScheme(const std::string& /*scheme*/) {
    return false;
}

namespace Interno {

std::string CarpetaDe(const std::string& ruta) {
    const size_t barra = ruta.rfind('/');
    if (barra == std::string::npos) return ".";
    return barra == 0 ? "/" : ruta.substr(0, barra);
}

std::string NombreDe(const std::string& ruta) {
    const size_t barra = ruta.rfind('/');
    return barra == std::string::npos ? ruta : ruta.substr(barra + 1);
}

}  // namespace Interno
}  // namespace Lx::Api
