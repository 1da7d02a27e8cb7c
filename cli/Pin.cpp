#include "cli/Pin.h"

#include "certstore/LxTarjeta.h"
#include "cli/Clave.h"
#include "cli/Texto.h"

namespace Cli {

namespace {

[[nodiscard]] std::string Pregunta(int intentos) {
    if (intentos < 0) return "PIN del DNIe: ";
    if (intentos == 1) return "PIN del DNIe (ÚLTIMO INTENTO: si no es correcto, queda bloqueado): ";
    return "PIN del DNIe (le quedan " + std::to_string(intentos) + " intentos): ";
}

// A slip of the fingers costs nothing yet.
[[nodiscard]] bool Preguntar(int intentos, std::string& pin, std::string& error) {
    constexpr int kVeces = 3;
    for (int vez = 1;; ++vez) {
        if (!PreguntarClave(kPin, Pregunta(intentos), pin, error)) return false;
        if (Lx::CertStore::PinAdmisible(pin, error)) return true;
        Limpiar(pin);
        if (vez == kVeces) return false;
        Decir(error + " No se ha enviado nada a la tarjeta.");
    }
}

[[nodiscard]] bool LeerDe(const std::string& fuente, std::string& pin, std::string& error) {
    if (!LeerClave(kPin, fuente, pin, error)) return false;
    if (Lx::CertStore::PinAdmisible(pin, error)) return true;
    Limpiar(pin);
    return false;
}

}  // namespace

bool ObtenerPin(const Argumentos& a, const std::string& lector, std::string& pin, std::string& error) {
    std::string sinCuenta;
    const int intentos = Lx::CertStore::IntentosPin(lector, sinCuenta);
    if (intentos == 0) {
        error = "PIN bloqueado: hay que desbloquearlo con el codigo PUK/clave de desbloqueo.";
        return false;
    }
    if (SePregunta(a.pinDesde)) return Preguntar(intentos, pin, error);
    if (intentos == 1) Decir("Aviso: al PIN del DNIe le queda un solo intento; si no es correcto, queda bloqueado.");
    return LeerDe(*a.pinDesde, pin, error);
}

}  // namespace Cli
