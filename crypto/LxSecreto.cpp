#include "crypto/LxSecreto.h"

#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <mutex>

namespace Lx {

namespace {

std::mutex g_cerrojo;
int g_cerrados = 0;

// The count and what the system knows change together.
void Contar(int cuanto) {
    const std::lock_guard guarda(g_cerrojo);
    const bool antes = g_cerrados != 0;
    g_cerrados += cuanto;
    const bool ahora = g_cerrados != 0;
    if (antes != ahora) static_cast<void>(prctl(PR_SET_DUMPABLE, ahora ? 0 : 1, 0, 0, 0));
}

}  // namespace

void PrepararProceso() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDONLY);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) close(fd);
    constexpr rlimit kSinVolcado{0, 0};
    setrlimit(RLIMIT_CORE, &kSinVolcado);
    struct sigaction hijos {};
    if (sigaction(SIGCHLD, nullptr, &hijos) == 0 && hijos.sa_handler == SIG_IGN) signal(SIGCHLD, SIG_DFL);
    signal(SIGXFSZ, SIG_IGN);
}

NoVolcable::NoVolcable() {
    Contar(1);
}

NoVolcable::~NoVolcable() {
    Contar(-1);
}

void Limpiar(std::string& secreto) {
    secreto.resize(secreto.capacity());
    explicit_bzero(secreto.data(), secreto.size());
    secreto.clear();
}

void Secreto::Reservar(size_t n) {
    Limpiar(texto);
    texto.reserve(n);
    aparte_.emplace(texto.data(), texto.capacity() + 1);
}

}  // namespace Lx
