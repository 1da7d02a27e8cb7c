#include "certstore/Tarjeta.h"

#include <utility>

#include "card/LxDnie.h"

namespace Lx::CertStore::Tarjeta {

std::vector<std::string> ListarLectores() {
    return Dnie::CDnie::ListarLectores();
}

int PriorizarLector(const std::vector<std::string>& lectores) {
    return Dnie::CDnie::PriorizarLector(lectores);
}

std::vector<X509::Certificado> LeerCertificados(const std::string& lector, std::string& error) {
    std::vector<X509::Certificado> certificados;
    for (Dnie::CertificadoDnie& leido : Dnie::CDnie::LeerCertificados(lector, error)) {
        certificados.push_back(std::move(leido.cert));
    }
    return certificados;
}

std::vector<unsigned char> Firmar(const std::string& lector, const X509::Certificado& cert,
                                  const std::vector<unsigned char>& datos, const std::string& pin, std::string& error) {
    return Dnie::CDnie::Firmar(lector, cert, datos, pin, error);
}

}  // namespace Lx::CertStore::Tarjeta
