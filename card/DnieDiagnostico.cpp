#include <algorithm>
#include <iterator>
#include <utility>

#include "card/DnieFirma.h"
#include "card/DnieTextos.h"
#include "card/LxDnie.h"
#include "card/LxPcsc.h"
#include "certstore/sistema/LxPlataforma.h"
#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace Lx::Dnie {

namespace {

constexpr const char* kPasos[] = {"servicio", "lectores", "tarjeta", "perfil", "certificados", "firma"};

// What to do about a card that the service would not connect to.
const char* ConsejoConexion(long code) {
    static constexpr struct {
        unsigned code;
        const char* consejo;
    } kConsejos[] = {
        {0x8010000B, "Cierre el otro programa que esta usando la tarjeta y repita la prueba."},
        {0x8010000C, "Inserte el DNIe en el lector, o dejelo encima si es sin contacto, y repita la prueba."},
        {0x80100069, "Inserte el DNIe en el lector, o dejelo encima si es sin contacto, y repita la prueba."},
        {0x80100066, "Saque el DNIe, limpie el chip, insertelo con el chip hacia el lector y repita la prueba."},
        {0x80100067, "Saque el DNIe, limpie el chip, insertelo con el chip hacia el lector y repita la prueba."},
        {0x80100009, "Conecte el lector y repita la prueba."},
        {0x80100017, "Conecte el lector y repita la prueba."},
        {Pcsc::kSinServicio, Plataforma::kTextos.consejoServicio},
        {0x8010001E, Plataforma::kTextos.consejoServicio},
    };
    for (const auto& fila : kConsejos) {
        if (Pcsc::EsCodigo(code, fila.code)) return fila.consejo;
    }
    return "Espere unos segundos, reinserte el DNIe y repita la prueba.";
}

// The stages in their order; each function fills its own and says whether the next one can run.
class Doctor {
  public:
    explicit Doctor(const std::string& lector) {
        d_.lector = lector;
        for (const char* nombre : kPasos) {
            d_.pasos.push_back({nombre, false, false, "sin comprobar: fallo un paso anterior.", ""});
        }
    }

    Diagnostico Examinar() {
        (void)(Servicio() && Lectores() && Tarjeta() && Certificados() && Firma());
        return std::move(d_);
    }

  private:
    bool Anotar(bool ok, std::string texto, std::string consejo) {
        Paso& paso = d_.pasos[siguiente_++];
        paso = {paso.nombre, true, ok, std::move(texto), ok ? "" : std::move(consejo)};
        return ok;
    }

    bool Servicio() {
        unsigned long contexto = 0;
        const long code = Pcsc::EstablecerContexto(2, contexto);
        if (code == 0 && Pcsc::ListarLectores(contexto, d_.lectores) != 0) d_.lectores.clear();
        Pcsc::LiberarContexto(contexto);
        if (code == 0) return Anotar(true, "el servicio de tarjetas responde.", "");
        return Anotar(false, Pcsc::ExplicarContexto(code),
                      Pcsc::Disponible() ? Plataforma::kTextos.consejoServicio : Plataforma::kTextos.consejoPcsc);
    }

    bool Lectores() {
        if (d_.lectores.empty()) {
            return Anotar(false, "No hay lectores de tarjetas conectados.",
                          "Conecte un lector de tarjetas; si ya lo esta, instale su driver.");
        }
        if (d_.lector.empty()) d_.lector = d_.lectores[static_cast<size_t>(Pcsc::PriorizarLector(d_.lectores))];
        const bool esta = std::find(d_.lectores.begin(), d_.lectores.end(), d_.lector) != d_.lectores.end();
        d_.sinContacto = Pcsc::DetectarTipo(d_.lector) == 1;
        return Anotar(esta, esta ? "lector '" + d_.lector + "'." : "no existe el lector '" + d_.lector + "'.",
                      "Elija uno de estos lectores: " + Nombres() + ".");
    }

    bool Tarjeta() {
        Sesion sesion;
        std::string error;
        if (!sesion.Conectar(d_.lector, error)) {
            return Anotar(false, std::move(error), ConsejoConexion(sesion.codigo));
        }
        d_.atr = sesion.atrHex;
        Anotar(true, "hay tarjeta y responde.", "");
        const Perfil perfil = sesion.Identificar();
        d_.perfil = static_cast<int>(perfil);
        d_.modelo = Modelo(perfil);
        if (perfil != Perfil::Ninguno) return Anotar(true, d_.modelo + ", ATR " + d_.atr + ".", "");
        return Anotar(
            false,
            "Tarjeta no identificada como DNIe, ATR " + d_.atr + "." + (sesion.nota.empty() ? "" : " " + sesion.nota),
            "Compruebe que es un DNI electronico y que esta bien insertado, y repita la prueba.");
    }

