#include "crypto/LxFichero.h"

#include <unistd.h>

#include <cerrno>

namespace Lx::Api {

bool EscribirTodo(int fd, std::string_view datos) {
    while (!datos.empty()) {
        const ssize_t n = write(fd, datos.data(), datos.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        datos.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

}  // namespace Lx::Api
