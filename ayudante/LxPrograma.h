// The process that draws pages for one document: velmora-pagina, from its start to its end.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>

#include "ayudante/LxConversacion.h"
#include "crypto/LxDescriptor.h"

namespace Lx::Ayudante {

class Intermediario;

class Programa {
  public:
    // What it may take until it greets.
    static constexpr std::chrono::milliseconds kPlazoSaludo{5'000};

    // Null when there is no such program or no process to be had. The descriptors stay the caller's. The process ends
    // with the thread that calls this.
    [[nodiscard]] static std::unique_ptr<Programa> Arrancar(const Api::Descriptor& documento,
                                                            const Api::Descriptor& pixeles);
    ~Programa();
    Programa(const Programa&) = delete;
    Programa& operator=(const Programa&) = delete;

    // Asks for a page, also before it has greeted. Never waits. False when the process has gone.
    [[nodiscard]] bool Pedir(int pagina, int ancho);
    // Its next message, waited for at most that long, and never past the time it has to greet.
    [[nodiscard]] Noticia Leer(std::chrono::milliseconds espera);

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
