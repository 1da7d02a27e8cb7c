#include <algorithm>
#include <iterator>
#include <utility>

#include "card/DnieFirma.h"
#include "card/DnieLectura.h"
#include "card/DnieTextos.h"
#include "card/LxPcsc.h"
#include "certstore/sistema/LxPlataforma.h"
#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace Lx::Dnie {

namespace {

constexpr const char* kPasos[] = {"servicio", "lectores", "tarjeta", "perfil", "certificados", "firma"};

// What to do about a card that the service would not connect to, by its code or, when the job has left, by the reason.
const char* ConsejoConexion(long code, Motivo motivo) {
    static constexpr const char* kInserte =
        "Inserta el DNIe en el lector, o déjalo encima si es sin contacto, y repite la prueba.";
    static constexpr const char* kLimpie =
        "Saca el DNIe, limpia el chip, insértalo con el chip hacia el lector y repite la prueba.";
    static constexpr struct {
        unsigned code;
        Motivo motivo;
        const char* consejo;
    } kConsejos[] = {
        {0x8010000B, Motivo::LectorOcupado, "Cierra el otro programa que está usando la tarjeta y repite la prueba."},
        {0x8010000C, Motivo::SinTarjeta, kInserte},
        {0x80100069, Motivo::SinTarjeta, kInserte},
        {0x80100066, Motivo::TarjetaMuda, kLimpie},
        {0x80100067, Motivo::TarjetaMuda, kLimpie},
        {0x80100009, Motivo::LectorDesconocido, "Conecta el lector y repite la prueba."},
        {0x80100017, Motivo::LectorDesconocido, "Conecta el lector y repite la prueba."},
        {Pcsc::kSinServicio, Motivo::SinServicio, Plataforma::kTextos.consejoServicio},
        {0x8010001E, Motivo::SinServicio, Plataforma::kTextos.consejoServicio},
    };
    const bool dejado = Pcsc::EsCodigo(code, Pcsc::kDejado);
    for (const auto& fila : kConsejos) {
        if (dejado ? fila.motivo == motivo : Pcsc::EsCodigo(code, fila.code)) return fila.consejo;
    }
    return "Espera unos segundos, inserta otra vez el DNIe y repite la prueba.";
}

// The stages in their order; each function fills its own and says whether the next one can run.
class Doctor {
  public:
    Doctor(const std::string& lector, Control& control) : control_(control), sesion_(control) {
        d_.lector = lector;
        for (const char* nombre : kPasos) {
            d_.pasos.push_back({nombre, false, false, "sin comprobar: falló un paso anterior.", ""});
        }
    }

    Diagnostico Examinar() {
        control_.Pasar(Etapa::Lector);
        (void)(Servicio() && Lectores() && Conectar() && Identificar() && Certificados() && Firma());
        return std::move(d_);
    }

  private:
    bool Bien(std::string texto) { return Anotar({Motivo::Ninguno, std::move(texto)}, ""); }

    bool Anotar(Aviso fallo, std::string consejo) {
        Paso& paso = d_.pasos[siguiente_++];
        const bool ok = !fallo;
        paso = {paso.nombre, true, ok, std::move(fallo.frase), ok ? "" : std::move(consejo), fallo.motivo};
        return ok;
    }

    bool Servicio() {
        Aviso fallo;
        if (sesion_.ListarLectores(d_.lectores, fallo) || fallo.motivo == Motivo::SinLector) {
            return Bien("el servicio de tarjetas responde.");
        }
        return Anotar(std::move(fallo),
                      Pcsc::Disponible() ? Plataforma::kTextos.consejoServicio : Plataforma::kTextos.consejoPcsc);
    }

    bool Lectores() {
        if (d_.lectores.empty()) {
            return Anotar({Motivo::SinLector, "No hay lectores de tarjetas conectados."},
                          "Conecta un lector de tarjetas; si ya lo está, instala su driver.");
        }
        if (d_.lector.empty()) d_.lector = d_.lectores[static_cast<size_t>(Pcsc::PriorizarLector(d_.lectores))];
        d_.sinContacto = Pcsc::DetectarTipo(d_.lector) == 1;
        if (std::find(d_.lectores.begin(), d_.lectores.end(), d_.lector) != d_.lectores.end()) {
            return Bien("lector '" + d_.lector + "'.");
        }
        return Anotar({Motivo::LectorDesconocido, "no existe el lector '" + d_.lector + "'."},
                      "Elige uno de estos lectores: " + Nombres() + ".");
    }

    bool Conectar() {
        Aviso fallo;
        if (!sesion_.Conectar(d_.lector, fallo)) {
            const Motivo motivo = fallo.motivo;
            return Anotar(std::move(fallo), ConsejoConexion(sesion_.codigo, motivo));
        }
        d_.atr = sesion_.atrHex;
        return Bien("hay tarjeta y responde.");
    }

    bool Identificar() {
        control_.Pasar(Etapa::Tarjeta);
        perfil_ = sesion_.Identificar();
        d_.perfil = static_cast<int>(perfil_);
        d_.modelo = Modelo(perfil_);
        if (perfil_ != Perfil::Ninguno) return Bien(d_.modelo + ", ATR " + d_.atr + ".");
        return Anotar(sesion_.Fallo(Motivo::TarjetaAjena, "Tarjeta no identificada como DNIe, ATR " + d_.atr + "." +
                                                              (sesion_.nota.empty() ? "" : " " + sesion_.nota)),
                      "Comprueba que es un DNI electrónico y que está bien insertado, y repite la prueba.");
    }

