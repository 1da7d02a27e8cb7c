#include "app/Terminacion.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>
#include <utility>

namespace {

constexpr int kSenales[] = {SIGTERM, SIGINT, SIGHUP};
constexpr unsigned char kFin = 0;

int g_escribir = -1;  // the handler's end of the pipe
struct sigaction g_antes[std::size(kSenales)];

void AlRecibir(int senal) {
    const int numero = errno;
    const auto byte = static_cast<unsigned char>(senal);
    static_cast<void>(!write(g_escribir, &byte, 1));
    errno = numero;
}

}  // namespace

CTerminacion::CTerminacion(std::function<void(int)> alLlegar) : alLlegar_(std::move(alLlegar)) {
    int tubo[2];
    if (pipe2(tubo, O_CLOEXEC) != 0) return;
    g_escribir = tubo[1];
    hilo_ = std::thread([this, leer = tubo[0]] { Escuchar(leer); });
    struct sigaction nueva {};
    nueva.sa_handler = AlRecibir;
    nueva.sa_flags = SA_RESTART;
    for (size_t i = 0; i < std::size(kSenales); ++i) {
        sigaction(kSenales[i], nullptr, &g_antes[i]);
        if (g_antes[i].sa_handler != SIG_IGN) sigaction(kSenales[i], &nueva, nullptr);
    }
}

CTerminacion::~CTerminacion() {
    if (!hilo_.joinable()) return;
    for (size_t i = 0; i < std::size(kSenales); ++i) sigaction(kSenales[i], &g_antes[i], nullptr);
    static_cast<void>(!write(g_escribir, &kFin, 1));
    hilo_.join();
    close(std::exchange(g_escribir, -1));
}

void CTerminacion::Escuchar(int tubo) {
    for (unsigned char senal = kFin;;) {
        const ssize_t n = read(tubo, &senal, 1);
        if (n < 0 && errno == EINTR) continue;
        if (n != 1 || senal == kFin) break;
        alLlegar_(senal);
    }
    close(tubo);
}
