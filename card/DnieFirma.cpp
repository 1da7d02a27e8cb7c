#include "card/DnieFirma.h"

#include <utility>

#include "card/DnieTextos.h"
#include "card/LxPcsc.h"
#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace Lx::Dnie {

namespace {

constexpr size_t kMinPin = 4;
constexpr size_t kMaxPin = 8;

// One signature in progress.
struct Intento {
    Intento(const std::string& elPin, const Bytes& losDatos, Control& elControl)
        : control(elControl), sesion(elControl), pin(elPin), datos(losDatos) {}

    Control& control;
    Sesion sesion;
    Perfil perfil = Perfil::Ninguno;
    const std::string& pin;
    const Bytes& datos;
    Bytes modulo;  // empty: the certificate has no RSA key to check with
    Bytes exponente;
    Firmado r;
    bool repetido = false;                   // the second pass has been used up
    bool sinVerificar = false;               // the card gave a signature that did not verify
    std::vector<std::string> explicaciones;  // one per refusal
};

// The reason of a refused PIN.
Motivo MotivoDePin(int sw) {
    if (IntentosDe(sw) == 0) return Motivo::PinBloqueado;
    const bool malo = (sw >= 0x6300 && sw <= 0x63FF) || sw == 0x6A80 || sw == 0x6700;
    return malo ? Motivo::PinIncorrecto : Motivo::ClaveNoFirma;
}

// Sends the PIN to the card that was prepared for it, and to no other. On false `i.r.fallo` says why, and the PIN must
// not be sent again.
bool PresentarPin(Intento& i) {
    if (i.sesion.canal.Seguir() != 0) {
        i.r.fallo =
            i.sesion.Fallo(Motivo::TarjetaRetirada, "La tarjeta se retiró o se reinició antes de enviarle el PIN.");
        return false;
    }
    if (!i.r.pinEnviado && !i.control.Comprometer()) {
        i.r.fallo = {Motivo::Cancelado, "Cancelado."};
        return false;
    }
    i.r.pinEnviado = true;
    const int sw = VerificarPinTarjeta(i.sesion, i.pin, i.perfil);
    if (sw == Iso7816::kSwOk) return true;
    i.r.fallo = i.sesion.Fallo(MotivoDePin(sw), ExplicarPin(sw));
    i.r.intentos = IntentosDe(sw);
    return false;
}

bool Verifica(const Intento& i, const Bytes& firma) {
    if (firma.empty()) return false;
    return i.modulo.empty() || Api::RsaFirmaValida(i.modulo, i.exponente, firma, i.datos.data(), i.datos.size());
}

// MSE and PSO with one key reference: leaves the good signature in `i.r`, else what went wrong in `i`. True when the
// PSO was refused for want of the PIN.
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
        i.r.firma = std::move(firma);
    } else {
        i.sinVerificar = true;
    }
    return false;
}