    bool Certificados() {
        std::string estado;
        d_.certificados = CDnie::LeerCertificados(d_.lector, estado);
        const bool hay = std::any_of(d_.certificados.begin(), d_.certificados.end(), [](const CertificadoDnie& c) {
            Bytes modulo, exponente;
            return !c.cert.isCA && X509::ClaveRsa(c.cert, modulo, exponente);
        });
        if (!hay && !d_.certificados.empty()) estado += ", ninguno para firmar con RSA.";
        return Anotar(hay, estado,
                      d_.sinContacto ? "Deje quieto el DNIe y repita la prueba, o pruebe con un lector de contacto."
                                     : "Reinserte el DNIe, espere unos segundos y repita la prueba.");
    }

    bool Firma() {
        d_.puedeFirmar = CDnie::DiagnosticarFirma(d_.lector, d_.informe);
        std::string sinUso;
        const bool dicho = CDnie::IntentosPin(d_.lector, d_.intentosPin, sinUso);
        const std::string intentos =
            dicho ? " Al PIN le quedan " + std::to_string(d_.intentosPin) + " intento(s)." : "";
        const bool bloqueado = dicho && d_.intentosPin == 0;
        return Anotar(d_.puedeFirmar,
                      (d_.puedeFirmar ? "la tarjeta puede firmar; solo falta el PIN."
                                      : (bloqueado ? "el PIN esta bloqueado." : "la tarjeta no puede firmar.")) +
                          intentos,
                      bloqueado ? "Desbloquee el PIN con su codigo PUK y repita la prueba."
                                : "Reinserte el DNIe, espere unos segundos y repita la prueba.");
    }

    std::string Nombres() const {
        std::string lista;
        for (const std::string& nombre : d_.lectores) lista += (lista.empty() ? "'" : ", '") + nombre + "'";
        return lista;
    }

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

// From the open directory on. True when all that is missing is the PIN.
bool PasosDeFirma(Iso7816::CCard& tarjeta, Perfil perfil, std::string& informe) {
    tarjeta.ConsultarPin(kRefPin);
    const bool bloqueado = IntentosDe(tarjeta.sw) == 0;
    informe += "· PIN ref 80=" + Hex16(tarjeta.sw) + (bloqueado ? " (PIN bloqueado)" : "") + "\n";
    if (!ElegirClave(tarjeta, perfil)) {
        informe += "· MSE de firma: " + ExplicarSw(tarjeta.sw) + "\n";
        return false;
    }
    informe += "· MSE de firma OK\n";
    // Nothing that anyone would want signed, should a card sign without its PIN.
    tarjeta.PsoCds(Der::DigestInfoSha256(Api::Sha256("Velmora: diagnostico de firma")));
    const bool pidePin = tarjeta.sw == 0x6982;
    informe += "· PSO: " + ExplicarSw(tarjeta.sw) + (pidePin ? " (correcto: pide el PIN)" : "") + "\n";
    return !bloqueado && (pidePin || tarjeta.sw == Iso7816::kSwOk);
}

}  // namespace

bool CDnie::DiagnosticarFirma(const std::string& lector, std::string& informe) {
    informe.clear();
    Sesion sesion;
    std::string fallo;
    if (lector.empty()) {
        fallo = "Elija un lector.";
    } else if (sesion.Conectar(lector, fallo)) {
        const Perfil perfil = sesion.Identificar();
        if (perfil == Perfil::Ninguno) {
            fallo = "Tarjeta no identificada como DNIe. " + sesion.nota;
        } else if (AbrirDfFirma(sesion, perfil)) {
            informe = "· DF firma abierto\n";
            const bool puede = PasosDeFirma(sesion.tarjeta, perfil, informe);
            error_ = puede ? "" : informe;
            return puede;
        } else {
            const std::string sw = Hex16(sesion.tarjeta.sw);
            fallo = "DF firma: SW=" + sw + ": no se pudo abrir el DF de firma. SW=" + sw;
        }
    }
    informe = "· " + fallo + "\n";
    error_ = fallo;
    return false;
}

Diagnostico CDnie::Diagnosticar(const std::string& lector) {
    Doctor doctor(lector);
    return doctor.Examinar();
}

}  // namespace Lx::Dnie
