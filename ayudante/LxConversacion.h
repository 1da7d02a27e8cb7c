// What a helper says, as far as it is believed: it may have been taken over by the document that it reads.
#pragma once

#include <cstddef>

#include "ayudante/LxMuros.h"
#include "ayudante/LxProtocolo.h"

namespace Lx::Ayudante {

enum class Noticia {
    Nada,       // it has said nothing yet
    Saludo,     // the walls stand
    SinMuros,   // they don't, and it ends
    Abierto,    // the document is open; `ancho` of the answer has its pages, at least one
    NoAbierto,  // and why not, in `estado`
    Hoja,       // the page that was asked for is drawn, and its size is sound
    SinHoja,    // and why not, in `estado`
    Mudo,       // it hasn't greeted in time
    Fin,        // it has gone, or said what makes no sense here
};

class Conversacion {
  public:
    // What goes to the helper. One page at a time: an answer to an earlier request makes no sense any more.
    [[nodiscard]] Peticion Pedir(int pagina, int ancho);
    // One message from it. Never Nada or Mudo; after SinMuros, NoAbierto or Fin all that follows is Fin.
    [[nodiscard]] Noticia Oir(const void* mensaje, size_t bytes);

    [[nodiscard]] bool Saludado() const { return fase_ != Fase::Saludo; }
    [[nodiscard]] const Muros& LosMuros() const { return muros_; }
    [[nodiscard]] const Respuesta& Ultima() const { return ultima_; }

  private:
    enum class Fase { Saludo, Apertura, Hojas, Fin };

    [[nodiscard]] Noticia OirSaludo(const void* mensaje, size_t bytes);
    [[nodiscard]] Noticia OirApertura();
    [[nodiscard]] Noticia OirHoja();
    Noticia Acabar(Noticia noticia);

    Fase fase_ = Fase::Saludo;
    Muros muros_;
    Peticion pedida_;
    bool esperada_ = false;  // the request has no answer yet
    Respuesta ultima_;
};

}  // namespace Lx::Ayudante
