// Any messages as what a helper says, with requests among them: a byte of 255 and two for the width is a request, any
// other byte the length of the message that follows.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ayudante/LxConversacion.h"

using namespace Lx::Ayudante;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Conversacion conversacion;
    bool saludado = false, abierto = false, acabado = false;
    int ancho = 0;
    while (size > 0) {
        const size_t n = *data == 255 ? 2 : *data;
        ++data;
        --size;
        if (size < n) break;
        if (data[-1] == 255) {
            ancho = conversacion.Pedir(1, data[0] * 256 + data[1]).ancho;
        } else {
            const Noticia noticia = conversacion.Oir(data, n);
            const Respuesta& dicha = conversacion.Ultima();
            bool bien = noticia != Noticia::Nada && noticia != Noticia::Mudo && (!acabado || noticia == Noticia::Fin);
            if (noticia == Noticia::Saludo) bien = bien && !saludado && Bastan(conversacion.LosMuros());
            if (noticia == Noticia::Abierto)
                bien = bien && saludado && !abierto && n == sizeof dicha && dicha.ancho > 0;
            if (noticia == Noticia::Hoja)
                bien = bien && abierto && n == sizeof dicha && dicha.ancho == ancho && ancho > 0 && dicha.alto > 0 &&
                       int64_t{dicha.ancho} * dicha.alto <= kMaxPixeles;
            if (!bien) __builtin_trap();
            saludado = saludado || noticia == Noticia::Saludo;
            abierto = abierto || noticia == Noticia::Abierto;
            acabado = noticia == Noticia::SinMuros || noticia == Noticia::NoAbierto || noticia == Noticia::Fin;
        }
        data += n;
        size -= n;
    }
    return 0;
}
