#include "app/Direccion.h"

#include "crypto/LxApi.h"

namespace Orvanta {

namespace {

constexpr const char* kEsquemas[] = {"http://", "https://", "mailto:"};
constexpr size_t kMaximo = 1000;  // what can be looked over before it is opened

}  // namespace

std::string DireccionSegura(const std::string& direccion, std::string& error) {
    std::string segura;
    for (const char c : direccion) {
        if (c > ' ' && c < '\x7f')
            segura += c;
        else
            segura += Lx::Api::UrlEncode(std::string(1, c));
    }
    error.clear();
    const std::string minuscula = Lx::Api::ToLowerAscii(segura);
    bool conocido = false;
    for (const std::string esquema : kEsquemas)
        conocido = conocido || (minuscula.starts_with(esquema) && segura.size() > esquema.size());
    if (!conocido)
        error = "El enlace no se abre: solo se siguen los que llevan a una página web (http, https) o a un correo.";
    else if (segura.size() > kMaximo)
        error = "El enlace no se abre: su dirección es demasiado larga para comprobarla.";
    return error.empty() ? segura : std::string();
}

std::string SitioDe(const std::string& direccion) {
    const size_t barras = direccion.find("://");
    if (barras == direccion.npos) return {};
    std::string sitio = direccion.substr(barras + 3);
    sitio = sitio.substr(0, sitio.find_first_of("/\\?#"));
    const size_t arroba = sitio.rfind('@');
    return arroba == sitio.npos ? sitio : sitio.substr(arroba + 1);
}

}  // namespace Orvanta
