#include "cli/Respuestas.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>
#include <utility>

#include "cli/Clave.h"
#include "cli/Senales.h"
#include "cli/Tabla.h"
#include "cli/TextoTerminal.h"

namespace Cli {

namespace {

using Lx::Aviso;
using Lx::Motivo;
using Lx::CertStore::Origen;
using namespace Lx::Firma;

[[nodiscard]] std::string NombreFichero(const std::string& ruta) {
    return ruta.substr(ruta.rfind('/') + 1);
}

[[nodiscard]] Aviso Como(bool hay, Motivo motivo, std::string error) {
    return hay ? Aviso{} : Aviso{motivo, std::move(error)};
}

// --- The PIN

[[nodiscard]] std::string TextoDePin(int intentos) {
    if (intentos < 0) return "PIN del DNIe: ";
    if (intentos == 1) return "PIN del DNIe (ÚLTIMO INTENTO: si no es correcto, queda bloqueado): ";
    return "PIN del DNIe (le quedan " + std::to_string(intentos) + " intentos): ";
}

[[nodiscard]] Aviso ResponderPin(const Argumentos& a, const PreguntaPin& p, std::string& pin) {
    std::string error;
    bool hay = false;
    if (SePregunta(a.pinDesde)) {
        if (!p.error.empty()) Decir(p.error + " No se ha enviado nada a la tarjeta.");
        hay = PreguntarClave(kPin, TextoDePin(p.intentos), pin, error);
    } else {
        if (p.intentos == 1)
            Decir("Aviso: al PIN del DNIe le queda un solo intento; si no es correcto, queda bloqueado.");
        hay = LeerClave(kPin, *a.pinDesde, pin, error);
    }
    return Como(hay, Motivo::PinAusente, error);
}

// --- Passwords

[[nodiscard]] Aviso ResponderPkcs12(const Argumentos& a, const PreguntaPkcs12& p, std::string& clave) {
    std::string error;
    if (p.intento > 1) Decir("La contraseña no es correcta o el fichero está dañado.");
    const bool hay = SePregunta(a.claveDesde)
                         ? PreguntarClave(kContrasena, "Contraseña de " + NombreFichero(p.ruta) + ": ", clave, error)
                         : LeerClave(kContrasena, *a.claveDesde, clave, error);
    return Como(hay, Motivo::Pkcs12NoAbre, error);
}

[[nodiscard]] bool ResponderAlmacen(const Argumentos& a, const std::string& almacen, int intento, bool ultimo,
                                    std::string& clave) {
    std::string error;
    bool hay = false;
    if (SePregunta(a.claveAlmacenDesde)) {
        if (intento > 1) Decir("La contraseña no es correcta.");
        const char* aviso = ultimo ? " (ÚLTIMO INTENTO: si no es correcta, queda bloqueado)" : "";
        hay = PreguntarClave(kClaveAlmacen, "Contraseña de " + almacen + aviso + ": ", clave, error);
    } else {
        if (ultimo) Decir("Aviso: a " + almacen + " le queda un solo intento; si no es correcto, queda bloqueado.");
        hay = LeerClave(kClaveAlmacen, *a.claveAlmacenDesde, clave, error);
    }
    if (!hay) DecirError(error);
    return hay;
}

// --- What is said while a job waits for others

[[nodiscard]] const char* Espera(const Lx::Control::Estado& e) {
    if (!e.ocupado) return nullptr;
    if (e.etapa == Lx::Etapa::Lector) return "Esperando a la tarjeta: otra aplicación usa el lector, o no responde ...";
    return "Esperando a que la tarjeta responda ...";
}

// Looks at the job from a thread of its own, so that it may be held by whatever it waits for.
class Mirador {
  public:
    // The signals stay with the thread that asks questions, which they have to wake.
    explicit Mirador(const Lx::Control& control) {
        sigset_t todas, antes;
        sigfillset(&todas);
        pthread_sigmask(SIG_SETMASK, &todas, &antes);
        hilo_ = std::thread([this, &control] { Mirar(control); });
        pthread_sigmask(SIG_SETMASK, &antes, nullptr);
    }
    ~Mirador() {
        {
            const std::lock_guard guarda(cerrojo_);
            fin_ = true;
        }
        cambio_.notify_all();
        hilo_.join();
    }
    Mirador(const Mirador&) = delete;
    Mirador& operator=(const Mirador&) = delete;

  private:
    void Mirar(const Lx::Control& control) {
        constexpr std::chrono::milliseconds kCada{100};
        const char* dicho = nullptr;
        std::unique_lock cerrado(cerrojo_);
        while (!cambio_.wait_for(cerrado, kCada, [this] { return fin_; })) {
            const char* frase = Espera(control.Ver());
            if (frase != nullptr && frase != dicho) Decir(frase);
            if (frase != nullptr) dicho = frase;
        }
    }

