// A stand-in for the card service's library, whose one instance the test fills.
#pragma once

#include <atomic>
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
    std::function<void(const std::string& funcion)> antes;                // runs before a call does its work
    unsigned long estadoLector = 0x20;  // how SCardGetStatusChange says that every reader stands
    std::atomic<bool> fuera{false};     // the card has left

    std::atomic<int> contextos{0};       // open now
    std::atomic<int> tarjetas{0};        // connected now
    std::atomic<int> transmisiones{0};   // commands that were sent
    bool enTransaccion = false;          // now
    std::vector<unsigned long> finales;  // what became of the card at the end of each transaction
    std::vector<unsigned long> ambitos;  // scopes that were asked for
    std::string desvios;                 // calls that broke the interface
};

// Starts anew, as after loading.
PcscFalso& NuevoPcscFalso();
PcscFalso& ElPcscFalso();

}  // namespace Apoyo
