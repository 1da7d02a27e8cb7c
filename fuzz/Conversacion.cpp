// Any messages as what a helper says, with requests among them: a byte of 255 and two more is a request, any other byte
// the length of the message that follows.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ayudante/LxConversacion.h"

using namespace Lx::Ayudante;

namespace {

bool EsDe(const Peticion& pedida, const Respuesta& dicha) {
    if (pedida.orden == Orden::Dibujar && (pedida.alto > 0 ? dicha.valor != pedida.alto : dicha.valor > 100))
        return false;
    if (pedida.orden == Orden::Buscar && dicha.valor > pedida.cuantos) return false;
    const bool cuenta = pedida.orden == Orden::Dibujar || pedida.orden == Orden::Buscar || pedida.orden == Orden::Abrir;
    return dicha.bytes <= 400 && (!cuenta || dicha.valor >= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Conversacion conversacion;
    uint32_t respuestas = 0;
    std::vector<Peticion> preguntas;
    bool saludado = false, acabado = false;
    while (size > 0) {
        const size_t n = *data == 255 ? 2 : *data;
        ++data;
        --size;
        if (size < n) break;
        if (data[-1] == 255) {
            Peticion peticion;
            peticion.orden = static_cast<Orden>(data[0] % 9);
            peticion.alto = peticion.cuantos = data[1];
            peticion.paso = 4;
            peticion.bytes = 400;
            preguntas.push_back(peticion);
            if (conversacion.Pedir(peticion).numero != preguntas.size()) __builtin_trap();
        } else {
            const Noticia noticia = conversacion.Oir(data, n);
            const Respuesta& dicha = conversacion.Ultima();
            bool bien = noticia != Noticia::Nada && noticia != Noticia::Mudo && (!acabado || noticia == Noticia::Fin);
            if (noticia == Noticia::Saludo) bien = bien && !saludado && Bastan(conversacion.LosMuros());
            if (noticia == Noticia::Contesta)
                bien = bien && saludado && n == sizeof dicha && dicha.numero == ++respuestas &&
                       respuestas <= preguntas.size() && dicha.estado <= Estado::Anulado &&
                       (dicha.estado != Estado::Bien || EsDe(preguntas[respuestas - 1], dicha));
            if (!bien) __builtin_trap();
            saludado = saludado || noticia == Noticia::Saludo;
            acabado = noticia == Noticia::SinMuros || noticia == Noticia::Fin;
        }
        data += n;
        size -= n;
    }
    return 0;
}
