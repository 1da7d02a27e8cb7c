#include "card/DnieFirma.h"

#include <utility>

#include "card/DnieTextos.h"
#include "card/LxDnie.h"
#include "card/LxPcsc.h"
#include "certstore/sistema/LxSistema.h"
#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace Lx::Dnie {

namespace {

constexpr size_t kMinPin = 4;
constexpr size_t kMaxPin = 8;

bool LongitudDePin(const std::string& pin) {
    return pin.size() >= kMinPin && pin.size() <= kMaxPin;
}

// One signature in progress.
struct Intento {
    Intento(const std::string& elPin, const Bytes& losDatos) : pin(elPin), datos(losDatos) {}

    Sesion sesion;
    Perfil perfil = Perfil::Ninguno;
    const std::string& pin;
    const Bytes& datos;
    Bytes modulo;  // empty: the certificate has no RSA key to check with
    Bytes exponente;
    Bytes firma;                             // the good one
    bool repetido = false;                   // the second pass has been used up
    bool sinVerificar = false;               // the card gave a signature that did not verify
    std::vector<std::string> explicaciones;  // one per refusal
};

// Sends the PIN. On a refusal `info` says what the card answered, and the PIN must not be sent again.
bool PresentarPin(Intento& i, std::string& info) {
    const int sw = VerificarPinTarjeta(i.sesion.tarjeta, i.pin, i.perfil);
    if (sw == Iso7816::kSwOk) return true;
    info = ExplicarPin(sw);
    return false;
}

bool Verifica(const Intento& i, const Bytes& firma) {
    if (firma.empty()) return false;
    return i.modulo.empty() || Api::RsaFirmaValida(i.modulo, i.exponente, firma, i.datos.data(), i.datos.size());
}

// MSE and PSO with one key reference: leaves the good signature in `i.firma`, else what went wrong in `i`. True when
// the PSO was refused for want of the PIN.
bool Calcular(Intento& i, int clave) {
    Iso7816::CCard& tarjeta = i.sesion.tarjeta;
    tarjeta.MseAt(DatosMse(i.perfil, clave));
    const bool elegida = tarjeta.sw == Iso7816::kSwOk;
    Bytes firma;
    if (elegida) firma = tarjeta.PsoCds(Der::DigestInfoSha256(Api::Sha256(i.datos.data(), i.datos.size())));
    if (tarjeta.sw != Iso7816::kSwOk) {
        i.explicaciones.push_back(ExplicarSw(tarjeta.sw));
        return elegida && tarjeta.sw == 0x6982;
    }
    if (Verifica(i, firma)) {
        i.firma = std::move(firma);
    } else {
        i.sinVerificar = true;
    }
    return false;
}

// Every key reference in turn. False with `info` set when the PIN was refused on the way.
bool ProbarClaves(Intento& i, std::string& info) {
    for (const int clave : ClavesFirma(i.perfil)) {
        // A signature key may want the PIN right before each use: one more pass, and only after it was accepted.
        if (Calcular(i, clave) && !i.repetido) {
            i.repetido = true;
            if (!PresentarPin(i, info)) return false;
            i.explicaciones.pop_back();
            (void)Calcular(i, clave);
        }
        if (!i.firma.empty()) return true;
    }
    if (i.sinVerificar) {
        i.explicaciones.push_back("La tarjeta no emitio una firma verificable con el certificado elegido (SW=" +
                                  Hex16(i.sesion.tarjeta.sw) + ")");
    }
    return true;
}

std::string TextoSinFirma(const std::vector<std::string>& explicaciones, const std::string& motivo) {
    std::string texto = "No se pudo firmar.";
    for (const std::string& explicacion : explicaciones) texto += " | " + explicacion;
    texto += std::string(" [") + Pcsc::NombreSistema() + "]";
    return motivo.empty() ? texto : texto + " " + motivo;
}

// The system's own card driver, with the card free for it.
Bytes FirmarConSistema(Intento& i, const X509::Certificado& cert, std::string& info) {
    i.sesion.Cerrar();
    std::string motivo;
    Bytes firma = CertStore::FirmarSistema(cert, i.datos, "", false, motivo);
    if (firma.empty()) {
        info = TextoSinFirma(i.explicaciones, motivo);
    } else {
        info = std::string("Firmado con el minidriver de ") + Pcsc::NombreSistema() + " (" + FirmaInfo(firma) + ")";
    }
    return firma;
}

Bytes FirmarCon(Intento& i, const std::string& lector, const X509::Certificado& cert, std::string& info) {
    if (!PrepararFirma(i.sesion, lector, i.perfil, info)) return {};
    if (!PresentarPin(i, info) || !ProbarClaves(i, info)) return {};
    if (i.firma.empty()) return FirmarConSistema(i, cert, info);
    info = std::string(i.modulo.empty() ? "sin comprobar, certificado no RSA: " : "") +
           "Firmado por APDU con el PIN del DNIe (" + FirmaInfo(i.firma) + ")";
    return std::move(i.firma);
}

}  // namespace

