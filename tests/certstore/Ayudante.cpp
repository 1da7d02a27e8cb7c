// ayudante_certstore listar|firmar|bucle P12; the password is the first line of standard input. Lists the certificates
// and signs with the first one that has its key: once, or until it is killed. Prints the summary and what became of it.
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"
#include "crypto/LxSecreto.h"

using namespace Lx::CertStore;

namespace {

void Firmar(const Listado& l, const Contexto& ctx) {
    for (const Entrada& e : l.entradas) {
        if (!e.conClave) continue;
        Lx::Control control;
        const FirmaHecha hecha = FirmarCon(e, ctx, {'a', 'b', 'c'}, {}, control);
        std::cout << (hecha.fallo ? hecha.fallo.frase : "firmado") << std::endl;
        return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    Lx::PrepararProceso();
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() < 2) return EXIT_FAILURE;
    Contexto ctx;
    ctx.rutaPkcs12 = args[1];
    std::getline(std::cin, ctx.clavePkcs12);
    do {
        Lx::Control control;
        const Listado l = ListarFuentes(ctx, control);
        std::cout << l.resumen << std::endl;
        for (const Entrada& e : l.entradas) std::cout << e.cert.subjectCN << (e.conClave ? " con clave\n" : "\n");
        if (args[0] != "listar") Firmar(l, ctx);
    } while (args[0] == "bucle");
    return EXIT_SUCCESS;
}
