#include "crypto/LxDescriptor.h"

#include <unistd.h>

#include <cerrno>

namespace Lx::Api {

bool Descriptor::Cerrar() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || close(fd) == 0;
}

ssize_t LeerEn(int fd, void* destino, size_t n, off_t pos) {
    size_t leidos = 0;
    while (leidos < n) {
        const ssize_t r = pread(fd, static_cast<char*>(destino) + leidos, n - leidos, pos + static_cast<off_t>(leidos));
        if (r < 0 && errno == EINTR) continue;
        if (r < 0) return r;
        if (r == 0) break;
        leidos += static_cast<size_t>(r);
    }
    return static_cast<ssize_t>(leidos);
}

}  // namespace Lx::Api
