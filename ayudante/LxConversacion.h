// What a helper says, as far as it is believed: it may have been taken over by the document that it reads.
#pragma once

#include <cstddef>
#include <deque>

#include "ayudante/LxMuros.h"
#include "ayudante/LxProtocolo.h"

namespace Lx::Ayudante {

enum class Noticia {
    Nada,      // it has said nothing yet
    Saludo,    // the walls stand
    SinMuros,  // they don't, and it ends
    Contesta,  // the request that has waited longest is answered, well or not; what is told of sizes fits the request
    Mudo,      // it hasn't greeted in time
    Fin,       // it has gone, or said what makes no sense here
};

class Conversacion {
  public:
    // What goes to the helper: the same with its number.
    [[nodiscard]] Peticion Pedir(Peticion peticion);
    // One message from it. Never Nada or Mudo; after SinMuros or Fin all that follows is Fin.
    [[nodiscard]] Noticia Oir(const void* mensaje, size_t bytes);

    [[nodiscard]] bool Saludado() const { return fase_ != Fase::Saludo; }
    [[nodiscard]] const Muros& LosMuros() const { return muros_; }
    // After Contesta. An Estado that isn't known is SinDibujar.
    [[nodiscard]] const Respuesta& Ultima() const { return ultima_; }

  private:
    enum class Fase { Saludo, Preguntas, Fin };

    [[nodiscard]] Noticia OirSaludo(const void* mensaje, size_t bytes);
    Noticia Acabar(Noticia noticia);

    Fase fase_ = Fase::Saludo;
    Muros muros_;
    uint32_t numero_ = 0;
    std::deque<Peticion> pedidas_;
    Respuesta ultima_;
};

}  // namespace Lx::Ayudante
