#include "card/Canal.h"

#include <string.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "card/LxPcsc.h"
#include "card/Suelto.h"

namespace Lx::Pcsc {

namespace {

using namespace std::chrono_literals;

constexpr auto kPaso = 50ms;                // how soon a cancel is seen
constexpr auto kPalabra = 1s;               // a call that takes longer is told of
constexpr auto kConexion = 5s;              // until the card is connected
constexpr auto kSilencio = 8s;              // between two answers of the card
constexpr auto kCierre = 5s;                // until everything is given back
constexpr unsigned kSinDatos = 0x8010002F;  // an answer without a status word is none
constexpr int kReconexiones = 3;            // for another program that resets the card again and again

// A command, wiped when it goes: it may hold a PIN.
struct Orden {
    explicit Orden(Bytes losBytes) : bytes(std::move(losBytes)) {}
    ~Orden() { explicit_bzero(bytes.data(), bytes.size()); }
    Orden(const Orden&) = delete;
    Orden& operator=(const Orden&) = delete;

    Bytes bytes;
};

Aviso Cancelacion() {
    return {Motivo::Cancelado, "Cancelado."};
}

}  // namespace

// What the thread holds. Its own while a call runs, the job's between two calls, and nobody's after the job left.
struct Canal::Conexion {
    unsigned long contexto = 0;
    unsigned long tarjeta = 0;
    unsigned protocolo = 0;
    bool enTransaccion = false;
    bool reiniciar = false;
    std::string atr;
    std::vector<std::string> lectores;
    Bytes respuesta;

