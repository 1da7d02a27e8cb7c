#include "cli/Senales.h"

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <iterator>

namespace Cli {

namespace {

constexpr int kSenales[] = {SIGINT, SIGTERM, SIGHUP};
constexpr suseconds_t kPlazo = 800'000;  // µs: with the end itself within a second

std::atomic<Lx::Control*> g_control{nullptr};
volatile sig_atomic_t g_senal = 0;
struct sigaction g_antes[std::size(kSenales) + 1] = {};
static_assert(std::atomic<Lx::Control*>::is_always_lock_free);

void EmpezarPlazo() {
    constexpr itimerval kUnaVez{{0, 0}, {0, kPlazo}};
    setitimer(ITIMER_REAL, &kUnaVez, nullptr);
}

void AlCancelar(int senal) {
    const int guardado = errno;
    g_senal = senal;
    if (Lx::Control* control = g_control; control != nullptr && control->Cancelar()) EmpezarPlazo();
    errno = guardado;
}

[[noreturn]] void Morir() {
    const int senal = g_senal;
    signal(senal, SIG_DFL);
    sigset_t suya;
    sigemptyset(&suya);
    sigaddset(&suya, senal);
    pthread_sigmask(SIG_UNBLOCK, &suya, nullptr);
    raise(senal);
    _exit(128 + senal);
}

// A key that came into use meanwhile gets its time.
void AlAcabarElPlazo(int) {
    const Lx::Control* control = g_control;
    if (control != nullptr && control->Cancelado()) Morir();
}

}  // namespace

SenalesQueCancelan::SenalesQueCancelan(Lx::Control& control) {
    g_control = &control;
    struct sigaction nueva {};
    nueva.sa_handler = AlCancelar;
    sigemptyset(&nueva.sa_mask);
    for (size_t i = 0; i < std::size(kSenales); ++i) {
        sigaction(kSenales[i], nullptr, &g_antes[i]);
        if (g_antes[i].sa_handler != SIG_IGN) sigaction(kSenales[i], &nueva, nullptr);
    }
    nueva.sa_handler = AlAcabarElPlazo;
    sigaction(SIGALRM, &nueva, &g_antes[std::size(kSenales)]);
    if (g_senal != 0) control.Cancelar();
}

SenalesQueCancelan::~SenalesQueCancelan() {
    constexpr itimerval kNunca{};
    setitimer(ITIMER_REAL, &kNunca, nullptr);
    for (size_t i = 0; i < std::size(kSenales); ++i) sigaction(kSenales[i], &g_antes[i], nullptr);
    sigaction(SIGALRM, &g_antes[std::size(kSenales)], nullptr);
    g_control = nullptr;
}

void AcabarPorSenal() {
    if (g_senal != 0) Morir();
}

}  // namespace Cli
