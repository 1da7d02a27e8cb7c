// Any messages as what a helper says, with requests among them: a byte of 255 and two more is a request, any other byte
// the length of the message that follows.
#include <cstddef>
#include <cstdint>

#include "ayudante/LxConversacion.h"

using namespace Lx::Ayudante;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Conversacion conversacion;
    uint32_t preguntas = 0, respuestas = 0;
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
            if (conversacion.Pedir(peticion).numero != ++preguntas) __builtin_trap();
        } else {
            const Noticia noticia = conversacion.Oir(data, n);
            const Respuesta& dicha = conversacion.Ultima();
            bool bien = noticia != Noticia::Nada && noticia != Noticia::Mudo && (!acabado || noticia == Noticia::Fin);
            if (noticia == Noticia::Saludo) bien = bien && !saludado && Bastan(conversacion.LosMuros());
            if (noticia == Noticia::Contesta)
                bien = bien && saludado && n == sizeof dicha && dicha.numero == ++respuestas &&
                       respuestas <= preguntas && dicha.estado <= Estado::Anulado &&
                       (dicha.estado != Estado::Bien || dicha.bytes <= 400);
            if (!bien) __builtin_trap();
            saludado = saludado || noticia == Noticia::Saludo;
            acabado = noticia == Noticia::SinMuros || noticia == Noticia::Fin;
        }
        data += n;
        size -= n;
    }
    return 0;
}
