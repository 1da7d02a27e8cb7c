#include "certstore/LxTarjeta.h"

namespace Lx::CertStore {

DiagnosticoTarjeta DiagnosticarTarjeta(const std::string& lector) {
    return Dnie::CDnie::Diagnosticar(lector);
}

int IntentosPin(const std::string& lector, std::string& mensaje) {
    int intentos = -1;
    return Dnie::CDnie::IntentosPin(lector, intentos, mensaje) ? intentos : -1;
}

bool PinAdmisible(const std::string& pin, std::string& mensaje) {
    return Dnie::CDnie::PinAdmisible(pin, mensaje);
}

}  // namespace Lx::CertStore