    bool Certificados() {
        Lectura lectura;
        LeerFicheros(sesion_, perfil_, lectura);
        d_.certificados = std::move(lectura.certificados);
        if (!lectura.fallo && lectura.firmaPerdida) {
            lectura.fallo = {Motivo::FirmaNoLeida, lectura.resumen + ", sin el de firma, que no se pudo leer."};
        }
        const bool rsa = std::any_of(d_.certificados.begin(), d_.certificados.end(), [](const CertificadoDnie& c) {
            Bytes modulo, exponente;
            return c.deFirma && !c.cert.isCA && X509::ClaveRsa(c.cert, modulo, exponente);
        });
        if (!lectura.fallo && !rsa) {
            lectura.fallo = {Motivo::ClaveNoRsa, lectura.resumen + ", ninguno para firmar con RSA."};
        }
        if (!lectura.fallo) return Bien(lectura.resumen);
        return Anotar(std::move(lectura.fallo),
                      d_.sinContacto ? "Deja quieto el DNIe y repite la prueba, o prueba con un lector de contacto."
                                     : "Inserta otra vez el DNIe, espera unos segundos y repite la prueba.");
    }

    bool Firma() {
        const InformeFirma informe = ExaminarFirma(sesion_, perfil_);
        d_.puedeFirmar = informe.puede;
        d_.informe = informe.informe;
        d_.intentosPin = informe.intentos;
        const std::string intentos =
            d_.intentosPin < 0 ? "" : " Al PIN le quedan " + std::to_string(d_.intentosPin) + " intento(s).";
        if (informe.puede) return Bien("la tarjeta puede firmar; solo falta el PIN." + intentos);
        if (d_.intentosPin == 0) {
            return Anotar({Motivo::PinBloqueado, "el PIN está bloqueado." + intentos},
                          "Desbloquea el PIN con su código PUK y repite la prueba.");
        }
        return Anotar(sesion_.Fallo(Motivo::ClaveNoFirma, "la tarjeta no puede firmar." + intentos),
                      "Inserta otra vez el DNIe, espera unos segundos y repite la prueba.");
    }

    std::string Nombres() const {
        std::string lista;
        for (const std::string& nombre : d_.lectores) lista += (lista.empty() ? "'" : ", '") + nombre + "'";
        return lista;
    }

    Control& control_;
    Sesion sesion_;
    Perfil perfil_ = Perfil::Ninguno;
    Diagnostico d_;
    size_t siguiente_ = 0;
};

// Chooses the first key reference that the card accepts; the last answer stays in the card.
bool ElegirClave(Iso7816::CCard& tarjeta, Perfil perfil) {
    for (const int clave : ClavesFirma(perfil)) {
        tarjeta.MseAt(DatosMse(perfil, clave));
        if (tarjeta.sw == Iso7816::kSwOk) return true;
    }
    return false;
}

InformeFirma Negado(const std::string& fallo) {
    return {false, "· " + fallo + "\n", fallo, -1};
}

}  // namespace

InformeFirma ExaminarFirma(Sesion& sesion, Perfil perfil) {
    Iso7816::CCard& tarjeta = sesion.tarjeta;
    if (!AbrirDfFirma(sesion, perfil)) {
        const std::string sw = Hex16(tarjeta.sw);
        return Negado("DF firma: SW=" + sw + ": no se pudo abrir el DF de firma. SW=" + sw);
    }
    InformeFirma r;
    tarjeta.ConsultarPin(kRefPin);
    r.intentos = IntentosDe(tarjeta.sw);
    const bool bloqueado = r.intentos == 0;
    r.informe = "· DF firma abierto\n· PIN ref 80=" + Hex16(tarjeta.sw) + (bloqueado ? " (PIN bloqueado)" : "") + "\n";
    if (!ElegirClave(tarjeta, perfil)) {
        r.error = r.informe += "· MSE de firma: " + ExplicarSw(tarjeta.sw) + "\n";
        return r;
    }
    // Nothing that anyone would want signed, should a card sign without its PIN.
    tarjeta.PsoCds(Der::DigestInfoSha256(Api::Sha256("Velmora: diagnostico de firma")));
    const bool pidePin = tarjeta.sw == 0x6982;
    r.informe +=
        "· MSE de firma OK\n· PSO: " + ExplicarSw(tarjeta.sw) + (pidePin ? " (correcto: pide el PIN)" : "") + "\n";
    r.puede = !bloqueado && (pidePin || tarjeta.sw == Iso7816::kSwOk);
    if (!r.puede) r.error = r.informe;
    return r;
}

InformeFirma ExaminarFirma(const std::string& lector, Control& control) {
    if (lector.empty()) return Negado("Elija un lector.");
    control.Pasar(Etapa::Lector);
    Sesion sesion(control);
    Aviso fallo;
    if (!sesion.Conectar(lector, fallo)) return Negado(fallo.frase);
    const Perfil perfil = sesion.Identificar();
    if (perfil == Perfil::Ninguno) return Negado("Tarjeta no identificada como DNIe. " + sesion.nota);
    return ExaminarFirma(sesion, perfil);
}

Diagnostico Diagnosticar(const std::string& lector, Control& control) {
    Doctor doctor(lector, control);
    return doctor.Examinar();
}

}  // namespace Lx::Dnie
