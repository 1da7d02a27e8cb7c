#include "crypto/LxPem.h"

#include <string>

namespace Lx::Api {

std::vector<BloquePem> BloquesPem(std::string_view texto, std::string_view etiqueta) {
    const std::string inicio = "-----BEGIN " + std::string(etiqueta) + "-----";
    const std::string fin = "-----END " + std::string(etiqueta) + "-----";
    std::vector<BloquePem> bloques;
    for (size_t i = texto.find(inicio); i != texto.npos; i = texto.find(inicio, i)) {
        const size_t desde = i + inicio.size();
        const size_t hasta = texto.find(fin, desde);
        if (hasta == texto.npos) break;
        bloques.push_back({texto.substr(i, hasta + fin.size() - i), texto.substr(desde, hasta - desde)});
        i = hasta + fin.size();
    }
    return bloques;
}

}  // namespace Lx::Api