bool AbrirDfFirma(Sesion& sesion, Perfil perfil) {
    return sesion.Abrir(AperturaFirma(perfil));
}

int VerificarPinTarjeta(Iso7816::CCard& tarjeta, const std::string& pin, Perfil) {
    if (!LongitudDePin(pin)) return 0x6700;
    tarjeta.VerifyPin(pin, kRefPin);
    return tarjeta.sw;
}

bool PrepararFirma(Sesion& sesion, const std::string& lector, Perfil& perfil, std::string& error) {
    if (!sesion.Conectar(lector, error)) return false;
    perfil = sesion.Identificar();
    if (perfil == Perfil::Ninguno) {
        error = "Tarjeta no identificada como DNIe. " + sesion.nota;
        return false;
    }
    if (AbrirDfFirma(sesion, perfil)) return true;
    error = "No se pudo abrir el DF de la clave de firma (SW=" + Hex16(sesion.tarjeta.sw) + ")";
    return false;
}

std::vector<unsigned char> CDnie::Firmar(const std::string& lector, const X509::Certificado& cert,
                                         const std::vector<unsigned char>& datos, const std::string& pin,
                                         std::string& info) {
    info.clear();
    Bytes firma;
    if (datos.empty()) {
        info = "No hay datos que firmar.";
    } else if (lector.empty()) {
        info = "Elija un lector.";
    } else if (pin.empty()) {
        info = "Se necesita el PIN de firma del DNIe.";
    } else if (!LongitudDePin(pin)) {
        info = ExplicarPin(0x6700);
    } else {
        Intento intento(pin, datos);
        if (!X509::ClaveRsa(cert, intento.modulo, intento.exponente)) intento.modulo.clear();
        firma = FirmarCon(intento, lector, cert, info);
    }
    error_ = firma.empty() ? info : "";
    return firma;
}

bool CDnie::PinAdmisible(const std::string& pin, std::string& mensaje) {
    mensaje = LongitudDePin(pin) ? "" : "El PIN debe tener entre 4 y 8 digitos.";
    return mensaje.empty();
}

bool CDnie::VerificarPin(const std::string& lector, const std::string& pin, std::string& mensaje) {
    mensaje.clear();
    Sesion sesion;
    Perfil perfil = Perfil::Ninguno;
    bool correcto = false;
    if (lector.empty()) {
        mensaje = "Elija un lector.";
    } else if (PinAdmisible(pin, mensaje) && PrepararFirma(sesion, lector, perfil, mensaje)) {
        const int sw = VerificarPinTarjeta(sesion.tarjeta, pin, perfil);
        correcto = sw == Iso7816::kSwOk;
        mensaje = correcto ? "PIN correcto." : ExplicarPin(sw);
    }
    error_ = correcto ? "" : mensaje;
    return correcto;
}

bool CDnie::IntentosPin(const std::string& lector, int& intentos, std::string& mensaje) {
    intentos = -1;
    mensaje.clear();
    Sesion sesion;
    Perfil perfil = Perfil::Ninguno;
    if (lector.empty()) {
        mensaje = "Elija un lector.";
    } else if (PrepararFirma(sesion, lector, perfil, mensaje)) {
        sesion.tarjeta.ConsultarPin(kRefPin);
        intentos = IntentosDe(sesion.tarjeta.sw);
        if (intentos < 0) {
            mensaje = "La tarjeta no dice cuantos intentos le quedan al PIN (SW=" + Hex16(sesion.tarjeta.sw) + ").";
        }
    }
    error_ = mensaje;
    return intentos >= 0;
}

}  // namespace Lx::Dnie
