#include "firma/Firmante.h"

#include <utility>

#include "card/LxTarjeta.h"
#include "crypto/LxSecreto.h"
#include "firma/LxAptitud.h"

namespace Lx::Firma {

namespace {

using CertStore::Origen;

// A key in a file needs nothing presented that could wear out.
constexpr struct {
    Origen origen;
    const char* resto;
} kUnaSolaVez[] = {
    {Origen::Dnie, "no se intentó: la tarjeta ya falló con un documento anterior y el PIN no se envía otra vez."},
    {Origen::Sistema, "no se intentó: el almacén del sistema ya se negó a firmar un documento anterior."},
    {Origen::Personal, "no se intentó: el almacén del sistema ya se negó a firmar un documento anterior."},
};

[[nodiscard]] const char* RestoDe(Origen origen) {
    for (const auto& fila : kUnaSolaVez)
        if (fila.origen == origen) return fila.resto;
    return nullptr;
}

}  // namespace

Firmante::Firmante(const CertStore::Entrada& elegida, CertStore::Contexto& ctx, Preguntas preguntas, Control& control)
    : elegida_(elegida),
      ctx_(ctx),
      paginas_(&ctx, sizeof ctx),
      aparte_(ctx.clavePkcs12.data(), ctx.clavePkcs12.size()),
      propias_(this, sizeof *this),
      preguntas_(std::move(preguntas)),
      control_(control) {}

void Firmante::Olvidar() {
    Limpiar(ctx_.pin);
    Limpiar(claveAlmacen_);
    almacen_.clear();
}

Aviso Firmante::PedirPin(bool rechazado) {
    constexpr int kCorrecciones = 3;
    if (!EsTarjeta()) return {};
    const Dnie::Intentos intentos = Dnie::ConsultarIntentos(elegida_.lector, control_);
    if (control_.Cancelado()) return {Motivo::Cancelado, "Firma cancelada por el usuario."};
    // Whether the card can't be reached at all shows when it is to sign; its sentence is better then.
    const Aviso bloqueado{intentos.quedan == 0 ? Motivo::PinBloqueado : Motivo::Ninguno,
                          "PIN bloqueado: hay que desbloquearlo con el codigo PUK/clave de desbloqueo."};
    if (bloqueado && !preguntas_.pinSiempre) return bloqueado;
    if (!preguntas_.pin) return {Motivo::PinAusente, "Se necesita el PIN de firma del DNIe."};
    PreguntaPin pregunta{NombreDe(elegida_.cert), intentos.quedan, rechazado, ""};
    for (int vez = 1;; ++vez) {
        Limpiar(ctx_.pin);
        control_.Pasar(Etapa::Persona);
        if (Aviso fallo = preguntas_.pin(pregunta, ctx_.pin)) return fallo;
        if (bloqueado) {
            Limpiar(ctx_.pin);
            return bloqueado;
        }
        if (Dnie::CDnie::PinAdmisible(ctx_.pin, pregunta.error)) return {};
        Limpiar(ctx_.pin);
        if (!preguntas_.pinCorregible || vez == kCorrecciones) return {Motivo::PinInadmisible, pregunta.error};
    }
}

LxPdfSigner::Callback Firmante::Callback() {
    return [this](const std::vector<unsigned char>& datos, std::string& mensaje) {
        const CertStore::PreguntaClave pregunta = [this](const std::string& almacen, int intento, bool ultimo,
                                                         std::string& clave) {
            return ResponderAlmacen(almacen, intento, ultimo, clave);
        };
        ultima_ = CertStore::FirmarCon(elegida_, ctx_, datos, preguntas_.claveAlmacen ? pregunta : nullptr, control_);
        if (ultima_.fallo && !agotada_.empty()) ultima_.fallo = {Motivo::ClaveDeAlmacen, agotada_};
        mensaje = ultima_.fallo ? ultima_.fallo.frase : ultima_.nota;
        if (ultima_.fallo && RestoDe(elegida_.origen) != nullptr) {
            parado_ = true;
            Olvidar();
        }
        return ultima_.firma;
    };
}

bool Firmante::OtroPin() {
    if (!EsTarjeta() || !preguntas_.pinRepetible || ultima_.fallo.motivo != Motivo::PinIncorrecto) return false;
    if (PedirPin(true)) return false;
    parado_ = false;
    ultima_ = {};
    return true;
}

Aviso Firmante::Parado() const {
    if (!parado_) return {};
    return {Motivo::NoIntentado, RestoDe(elegida_.origen)};
}

// What a store did not refuse answers it again for the next document.
bool Firmante::ResponderAlmacen(const std::string& almacen, int intento, bool ultimo, std::string& clave) {
    const bool valio = intento == 1 && !almacen_.empty() && almacen == almacen_ && !ultimo;
    if (!valio) {
        almacen_.clear();
        Limpiar(claveAlmacen_);
        if (preguntas_.claveAlmacenUnica && std::exchange(claveAlmacenDada_, true)) {
            agotada_ = intento > 1 ? "la contraseña que se dio no es la de " + almacen + "."
                                   : "la contraseña que se dio ya se usó y no se prueba en " + almacen + ".";
            return false;
        }
        control_.Pasar(Etapa::Persona);
        const bool hay = preguntas_.claveAlmacen(almacen, intento, ultimo, claveAlmacen_);
        control_.Pasar(Etapa::Almacen);
        if (!hay) return false;
        almacen_ = almacen;
    }
    clave = claveAlmacen_;
    return true;
}

}  // namespace Lx::Firma
