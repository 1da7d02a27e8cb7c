#include "certstore/sistema/LxSistema.h"
#include "tests/card/Mundo.h"

SistemaFalso& ElSistemaFalso() {
    static SistemaFalso sistema;
    return sistema;
}

namespace Lx::CertStore {

void ListarSistema(std::vector<Entrada>&, std::string& texto) {
    texto.clear();
}

std::vector<unsigned char> FirmarSistema(const Lx::X509::Certificado&, const std::vector<unsigned char>&,
                                         const std::string& pin, bool, std::string& error) {
    SistemaFalso& sistema = ElSistemaFalso();
    ++sistema.veces;
    sistema.pin = pin;
    if (sistema.alFirmar) sistema.alFirmar();
    error = sistema.firma.empty() ? sistema.motivo : "";
    return sistema.firma;
}

}  // namespace Lx::CertStore
