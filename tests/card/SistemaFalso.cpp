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

FirmaSistema FirmarEnSistema(const Lx::X509::Certificado&, const std::vector<unsigned char>&, const PreguntaClave&,
                             Lx::Control&) {
    SistemaFalso& sistema = ElSistemaFalso();
    ++sistema.veces;
    if (sistema.alFirmar) sistema.alFirmar();
    if (!sistema.firma.empty()) return {sistema.firma, {}};
    return {{}, {Lx::Motivo::AlmacenNoFirma, sistema.motivo}};
}

std::vector<unsigned char> FirmarSistema(const Lx::X509::Certificado& cert, const std::vector<unsigned char>& datos,
                                         const std::string& pin, bool, std::string& error) {
    Lx::Control control;
    ElSistemaFalso().pin = pin;
    FirmaSistema hecha = FirmarEnSistema(cert, datos, {}, control);
    error = hecha.fallo.frase;
    return std::move(hecha.firma);
}

}  // namespace Lx::CertStore
