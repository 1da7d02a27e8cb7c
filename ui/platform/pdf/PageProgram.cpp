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

#include "ayudante/LxEncierro.h"
#include "ayudante/LxProtocolo.h"
#include "ui/platform/pdf/PageRenderer.h"

namespace {

using namespace Lx::Ayudante;

// The window ends a page that takes too long before this does; it may have gone to sleep with nobody waiting.
constexpr unsigned kSeconds = 25;

// poppler aborts when it gets no memory, the C++ library asks this first.
[[noreturn]] void EndWithoutMemory() {
    _exit(kSalidaSinMemoria);
}
[[noreturn]] void EndWithoutMemoryBySignal(int) {
    _exit(kSalidaSinMemoria);
}

bool HasChannel() {
    struct stat info {};
    return fstat(kCanal, &info) == 0 && S_ISSOCK(info.st_mode);
}

bool Answer(const Respuesta& answer) {
    alarm(0);
    return write(kCanal, &answer, sizeof answer) == static_cast<ssize_t>(sizeof answer);
}

int Serve() {
    Lx::Pdf::PageRenderer renderer;
    alarm(kSeconds);
    const Estado opened = renderer.Open(kDocumento);
    const bool good = opened == Estado::Bien;
    if (!Answer({0, opened, good ? renderer.PageCount() : 0, 0}) || !good) return EXIT_FAILURE;
    Peticion request;
    while (read(kCanal, &request, sizeof request) == static_cast<ssize_t>(sizeof request)) {
        alarm(kSeconds);
        Respuesta answer{request.numero, Estado::Bien, request.ancho, 0};
        answer.estado = renderer.Draw(request.pagina, request.ancho, kPixeles, answer.alto);
        if (!Answer(answer)) break;
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main() {
    if (!HasChannel()) {
        std::fputs("velmora-pagina dibuja las páginas para la ventana de Velmora; no se ejecuta a mano.\n", stderr);
        return 2;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // What one page needed is kept for the next: getting it anew from the kernel each time costs milliseconds.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    std::set_new_handler(EndWithoutMemory);
    signal(SIGABRT, EndWithoutMemoryBySignal);
    if (!EncerrarseYSaludar()) return EXIT_FAILURE;
    // Without the destructors of the libraries: nothing is left to save.
    _exit(Serve());
}
