#include "card/LxDnie.h"

#include "card/DnieSesion.h"
#include "card/LxPcsc.h"

namespace Lx::Dnie {

std::string CDnie::error_;

std::vector<std::string> CDnie::ListarLectores() {
    error_.clear();
    std::vector<std::string> lectores;
    unsigned long contexto = 0;
    const long code = Pcsc::EstablecerContexto(2, contexto);
    if (code != 0) {
        error_ = Pcsc::ExplicarContexto(code);
        return lectores;
    }
    // Having no reader is a code for one service and an empty list for another.
    if (Pcsc::ListarLectores(contexto, lectores) != 0) lectores.clear();
    Pcsc::LiberarContexto(contexto);
    if (lectores.empty()) error_ = "No hay lectores de tarjetas conectados.";
    return lectores;
}

const char* CDnie::NombreSistema() {
    return Pcsc::NombreSistema();
}

int CDnie::DetectarTipo(const std::string& nombre) {
    return Pcsc::DetectarTipo(nombre);
}

int CDnie::PriorizarLector(const std::vector<std::string>& nombres) {
    return Pcsc::PriorizarLector(nombres);
}

std::string CDnie::LeerAtr(const std::string& lector) {
    error_.clear();
    Sesion sesion;
    if (lector.empty() || !sesion.Conectar(lector, error_)) return {};
    return sesion.atrHex;
}

const std::string& CDnie::UltimoError() {
    return error_;
}

}  // namespace Lx::Dnie
