// The process that draws pages for one document: velmora-pagina, from its start to its end.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>

#include "ui/platform/pdf/Descriptor.h"
#include "ui/platform/pdf/Protocolo.h"

namespace Lx::Pdf {

class Ayudante {
  public:
    // Null when there is no such program or no process to be had. The descriptors stay the caller's.
    [[nodiscard]] static std::unique_ptr<Ayudante> Arrancar(const Descriptor& documento, const Descriptor& pixeles);
    ~Ayudante();
    Ayudante(const Ayudante&) = delete;
    Ayudante& operator=(const Ayudante&) = delete;

    // Never waits. False when the process has gone.
    [[nodiscard]] bool Enviar(const Peticion& peticion);

    enum class Lectura { Nada, Respuesta, Fin };  // Fin: it has gone, or said what isn't a record
    [[nodiscard]] Lectura Leer(Respuesta& respuesta, std::chrono::milliseconds espera);

    // Ends the process. Its exit status, -1 when it had none.
    int Acabar();

  private:
    Ayudante(Descriptor canal, pid_t proceso) : canal_(std::move(canal)), proceso_(proceso) {}

    Descriptor canal_;
    pid_t proceso_;
};

}  // namespace Lx::Pdf
