// velmora-pagina: reads and draws one document for the window that started it, and can do nothing else. A PDF is the
// work of a stranger and poppler a large program; here a fault in it meets no secret and no file.
#include <iconv.h>
#include <malloc.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "ayudante/LxEncierro.h"
#include "ayudante/LxProtocolo.h"
#include "ui/platform/pdf/PageServer.h"

namespace {

using namespace Lx::Ayudante;

// The window ends what takes too long before this does; it may have gone to sleep with nobody waiting.
constexpr unsigned kSeconds = 25;

// glib and poppler abort when they get no memory, the C++ library asks this first.
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

// False when the window has gone or asks for nothing any more.
bool Receive(Peticion& request, std::vector<int>& fds) {
    iovec part{&request, sizeof request};
    alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    fds.clear();
    if (recvmsg(kCanal, &message, MSG_CMSG_CLOEXEC) != static_cast<ssize_t>(sizeof request)) return false;
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) return true;
    fds.resize((header->cmsg_len - CMSG_LEN(0)) / sizeof(int));
    std::memcpy(fds.data(), CMSG_DATA(header), fds.size() * sizeof(int));
    return true;
}

int Serve() {
    Lx::Pdf::PageServer server;
    if (!server.MapSlots(kRanuras)) return EXIT_FAILURE;
    Peticion request;
    std::vector<int> fds;
    while (Receive(request, fds)) {
        alarm(kSeconds);
        const Respuesta answer = server.Answer(request, fds);
        alarm(0);
        for (const int fd : fds) close(fd);
        if (write(kCanal, &answer, sizeof answer) != static_cast<ssize_t>(sizeof answer)) break;
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
    // The names of attachments are UTF-16, for which the C library loads a file that the walls keep away.
    static_cast<void>(iconv_open("UTF-8", "UTF-16BE"));
    if (!EncerrarseYSaludar()) return EXIT_FAILURE;
    // Without the destructors of the libraries: nothing is left to save.
    _exit(Serve());
}
