// A stand-in for the card service's library, whose one instance the test fills.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Apoyo {

using Bytes = std::vector<unsigned char>;

struct PcscFalso {
    std::vector<std::string> lectores;
    Bytes atr;
    long longitudAtr = -1;                         // told in place of the real one when not negative
    unsigned long longitudLista = 0;               // the same for the list of readers, when not 0
    std::map<std::string, unsigned long> codigos;  // function name: the code that it returns
    std::function<long(const Bytes& apdu, Bytes& respuesta)> transmitir;  // a code; without it, no card

    // What happened.
    int contextos = 0;                   // open now
    int tarjetas = 0;                    // connected now
    std::vector<unsigned long> ambitos;  // scopes that were asked for
    std::string desvios;                 // calls that broke the interface
};

// Starts anew, as after loading.
PcscFalso& NuevoPcscFalso();
PcscFalso& ElPcscFalso();

}  // namespace Apoyo