    std::mutex cerrojo_;
    std::condition_variable cambio_;
    bool fin_ = false;
    std::thread hilo_;
};

void MostrarOpciones(const Certificados& c) {
    Decir(c.listado.resumen);
    if (c.listado.entradas.empty()) return;
    const std::string tabla = Tabla(c, AnchoTerminal(STDERR_FILENO));
    size_t pos = 0;
    for (size_t fin = 0; (fin = tabla.find('\n', pos)) != tabla.npos; pos = fin + 1)
        Decir(std::string_view(tabla).substr(pos, fin - pos));
}

[[nodiscard]] std::vector<Motivo> AunqueDe(const Argumentos& a) {
    std::vector<Motivo> motivos;
    for (const std::string& nombre : a.aunque) motivos.push_back(MotivoDeAunque(nombre));
    return motivos;
}

}  // namespace

Preguntas PreguntasDe(const Argumentos& a) {
    Preguntas p;
    p.pin = [&a](const PreguntaPin& pregunta, std::string& pin) { return ResponderPin(a, pregunta, pin); };
    p.pinCorregible = SePregunta(a.pinDesde);
    p.clavePkcs12 = [&a](const PreguntaPkcs12& pregunta, std::string& c) { return ResponderPkcs12(a, pregunta, c); };
    p.clavePkcs12Repetible = SePregunta(a.claveDesde);
    p.claveAlmacen = [&a](const std::string& almacen, int intento, bool ultimo, std::string& clave) {
        return ResponderAlmacen(a, almacen, intento, ultimo, clave);
    };
    p.claveAlmacenUnica = !SePregunta(a.claveAlmacenDesde);
    return p;
}

Lx::CertStore::Contexto ContextoDe(const Argumentos& a, const std::string& pkcs12) {
    Lx::CertStore::Contexto ctx;
    ctx.lector = a.lector.value_or("");
    ctx.rutaPkcs12 = pkcs12;
    return ctx;
}

bool NombraFuente(const Argumentos& a) {
    return a.lector || !a.pkcs12.empty();
}

void Correr(Trabajo& trabajo) {
    const SenalesQueCancelan senales(trabajo.control);
    const Mirador mirador(trabajo.control);
    trabajo.Hacer();
}

void AbrirIdentidad(const Argumentos& a, Identidad& identidad) {
    const std::string pkcs12 = a.pkcs12.empty() ? std::string() : a.pkcs12.front();
    Listar listar(ContextoDe(a, pkcs12), PreguntasDe(a), NombraFuente(a));
    Correr(listar);
    const Certificados& c = listar.Respuesta();
    identidad.fallo = c.fallo;
    if (identidad.fallo) return;
    Peticion peticion{a.certificado, std::nullopt, AunqueDe(a)};
    if (!a.pkcs12.empty())
        peticion.pedido = Origen::Pkcs12;
    else if (a.lector)
        peticion.pedido = Origen::Dnie;
    Eleccion e = Elegir(c, peticion, std::time(nullptr));
    identidad.fallo = e.fallo;
    if (identidad.fallo) {
        MostrarOpciones(c);
        if (c.listado.entradas.empty() && a.pkcs12.empty())
            identidad.fallo.frase +=
                " Indica una identidad con --pkcs12 FICHERO, o comprueba el DNIe con: velmora-cli diagnosticar";
        return;
    }
    if (e.aviso) Decir("Aviso: " + e.aviso.frase);
    identidad.elegida = std::move(e.elegida);
    identidad.ctx = listar.Contexto();
}

Encargo EncargoDe(const Argumentos& a, const Identidad& identidad) {
    using namespace LxPdfSigner;
    constexpr struct {
        const char* sello;
        Sello modo;
    } kModos[] = {{"invisible", kInvisible}, {"primera", kPrimera}, {"ultima", kUltima}, {"todas", kTodas}};
    Encargo e;
    e.documentos = a.documentos;
    e.texto = a.texto;
    e.salida = a.salida.value_or("");
    e.carpeta = a.directorio.value_or("");
    e.reemplazar = a.forzar;
    e.elegida = identidad.elegida;
    e.ctx = identidad.ctx;
    e.aunque = AunqueDe(a);
    e.meta = {a.nombre.value_or(""), a.ubicacion.value_or(""), a.razon.value_or("")};
    const std::string sello = a.sello.value_or("primera");
    e.modo = kPaginas;
    for (const auto& m : kModos)
        if (sello == m.sello) e.modo = m.modo;
    if (e.modo == kPaginas) e.paginas = sello;
    return e;
}

void Aconsejar(Motivo motivo) {
    std::string consejo(ConsejoDe(motivo));
    if (motivo == Motivo::SalidaExiste) consejo += " Con --salida y --forzar se sustituye.";
    if (!consejo.empty()) Decir("  Consejo: " + consejo);
}

void DecirIntentos(const Firmados& firmados) {
    if (firmados.intentos < 0) return;
    Decir(firmados.intentos == 0
              ? "El PIN del DNIe está bloqueado."
              : "Intentos que le quedan al PIN del DNIe: " + std::to_string(firmados.intentos) + ".");
}

}  // namespace Cli
