// ayudante_certstore [--carpeta] listar|firmar|nada P12 [esperar]; the password is the first line of standard input.
// Prints what came out in one line, then ends or waits for a signal.
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"
#include "certstore/LxTemporales.h"

using namespace Lx::CertStore;

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    std::optional<CarpetaPrivada> carpeta;
    if (!args.empty() && args[0] == "--carpeta") {
        carpeta.emplace();
        args.erase(args.begin());
    }
    if (args.size() < 2) return EXIT_FAILURE;
    Contexto ctx;
    ctx.rutaPkcs12 = args[1];
    std::getline(std::cin, ctx.clavePkcs12);
    std::string texto;
    if (args[0] == "listar") static_cast<void>(Listar(ctx, texto));
    if (args[0] == "firmar") {
        Entrada e;
        e.origen = Origen::Pkcs12;
        e.cert.valid = true;
        e.cert.der = {0x30, 0x00};  // no RSA key: the signature is taken as it is
        std::vector<unsigned char> firma;
        texto = Firmar(e, ctx, {'a', 'b', 'c'}, firma, texto) ? "firmado" : texto;
    }
    std::cout << texto << std::endl;
    if (args.size() > 2) pause();
    std::exit(EXIT_SUCCESS);  // no destructor of main's runs
}
