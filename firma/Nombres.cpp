// The names of signed copies.
#include <sys/stat.h>

#include "firma/LxFirmar.h"

namespace Lx::Firma {

namespace {

// Whatever has the name: a link that leads nowhere, a pipe, a folder.
[[nodiscard]] bool Ocupado(const std::string& ruta) {
    struct stat hay {};
    return lstat(ruta.c_str(), &hay) == 0;
}

}  // namespace

std::string NombreLibre(const std::string& entrada, const std::string& carpeta) {
    constexpr int kUltimo = 999;
    const size_t barra = entrada.rfind('/');
    const size_t nombre = barra == entrada.npos ? 0 : barra + 1;
    const size_t punto = entrada.rfind('.');
    const size_t fin = punto == entrada.npos || punto < nombre ? entrada.size() : punto;
    std::string base = carpeta.empty() ? entrada.substr(0, fin) : carpeta + "/" + entrada.substr(nombre, fin - nombre);
    if (base.empty()) base = "documento";
    base += "_firmao";
    if (std::string ruta = base + ".pdf"; !Ocupado(ruta)) return ruta;
    for (int n = 2; n <= kUltimo; ++n)
        if (std::string ruta = base + std::to_string(n) + ".pdf"; !Ocupado(ruta)) return ruta;
    return {};
}

}  // namespace Lx::Firma