    void Cerrar() {
        if (enTransaccion) TerminarTransaccion(tarjeta, reiniciar);
        Desconectar(tarjeta);
        LiberarContexto(contexto);
    }
};

struct Canal::Hilo {
    std::mutex cerrojo;
    std::condition_variable aviso;
    Llamada llamada;       // to be made
    bool hecha = false;    // `code` is its answer
    bool dejado = false;   // no further one
    bool cerrado = false;  // all is given back
    long code = 0;
    std::atomic<bool> enUso{false};  // others are connected to the card too
    Conexion conexion;
};

Canal::Canal(Control& control)
    : control_(control),
      hilo_(std::make_shared<Hilo>()),
      inicio_(std::chrono::steady_clock::now()),
      respuesta_(inicio_) {
    Suelto([hilo = hilo_] { Correr(hilo); });
}

void Canal::Correr(const std::shared_ptr<Hilo>& hilo) {
    Hilo& h = *hilo;
    std::unique_lock guarda(h.cerrojo);
    for (;;) {
        h.aviso.wait(guarda, [&h] { return h.dejado || h.llamada; });
        if (h.dejado) break;
        Llamada llamada = std::exchange(h.llamada, nullptr);
        guarda.unlock();
        const long code = llamada(h.conexion);
        llamada = nullptr;
        guarda.lock();
        h.code = code;
        h.hecha = true;
        h.aviso.notify_all();
    }
    h.llamada = nullptr;
    guarda.unlock();
    h.conexion.Cerrar();
    guarda.lock();
    h.cerrado = true;
    h.aviso.notify_all();
}

long Canal::Dejar(Aviso aviso) {
    dejado_ = std::move(aviso);
    hilo_->dejado = true;
    hilo_->aviso.notify_all();
    return Codigo(kDejado);
}

bool Canal::Vencido(Espera espera, Instante ahora) const {
    return ahora - (espera == Espera::Tarjeta ? respuesta_ : inicio_) >=
           (espera == Espera::Tarjeta ? kSilencio : kConexion);
}

Aviso Canal::MotivoDe(Espera espera) const {
    // While somebody else has a transaction the service keeps new connections waiting too.
    const Conexion& c = hilo_->conexion;
    if (espera == Espera::Conexion && hilo_->enUso && !c.enTransaccion) espera = Espera::Transaccion;
    static constexpr struct {
        Espera espera;
        Motivo motivo;
        const char* frase;
    } kMotivos[] = {
        {Espera::Servicio, Motivo::SinServicio,
         "El servicio de tarjetas no responde. Desconecta y conecta el lector, o reinicia el servicio, y vuelve a "
         "intentarlo."},
        {Espera::Conexion, Motivo::TarjetaMuda, "La tarjeta no responde."},
        {Espera::Transaccion, Motivo::LectorOcupado, "Otra aplicación usa el lector y no lo suelta."},
    };
    for (const auto& fila : kMotivos) {
        if (fila.espera == espera) return {fila.motivo, fila.frase};
    }
    return {kMotivos[1].motivo, kMotivos[1].frase};
}

long Canal::Llamar(Espera espera, Llamada llamada) {
    if (dejado_ || cerrado_) return Codigo(kDejado);
    std::unique_lock guarda(hilo_->cerrojo);
    if (control_.Cancelado()) return Dejar(Cancelacion());
    hilo_->hecha = false;
    hilo_->llamada = std::move(llamada);
    hilo_->aviso.notify_all();
    const Instante inicio = std::chrono::steady_clock::now();
    bool dicho = false;
    while (!hilo_->aviso.wait_for(guarda, kPaso, [this] { return hilo_->hecha; })) {
        if (control_.Cancelado()) return Dejar(Cancelacion());
        const Instante ahora = std::chrono::steady_clock::now();
        if (Vencido(espera, ahora)) return Dejar(MotivoDe(espera));
        if (!dicho && ahora - inicio >= kPalabra) {
            dicho = true;
            control_.Ocupado(true);
        }
    }
    if (dicho) control_.Ocupado(false);
    return hilo_->code;
}

long Canal::Contexto() {
    if (conContexto_) return 0;
    const long code = Llamar(Espera::Servicio, [](Conexion& c) { return EstablecerContexto(2, c.contexto); });
    conContexto_ = code == 0;
    return code;
}

long Canal::ListarLectores(std::vector<std::string>& lectores) {
    long code = Contexto();
    if (code != 0) return code;
    code = Llamar(Espera::Servicio, [](Conexion& c) { return Pcsc::ListarLectores(c.contexto, c.lectores); });
    if (code == 0) lectores = hilo_->conexion.lectores;
    return code;
}

long Canal::Transaccion() {
    for (int i = 0;; ++i) {
        const long code = Llamar(Espera::Transaccion, [](Conexion& c) {
            const long empezada = EmpezarTransaccion(c.tarjeta);
            c.enTransaccion = empezada == 0;
            return empezada;
        });
        if (!EsCodigo(code, kReiniciada) || i == kReconexiones) return code;
        const long otra = Llamar(Espera::Conexion, [](Conexion& c) { return Reconectar(c.tarjeta, c.protocolo); });
        if (otra != 0) return otra;
    }
}

long Canal::Conectar(const std::string& lector, bool& deContexto) {
    long code = Contexto();
    deContexto = code != 0;
    if (code != 0) return code;
    code = Llamar(Espera::Conexion, [lector, hilo = hilo_](Conexion& c) {
        std::vector<LectorVisto> visto = {{lector}};
        hilo->enUso = EsperarCambios(c.contexto, visto, 0) == 0 && visto[0].enUso;
        return Pcsc::Conectar(c.contexto, lector, c.tarjeta, c.protocolo);
    });
    if (code == 0) code = Transaccion();
    if (code == 0) {
        code = Llamar(Espera::Conexion, [](Conexion& c) {
            unsigned protocolo = 0;
            return Estado(c.tarjeta, c.atr, protocolo);
        });
    }
    return code;
}

long Canal::Transmitir(const Bytes& apdu, Bytes& respuesta) {
    respuesta.clear();
    if (EsCodigo(perdida_, kReiniciada) || EsCodigo(perdida_, kRetirada) || (estricto && perdida_ != 0)) {
        return perdida_;
    }
    const bool conReinicio = reiniciar;
    const long code = Llamar(Espera::Tarjeta, [orden = std::make_shared<const Orden>(apdu), conReinicio](Conexion& c) {
        c.reiniciar = conReinicio;
        const long enviado = Pcsc::Transmitir(c.tarjeta, c.protocolo, orden->bytes, c.respuesta);
        return enviado == 0 && c.respuesta.size() < 2 ? Codigo(kSinDatos) : enviado;
    });
    if (code == 0) {
        respuesta_ = std::chrono::steady_clock::now();
        respuesta = std::move(hilo_->conexion.respuesta);
    } else if (perdida_ == 0 || EsCodigo(code, kRetirada) || EsCodigo(code, kReiniciada)) {
        perdida_ = code;
    }
    return code;
}

long Canal::Seguir() {
    if (perdida_ != 0) return perdida_;
    return perdida_ = Llamar(Espera::Tarjeta, [](Conexion& c) {
               std::string atr;
               unsigned protocolo = 0;
               return Estado(c.tarjeta, atr, protocolo);
           });
}

bool Canal::Cerrar() {
    if (dejado_ || cerrado_) return cerrado_;
    std::unique_lock guarda(hilo_->cerrojo);
    hilo_->dejado = true;
    hilo_->aviso.notify_all();
    const Instante inicio = std::chrono::steady_clock::now();
    while (!hilo_->aviso.wait_for(guarda, kPaso, [this] { return hilo_->cerrado; })) {
        const auto pasado = std::chrono::steady_clock::now() - inicio;
        if (control_.Cancelado() || pasado >= kCierre) {
            dejado_ = control_.Cancelado() ? Cancelacion() : MotivoDe(Espera::Tarjeta);
            return false;
        }
        if (pasado >= kPalabra) control_.Ocupado(true);
    }
    cerrado_ = true;
    control_.Ocupado(false);
    return true;
}

const std::string& Canal::Atr() const {
    return hilo_->conexion.atr;
}

unsigned long Canal::Tarjeta() const {
    return hilo_->conexion.tarjeta;
}

unsigned Canal::Protocolo() const {
    return hilo_->conexion.protocolo;
}

}  // namespace Lx::Pcsc
