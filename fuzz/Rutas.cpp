// Any name as that of a file that a helper wants to open, in a tree with links that lead out of the allowed folder:
// what is handed over lies in it, as realpath() sees it, and only to be read.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "ayudante/Intermediario.h"

namespace fs = std::filesystem;

namespace {

struct Arbol {
    Arbol() {
        std::string plantilla = fs::temp_directory_path() / "rutasXXXXXX";
        raiz = fs::canonical(mkdtemp(plantilla.data()));
        for (const char* carpeta : {"d", "d/s", "d2", "f"}) fs::create_directory(raiz / carpeta);
        for (const char* fichero : {"d/a", "d/s/b", "d2/c", "f/e"}) std::ofstream(raiz / fichero) << fichero;
        for (const char* enlace : {"d/f", "d2/f", "d/s/f"}) fs::create_symlink(raiz / "f", raiz / enlace);
        fs::create_symlink("../f/e", raiz / "d/e");
        fs::create_symlink("../d", raiz / "f/d");
        fs::create_symlink("s/b", raiz / "d/b");
    }
    ~Arbol() {
        std::error_code da_igual;
        fs::remove_all(raiz, da_igual);
    }
    fs::path raiz;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Arbol arbol;
    if (size == 0) return 0;
    const std::string ruta = arbol.raiz.string() + "/" + std::string(data + 1, data + size);
    const std::vector<std::string> carpetas{arbol.raiz / "d"};
    int error = 0;
    const auto abierto = Lx::Ayudante::AbrirPermitido(ruta, data[0] & 1 ? O_DIRECTORY : 0, carpetas, error);
    if (!abierto) return error == 0 ? (__builtin_trap(), 0) : 0;
    char real[PATH_MAX];
    const std::string suya = realpath(ruta.c_str(), real) != nullptr ? real : "";
    const bool dentro = suya == carpetas[0] || suya.rfind(carpetas[0] + "/", 0) == 0;
    if (!dentro || (fcntl(abierto.Valor(), F_GETFL) & O_ACCMODE) != O_RDONLY) __builtin_trap();
    return 0;
}
