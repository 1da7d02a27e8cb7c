#include "ayudante/LxConversacion.h"

#include <cstring>

namespace Lx::Ayudante {
namespace {

// Whether an answer that says that all is well can be one to this request.
bool Cuadra(const Peticion& p, const Respuesta& r) {
    if (r.bytes > p.bytes) return false;
    switch (p.orden) {
        case Orden::Abrir:
            return r.valor >= 1;
        case Orden::Dibujar:
            if (p.alto > 0) return r.valor == p.alto;
            return r.valor >= 1 && static_cast<uint64_t>(r.valor) * p.paso <= p.bytes;
        case Orden::Buscar:
            return r.valor >= 1 && r.valor <= p.cuantos;
        default:
            return true;
    }
}

}  // namespace

Peticion Conversacion::Pedir(Peticion peticion) {
    peticion.numero = ++numero_;
    pedidas_.push_back(peticion);
    return peticion;
}

Noticia Conversacion::Acabar(Noticia noticia) {
    fase_ = Fase::Fin;
    return noticia;
}

Noticia Conversacion::Oir(const void* mensaje, size_t bytes) {
    if (fase_ == Fase::Saludo) return OirSaludo(mensaje, bytes);
    if (fase_ == Fase::Fin || bytes != sizeof ultima_ || pedidas_.empty()) return Acabar(Noticia::Fin);
    std::memcpy(&ultima_, mensaje, sizeof ultima_);
    const Peticion pedida = pedidas_.front();
    if (ultima_.numero != pedida.numero) return Acabar(Noticia::Fin);
    pedidas_.pop_front();
    if (ultima_.estado > Estado::Anulado) ultima_.estado = Estado::SinDibujar;
    if (ultima_.estado == Estado::Bien && !Cuadra(pedida, ultima_)) return Acabar(Noticia::Fin);
    return Noticia::Contesta;
}

Noticia Conversacion::OirSaludo(const void* mensaje, size_t bytes) {
    Saludo saludo;
    if (bytes != sizeof saludo) return Acabar(Noticia::Fin);
    std::memcpy(&saludo, mensaje, sizeof saludo);
    if (saludo.seccomp > 1 || saludo.intermediario > 1 || saludo.landlock < 0) return Acabar(Noticia::Fin);
    muros_ = {saludo.seccomp == 1, saludo.intermediario == 1, saludo.landlock};
    if (!Bastan(muros_)) return Acabar(Noticia::SinMuros);
    fase_ = Fase::Preguntas;
    return Noticia::Saludo;
}

}  // namespace Lx::Ayudante
