#include "card/Suelto.h"

#include <pthread.h>
#include <signal.h>

#include <thread>
#include <utility>

namespace Lx::Pcsc {

void Suelto(std::function<void()> trabajo) {
    sigset_t todas;
    sigset_t antes;
    sigfillset(&todas);
    pthread_sigmask(SIG_SETMASK, &todas, &antes);
    std::thread(std::move(trabajo)).detach();
    pthread_sigmask(SIG_SETMASK, &antes, nullptr);
}

}  // namespace Lx::Pcsc
