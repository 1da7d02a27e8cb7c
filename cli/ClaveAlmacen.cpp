#include "cli/ClaveAlmacen.h"

#include "certstore/sistema/LxSistema.h"
#include "cli/Texto.h"

namespace Cli {

ClaveAlmacen::ClaveAlmacen(const Argumentos& a) : a_(a) {
    Lx::CertStore::PonerPreguntaClave([this](const std::string& almacen, int intento, bool ultimo, std::string& clave) {
        return Responder(almacen, intento, ultimo, clave);
    });
}

ClaveAlmacen::~ClaveAlmacen() {
    Lx::CertStore::PonerPreguntaClave({});
}

bool ClaveAlmacen::Responder(const std::string& almacen, int intento, bool ultimo, std::string& clave) {
    const bool valio = intento == 1 && almacen == almacen_ && !ultimo;
    if (!valio) {
        std::string error;
        almacen_.clear();
        const bool hay = SePregunta(a_.claveAlmacenDesde) ? Preguntar(almacen, intento, ultimo, error)
                                                          : LeerUnaVez(almacen, intento, ultimo, error);
        if (!hay) {
            Limpiar(clave_.texto);
            DecirError(error);
            return false;
        }
        almacen_ = almacen;
    }
    clave = clave_.texto;
    return true;
}

bool ClaveAlmacen::Preguntar(const std::string& almacen, int intento, bool ultimo, std::string& error) {
    if (intento > 1) Decir("La contraseña no es correcta.");
    const char* aviso = ultimo ? " (ÚLTIMO INTENTO: si no es correcta, queda bloqueado)" : "";
    return PreguntarClave(kClaveAlmacen, "Contraseña de " + almacen + aviso + ": ", clave_.texto, error);
}

bool ClaveAlmacen::LeerUnaVez(const std::string& almacen, int intento, bool ultimo, std::string& error) {
    if (leida_) {
        error = intento > 1 ? "la contraseña de --clave-almacen-desde no es la de " + almacen + "."
                            : "la contraseña de --clave-almacen-desde ya se usó y no se prueba en " + almacen + ".";
        return false;
    }
    leida_ = true;
    if (ultimo) Decir("Aviso: a " + almacen + " le queda un solo intento; si no es correcto, queda bloqueado.");
    return LeerClave(kClaveAlmacen, *a_.claveAlmacenDesde, clave_.texto, error);
}

}  // namespace Cli
