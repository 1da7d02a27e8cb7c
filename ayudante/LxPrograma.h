// The process that reads and draws one document: velmora-pagina, from its start to its end.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <initializer_list>
#include <memory>

#include "ayudante/LxConversacion.h"
#include "crypto/LxDescriptor.h"

namespace Lx::Ayudante {

class Intermediario;

class Programa {
  public:
    // What it may take until it greets.
    static constexpr std::chrono::milliseconds kPlazoSaludo{5'000};

    // Null when there is no such program or no process to be had. `ranuras` is memory that both will see, and stays the
    // caller's. The process ends with the thread that calls this.
    [[nodiscard]] static std::unique_ptr<Programa> Arrancar(const Api::Descriptor& ranuras);
    ~Programa();
    Programa(const Programa&) = delete;
    Programa& operator=(const Programa&) = delete;

    // Asks, also before it has greeted; two descriptors at most go along. Gives the request's number, 0 when the
    // process has gone. Never waits.
    [[nodiscard]] uint32_t Pedir(const Peticion& peticion, std::initializer_list<int> descriptores = {});
    // Its next message, waited for at most that long, and never past the time it has to greet.
    [[nodiscard]] Noticia Leer(std::chrono::milliseconds espera);

    // Can be read when there is a message; it is to be watched, no more.
    [[nodiscard]] int Canal() const { return canal_.Valor(); }
    [[nodiscard]] bool Saludado() const { return conversacion_.Saludado(); }
    [[nodiscard]] std::chrono::steady_clock::time_point Inicio() const { return inicio_; }
    [[nodiscard]] const Muros& LosMuros() const { return conversacion_.LosMuros(); }
    [[nodiscard]] const Respuesta& Ultima() const { return conversacion_.Ultima(); }

    // Ends the process. Its exit status, -1 when it had none.
    int Acabar();

  private:
    Programa(Api::Descriptor canal, Api::Descriptor intermediario, pid_t proceso);

    Api::Descriptor canal_;
    pid_t proceso_;
    std::chrono::steady_clock::time_point inicio_;
    Conversacion conversacion_;
    std::unique_ptr<Intermediario> intermediario_;
};

}  // namespace Lx::Ayudante
