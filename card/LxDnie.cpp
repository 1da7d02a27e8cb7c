#include "card/LxDnie.h"

#include <utility>

#include "card/DnieFirma.h"
#include "card/DnieTextos.h"
#include "card/LxPcsc.h"
#include "card/LxTarjeta.h"

namespace Lx::Dnie {

std::string CDnie::error_;

std::vector<std::string> CDnie::ListarLectores() {
    Control control;
    Sesion sesion(control);
    std::vector<std::string> lectores;
    Aviso fallo;
    error_ = sesion.ListarLectores(lectores, fallo) ? "" : fallo.frase;
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
    if (lector.empty()) return {};
    Control control;
    Sesion sesion(control);
    Aviso fallo;
    if (sesion.Conectar(lector, fallo)) return sesion.atrHex;
    error_ = fallo.frase;
    return {};
}

std::vector<CertificadoDnie> CDnie::LeerCertificados(const std::string& lector, std::string& estado) {
    Control control;
    Lectura lectura;
    if (lector.empty()) {
        lectura.fallo.frase = "Elija un lector.";
    } else {
        lectura = LeerTarjeta(lector, control);
    }
    error_ = lectura.fallo.frase;
    estado = lectura.certificados.empty() ? lectura.fallo.frase : lectura.resumen;
    return std::move(lectura.certificados);
}

std::vector<unsigned char> CDnie::Firmar(const std::string& lector, const X509::Certificado& cert,
                                         const std::vector<unsigned char>& datos, const std::string& pin,
                                         std::string& info) {
    Control control;
    const Almacen almacen = [&] {
        CertStore::FirmaSistema hecha;
        hecha.firma = CertStore::FirmarSistema(cert, datos, "", false, hecha.fallo.frase);
        return hecha;
    };
    Firmado hecho = Dnie::Firmar(lector, cert, datos, pin, almacen, control);
    error_ = hecho.fallo.frase;
    info = hecho.firma.empty() ? hecho.fallo.frase : hecho.nota;
    return std::move(hecho.firma);
}

bool CDnie::PinAdmisible(const std::string& pin, std::string& mensaje) {
    mensaje = LongitudDePin(pin) ? "" : "El PIN debe tener entre 4 y 8 digitos.";
    return mensaje.empty();
}

bool CDnie::VerificarPin(const std::string& lector, const std::string& pin, std::string& mensaje) {
    mensaje.clear();
    Control control;
    Sesion sesion(control);
    Perfil perfil = Perfil::Ninguno;
    Aviso fallo;
    bool correcto = false;
    if (lector.empty()) {
        mensaje = "Elija un lector.";
    } else if (PinAdmisible(pin, mensaje) && PrepararFirma(sesion, lector, perfil, fallo)) {
        const int sw = VerificarPinTarjeta(sesion, pin, perfil);
        correcto = sw == Iso7816::kSwOk;
        mensaje = correcto ? "PIN correcto." : ExplicarPin(sw);
    } else if (fallo) {
        mensaje = fallo.frase;
    }
    error_ = correcto ? "" : mensaje;
    return correcto;
}

bool CDnie::IntentosPin(const std::string& lector, int& intentos, std::string& mensaje) {
    Control control;
    Intentos r;
    if (lector.empty()) {
        r.fallo.frase = "Elija un lector.";
    } else {
        r = ConsultarIntentos(lector, control);
    }
    intentos = r.quedan;
    mensaje = error_ = r.fallo.frase;
    return intentos >= 0;
}

bool CDnie::DiagnosticarFirma(const std::string& lector, std::string& informe) {
    Control control;
    InformeFirma r = ExaminarFirma(lector, control);
    informe = std::move(r.informe);
    error_ = std::move(r.error);
    return r.puede;
}

Diagnostico CDnie::Diagnosticar(const std::string& lector) {
    Control control;
    return Dnie::Diagnosticar(lector, control);
}

const std::string& CDnie::UltimoError() {
    return error_;
}

}  // namespace Lx::Dnie
