#include "certstore/sistema/LxPlataforma.h"
#include "certstore/sistema/LxSistema.h"

namespace Lx::CertStore {

void ListarSistema(std::vector<Entrada>&, std::string& texto) {
    texto.clear();
}

std::vector<unsigned char> FirmarSistema(const Lx::X509::Certificado& cert, const std::vector<unsigned char>&,
                                         const std::string&, bool, std::string& error) {
    error = std::string("no hay clave privada en ") + Plataforma::kTextos.elAlmacen + " para " + cert.subjectCN + ".";
    return {};
}

void PonerPreguntaClave(PreguntaClave) {}

}  // namespace Lx::CertStore
