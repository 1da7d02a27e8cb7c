// The names of signed copies.
#include <sys/stat.h>

#include <filesystem>
#include <string_view>
#include <system_error>

#include "crypto/LxApi.h"
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

std::string CarpetaDe(const std::string& ruta) {
    std::error_code fallo;
    const std::string entera = std::filesystem::absolute(ruta, fallo).lexically_normal();
    const size_t barra = entera.rfind('/');
    return barra == entera.npos || barra == 0 ? "/" : entera.substr(0, barra);
}

std::string ConExtension(const std::string& ruta) {
    constexpr std::string_view kExtension = ".pdf";
    std::string final = ruta.size() < kExtension.size() ? "" : ruta.substr(ruta.size() - kExtension.size());
    return Api::ToLowerAscii(final) == kExtension ? ruta : ruta + std::string(kExtension);
}

}  // namespace Lx::Firma
