#include "ayudante/LxConversacion.h"

#include <cstring>

namespace Lx::Ayudante {

Peticion Conversacion::Pedir(int pagina, int ancho) {
    pedida_ = {pedida_.numero + 1, pagina, ancho};
    esperada_ = true;
    return pedida_;
}

Noticia Conversacion::Acabar(Noticia noticia) {
    fase_ = Fase::Fin;
    return noticia;
}

Noticia Conversacion::Oir(const void* mensaje, size_t bytes) {
    if (fase_ == Fase::Saludo) return OirSaludo(mensaje, bytes);
    if (fase_ == Fase::Fin || bytes != sizeof ultima_) return Acabar(Noticia::Fin);
    std::memcpy(&ultima_, mensaje, sizeof ultima_);
    return fase_ == Fase::Apertura ? OirApertura() : OirHoja();
}

Noticia Conversacion::OirSaludo(const void* mensaje, size_t bytes) {
    Saludo saludo;
    if (bytes != sizeof saludo) return Acabar(Noticia::Fin);
    std::memcpy(&saludo, mensaje, sizeof saludo);
    if (saludo.seccomp > 1 || saludo.intermediario > 1 || saludo.landlock < 0) return Acabar(Noticia::Fin);
    muros_ = {saludo.seccomp == 1, saludo.intermediario == 1, saludo.landlock};
    if (!Bastan(muros_)) return Acabar(Noticia::SinMuros);
    fase_ = Fase::Apertura;
    return Noticia::Saludo;
}

Noticia Conversacion::OirApertura() {
    if (ultima_.numero != 0) return Acabar(Noticia::Fin);
    if (ultima_.estado != Estado::Bien) return Acabar(Noticia::NoAbierto);
    if (ultima_.ancho < 1) return Acabar(Noticia::Fin);
    fase_ = Fase::Hojas;
    return Noticia::Abierto;
}

// The size is believed as far as it fits what was asked and the memory that both see.
Noticia Conversacion::OirHoja() {
    if (!esperada_ || ultima_.numero != pedida_.numero) return Acabar(Noticia::Fin);
    esperada_ = false;
    if (ultima_.estado != Estado::Bien) return Noticia::SinHoja;
    if (pedida_.ancho < 1 || ultima_.ancho != pedida_.ancho) return Acabar(Noticia::Fin);
    if (ultima_.alto < 1 || ultima_.alto > kMaxPixeles / ultima_.ancho) return Acabar(Noticia::Fin);
    return Noticia::Hoja;
}

}  // namespace Lx::Ayudante