// Every key reference in turn. False when the PIN was refused on the way.
bool ProbarClaves(Intento& i) {
    for (const int clave : ClavesFirma(i.perfil)) {
        // A signature key may want the PIN right before each use: one more pass, and only after it was accepted.
        if (Calcular(i, clave) && !i.repetido) {
            i.repetido = true;
            if (!PresentarPin(i)) return false;
            i.explicaciones.pop_back();
            (void)Calcular(i, clave);
        }
        if (!i.r.firma.empty()) return true;
        if (i.sesion.canal.Perdida() != 0) break;
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

// The system's own card driver, with the card free for it and the job free to end.
void FirmarConAlmacen(Intento& i, const Almacen& almacen) {
    const Motivo motivo = i.sinVerificar ? Motivo::ClaveAjena : Motivo::ClaveNoFirma;
    i.r.fallo = i.sesion.Fallo(motivo, TextoSinFirma(i.explicaciones, ""));
    if (!i.sesion.canal.Cerrar()) {
        i.r.fallo = i.sesion.canal.Dejado();
        return;
    }
    i.control.Soltar();
    if (i.control.Cancelado()) {
        i.r.fallo = {Motivo::Cancelado, "Cancelado."};
        return;
    }
    i.control.Pasar(Etapa::Almacen);
    CertStore::FirmaSistema hecha = almacen();
    i.r.firma = std::move(hecha.firma);
    if (!i.r.firma.empty()) {
        i.r.fallo = {};
        i.r.nota =
            std::string("Firmado con el minidriver de ") + Pcsc::NombreSistema() + " (" + FirmaInfo(i.r.firma) + ")";
    } else {
        i.r.fallo.frase = TextoSinFirma(i.explicaciones, hecha.fallo.frase);
        if (hecha.fallo.motivo == Motivo::Cancelado) i.r.fallo.motivo = Motivo::Cancelado;
    }
}

void FirmarCon(Intento& i, const std::string& lector, const Almacen& almacen) {
    i.control.Pasar(Etapa::Lector);
    if (!PrepararFirma(i.sesion, lector, i.perfil, i.r.fallo)) return;
    i.control.Pasar(Etapa::Clave);
    if (!PresentarPin(i) || !ProbarClaves(i)) return;
    if (i.r.firma.empty()) return FirmarConAlmacen(i, almacen);
    i.r.nota = std::string(i.modulo.empty() ? "sin comprobar, certificado no RSA: " : "") +
               "Firmado por APDU con el PIN del DNIe (" + FirmaInfo(i.r.firma) + ")";
}

// What is looked at before anything is connected.
Aviso Previo(const std::string& lector, const Bytes& datos, const std::string& pin) {
    if (datos.empty()) return {Motivo::MalUso, "No hay datos que firmar."};
    if (lector.empty()) return {Motivo::SinLector, "Elija un lector."};
    if (pin.empty()) return {Motivo::PinAusente, "Se necesita el PIN de firma del DNIe."};
    if (!LongitudDePin(pin)) return {Motivo::PinInadmisible, ExplicarPin(0x6700)};
    return {};
}

}  // namespace

bool LongitudDePin(const std::string& pin) {
    return pin.size() >= kMinPin && pin.size() <= kMaxPin;
}

bool AbrirDfFirma(Sesion& sesion, Perfil perfil) {
    return sesion.Abrir(AperturaFirma(perfil));
}

int VerificarPinTarjeta(Sesion& sesion, const std::string& pin, Perfil) {
    if (!LongitudDePin(pin)) return 0x6700;
    sesion.canal.reiniciar = true;
    sesion.tarjeta.VerifyPin(pin, kRefPin);
    return sesion.tarjeta.sw;
}

bool PrepararFirma(Sesion& sesion, const std::string& lector, Perfil& perfil, Aviso& fallo) {
    if (!sesion.Conectar(lector, fallo)) return false;
    sesion.canal.estricto = true;
    perfil = sesion.Identificar();
    if (perfil == Perfil::Ninguno) {
        fallo = sesion.Fallo(Motivo::TarjetaAjena, "Tarjeta no identificada como DNIe. " + sesion.nota);
        return false;
    }
    if (AbrirDfFirma(sesion, perfil)) return true;
    fallo = sesion.Fallo(Motivo::ClaveNoFirma,
                         "No se pudo abrir el DF de la clave de firma (SW=" + Hex16(sesion.tarjeta.sw) + ")");
    return false;
}

Firmado Firmar(const std::string& lector, const X509::Certificado& cert, const Bytes& datos, const std::string& pin,
               const Almacen& almacen, Control& control) {
    Firmado previo;
    previo.fallo = Previo(lector, datos, pin);
    if (previo.fallo) return previo;
    Intento intento(pin, datos, control);
    if (!X509::ClaveRsa(cert, intento.modulo, intento.exponente)) intento.modulo.clear();
    FirmarCon(intento, lector, almacen);
    return std::move(intento.r);
}

Firmado FirmarConTarjeta(const std::string& lector, const X509::Certificado& cert, const Bytes& datos,
                         const std::string& pin, const CertStore::PreguntaClave& pregunta, Control& control) {
    return Firmar(
        lector, cert, datos, pin, [&] { return CertStore::FirmarEnSistema(cert, datos, pregunta, control); }, control);
}

Intentos ConsultarIntentos(const std::string& lector, Control& control) {
    Intentos r;
    control.Pasar(Etapa::Lector);
    Sesion sesion(control);
    std::string elegido = lector;
    Perfil perfil = Perfil::Ninguno;
    if (!sesion.ElegirLector(elegido, r.fallo) || !PrepararFirma(sesion, elegido, perfil, r.fallo)) return r;
    sesion.tarjeta.ConsultarPin(kRefPin);
    r.quedan = IntentosDe(sesion.tarjeta.sw);
    if (r.quedan < 0) {
        r.fallo =
            sesion.Fallo(Motivo::Ninguno,
                         "La tarjeta no dice cuántos intentos le quedan al PIN (SW=" + Hex16(sesion.tarjeta.sw) + ").");
    }
    return r;
}

}  // namespace Lx::Dnie
