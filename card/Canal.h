// A connection to a card whose job may leave it: every call of the service runs on the connection's own thread, and
// the job waits for it no longer than it wants to. A thread that was left makes no further call but those that end
// what it holds: transaction, card, context.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"

namespace Lx::Pcsc {

using Bytes = std::vector<unsigned char>;

inline constexpr unsigned kDejado = 0x80100002;  // the job has left; no call was made, or none was waited for

class Canal {
  public:
    explicit Canal(Control& control);
    ~Canal() { Cerrar(); }
    Canal(const Canal&) = delete;
    Canal& operator=(const Canal&) = delete;

    // As the functions of the same names. A first call opens the context.
    [[nodiscard]] long ListarLectores(std::vector<std::string>& lectores);
    // Card, transaction and answer to reset. On failure `deContexto` says which of the two sentences the code wants.
    [[nodiscard]] long Conectar(const std::string& lector, bool& deContexto);
    // After a call that the card didn't answer because it has left or was reset, none is made any more; with
    // `estricto` after any that failed.
    [[nodiscard]] long Transmitir(const Bytes& apdu, Bytes& respuesta);
    // 0: the card is still the one that was connected, in the state in which it was left.
    [[nodiscard]] long Seguir();
    // Ends transaction, card and context. False when they still aren't: the job left, or leaves now.
    bool Cerrar();

    // Why the job left; none while it is there.
    [[nodiscard]] const Aviso& Dejado() const { return dejado_; }
    // The first code of a command that the card didn't answer; 0 when it answered all.
    [[nodiscard]] long Perdida() const { return perdida_; }
    // Of what is connected.
    [[nodiscard]] bool ConContexto() const { return conContexto_; }
    [[nodiscard]] const std::string& Atr() const;
    [[nodiscard]] unsigned Protocolo() const;
    [[nodiscard]] unsigned long Tarjeta() const;

    bool estricto = false;
    bool reiniciar = false;  // the transaction ends with a reset of the card

  private:
    struct Conexion;
    struct Hilo;
    using Instante = std::chrono::steady_clock::time_point;
    using Llamada = std::function<long(Conexion&)>;
    enum class Espera : unsigned char { Servicio, Conexion, Transaccion, Tarjeta };

    static void Correr(const std::shared_ptr<Hilo>& hilo);
    [[nodiscard]] long Llamar(Espera espera, Llamada llamada);
    [[nodiscard]] long Dejar(Aviso aviso);
    [[nodiscard]] bool Vencido(Espera espera, Instante ahora) const;
    [[nodiscard]] Aviso MotivoDe(Espera espera) const;
    [[nodiscard]] long Contexto();
    [[nodiscard]] long Transaccion();

    Control& control_;
    std::shared_ptr<Hilo> hilo_;
    Instante inicio_;     // of the connection
    Instante respuesta_;  // the card's last one
    bool conContexto_ = false;
    bool cerrado_ = false;
    long perdida_ = 0;
    Aviso dejado_;
};

}  // namespace Lx::Pcsc
