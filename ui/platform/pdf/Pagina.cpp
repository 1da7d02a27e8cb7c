// velmora-pagina: draws the pages of one document for the window that started it, and can do nothing else. A PDF is
// the work of a stranger and poppler a large program; here a fault in it meets no secret and no file.
#include <malloc.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "ui/platform/pdf/Dibujo.h"
#include "ui/platform/pdf/Encierro.h"
#include "ui/platform/pdf/Protocolo.h"

namespace {

using namespace Lx::Pdf;

// The window ends a page that takes too long before this does; it may have gone to sleep with nobody waiting.
constexpr unsigned kSegundos = 25;

// poppler aborts when it gets no memory, the C++ library asks this first.
[[noreturn]] void AcabarSinMemoria() {
    _exit(kSalidaSinMemoria);
}
[[noreturn]] void AcabarSinMemoriaPorSenal(int) {
    _exit(kSalidaSinMemoria);
}

bool TieneCanal() {
    struct stat datos {};
    return fstat(kCanal, &datos) == 0 && S_ISSOCK(datos.st_mode);
}

bool Responder(const Respuesta& respuesta) {
    alarm(0);
    return write(kCanal, &respuesta, sizeof respuesta) == static_cast<ssize_t>(sizeof respuesta);
}

int Servir() {
    Dibujo dibujo;
    alarm(kSegundos);
    const Estado abierto = dibujo.Abrir(kDocumento);
    const bool bien = abierto == Estado::Bien;
    if (!Responder({0, abierto, bien ? dibujo.Paginas() : 0, 0}) || !bien) return EXIT_FAILURE;
    Peticion peticion;
    while (read(kCanal, &peticion, sizeof peticion) == static_cast<ssize_t>(sizeof peticion)) {
        alarm(kSegundos);
        Respuesta respuesta{peticion.numero, Estado::Bien, peticion.ancho, 0};
        respuesta.estado = dibujo.Dibujar(peticion.pagina, peticion.ancho, kPixeles, respuesta.alto);
        if (!Responder(respuesta)) break;
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main() {
    if (!TieneCanal()) {
        std::fputs("velmora-pagina dibuja las páginas para la ventana de Velmora; no se ejecuta a mano.\n", stderr);
        return 2;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // What one page needed is kept for the next: getting it anew from the kernel each time costs milliseconds.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    std::set_new_handler(AcabarSinMemoria);
    signal(SIGABRT, AcabarSinMemoriaPorSenal);
    if (!Encerrarse()) return EXIT_FAILURE;
    // Without the destructors of the libraries: nothing is left to save.
    _exit(Servir());
}
