#include <utility>

#include "certstore/sistema/LxPlataforma.h"
#include "certstore/sistema/LxSistema.h"

namespace Lx::CertStore {

ListadoSistema LeerSistema(std::vector<Entrada>&, Control&) {
    return {};
}

FirmaSistema FirmarEnSistema(const Lx::X509::Certificado& cert, const std::vector<unsigned char>&, const PreguntaClave&,
                             Control&) {
    return {{},
            {Motivo::SinClave, std::string("no hay clave privada en ") + Plataforma::kTextos.elAlmacen + " para " +
                                   cert.subjectCN + "."}};
}

void ListarSistema(std::vector<Entrada>&, std::string& texto) {
    texto.clear();
}

std::vector<unsigned char> FirmarSistema(const Lx::X509::Certificado& cert, const std::vector<unsigned char>& datos,
                                         const std::string&, bool, std::string& error) {
    Control control;
    error = FirmarEnSistema(cert, datos, {}, control).fallo.frase;
    return {};
}

}  // namespace Lx::CertStore
