#include "ui/platform/pdf/PageContent.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "crypto/LxFichero.h"

namespace Lx::Pdf {
namespace {

using Api::Descriptor;

// What copying takes a few milliseconds at most.
constexpr off_t kSmall = 4 << 20;

// A pipe in the place of a file must not make the window wait for who writes into it.
Descriptor OpenFile(const std::string& path, off_t& size) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat info {};
    if (!file || fstat(file.Valor(), &info) != 0 || !S_ISREG(info.st_mode)) return Descriptor();
    size = info.st_size;
    return file;
}

Descriptor CopyOpened(const Descriptor& file, const std::atomic<bool>& unwanted) {
    Descriptor memory(memfd_create("documento", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file || !memory) return Descriptor();
    std::vector<char> chunk(256 << 10);
    int64_t total = 0;
    while (!unwanted) {
        const ssize_t n = read(file.Valor(), chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Descriptor();
        if (n == 0) break;
        total += n;
        if (total > INT_MAX || !Api::EscribirTodo(memory.Valor(), {chunk.data(), static_cast<size_t>(n)}))
            return Descriptor();
    }
    constexpr int kSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
    if (total == 0 || unwanted || fcntl(memory.Valor(), F_ADD_SEALS, kSeals) != 0) return Descriptor();
    return memory;
}

}  // namespace

Descriptor CopyOf(const std::string& path) {
    off_t size = 0;
    return CopyOpened(OpenFile(path, size), false);
}

struct Copying::Shared {
    Descriptor told{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    Descriptor file, memory;
    std::atomic<bool> done{false}, unwanted{false};

    void Copy() {
        memory = CopyOpened(file, unwanted);
        done = true;
        eventfd_write(told.Valor(), 1);
    }
};

Copying::Copying(const std::string& path) : shared_(std::make_shared<Shared>()) {
    off_t size = 0;
    shared_->file = OpenFile(path, size);
    if (size <= kSmall) {
        shared_->Copy();
        return;
    }
    // Signals are for the thread that started us.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([shared = shared_] { shared->Copy(); }).detach();
    } catch (const std::system_error&) {
        shared_->Copy();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Copying::~Copying() {
    shared_->unwanted = true;
}

int Copying::Fd() const {
    return shared_->told.Valor();
}

bool Copying::IsDone() const {
    return shared_->done;
}

Descriptor Copying::Take() {
    return std::move(shared_->memory);
}

}  // namespace Lx::Pdf
