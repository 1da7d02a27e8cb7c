#include "pdf/LxLectura.h"

#include "pdf/LxSintaxis.h"

namespace LxPdf {

std::string Texto(Ref ref) {
    return std::to_string(ref.num) + " " + std::to_string(ref.gen) + " R";
}

bool Lectura::DictDe(Ref ref, std::string& dict) const {
    std::string valor;
    std::string_view interior;
    if (!ValorDe(ref, valor) || !Interior(valor, interior)) return false;
    dict = interior;
    return true;
}

bool Lectura::ArrayDe(std::string_view valor, std::string& elementos) const {
    long num = 0;
    long gen = 0;
    std::string ajeno;
    if (LeerReferencia(valor, num, gen)) {
        if (num < 1 || num > UINT32_MAX || gen < 0 || gen > UINT16_MAX) return false;
        if (!ValorDe({static_cast<uint32_t>(num), static_cast<uint16_t>(gen)}, ajeno)) return false;
        valor = ajeno;
    }
    std::string_view dentro;
    if (!Elementos(valor, dentro)) return false;
    elementos = dentro;
    return true;
}

std::string NombreCampoLibre(const std::set<std::string>& nombres) {
    for (int n = 1;; ++n) {
        std::string nombre = "Signature" + std::to_string(n);
        if (!nombres.contains(nombre)) return nombre;
    }
}

}  // namespace LxPdf
