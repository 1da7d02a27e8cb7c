// Another program at the same reader, until its standard input ends: otro READER WHAT FILE
//   tener   holds a transaction
//   elegir  selects an application of its own, over and over, without asking anybody
//   exclusiva  is the only one connected
// FILE appears once it does.
#include <dlfcn.h>
#include <poll.h>

#include <cstdio>
#include <string>

namespace {

template <class F>
F Funcion(const char* nombre) {
    return reinterpret_cast<F>(dlsym(dlopen("libpcsclite.so.1", RTLD_NOW), nombre));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const std::string que = argv[2];
    const auto establecer = Funcion<long (*)(unsigned long, void*, void*, long*)>("SCardEstablishContext");
    const auto conectar =
        Funcion<long (*)(long, const char*, unsigned long, unsigned long, long*, unsigned long*)>("SCardConnect");
    const auto empezar = Funcion<long (*)(long)>("SCardBeginTransaction");
    const auto transmitir = Funcion<long (*)(long, const void*, const unsigned char*, unsigned long, void*,
                                             unsigned char*, unsigned long*)>("SCardTransmit");
    long contexto = 0, tarjeta = 0;
    unsigned long protocolo = 0;
    if (establecer(2, nullptr, nullptr, &contexto) != 0) return 1;
    if (conectar(contexto, argv[1], que == "exclusiva" ? 1 : 2, 3, &tarjeta, &protocolo) != 0) return 1;
    if (que == "tener" && empezar(tarjeta) != 0) return 1;
    std::fclose(std::fopen(argv[3], "w"));
    // SELECT A0000000030000
    static const unsigned char kElegir[] = {0x00, 0xA4, 0x04, 0x00, 0x07, 0xA0, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00};
    const unsigned long envio[2] = {protocolo, sizeof envio};
    for (pollfd entrada = {0, POLLIN, 0}; poll(&entrada, 1, que == "elegir" ? 1 : -1) == 0;) {
        unsigned char respuesta[512];
        unsigned long longitud = sizeof respuesta;
        (void)transmitir(tarjeta, envio, kElegir, sizeof kElegir, nullptr, respuesta, &longitud);
    }
    return 0;  // what it holds ends with it
}
