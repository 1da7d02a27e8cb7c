#include <fontconfig/fontconfig.h>
#include <locale.h>
#include <pthread.h>
#include <signal.h>

#include "ui/LxBackend.h"

namespace Lx {

namespace {

// Reading its configuration and the lists of fonts is most of what the first text waits for.
void* ReadFonts(void*) {
    // Its numbers are written with a point, and the program is about to choose a locale.
    const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    if (plain != nullptr) uselocale(plain);
    FcInit();
    if (plain != nullptr) {
        uselocale(LC_GLOBAL_LOCALE);
        freelocale(plain);
    }
    return nullptr;
}

}  // namespace

void PreparePlatform() {
    sigset_t all, before;
    sigfillset(&all);
    // Signals are for the threads that the program starts itself.
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ReadFonts, nullptr) == 0) pthread_detach(thread);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace Lx
