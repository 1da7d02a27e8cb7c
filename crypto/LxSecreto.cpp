#include "crypto/LxSecreto.h"

#include <fcntl.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Lx {

void PrepararProceso() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDONLY);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) close(fd);
    constexpr rlimit kSinVolcado{0, 0};
    setrlimit(RLIMIT_CORE, &kSinVolcado);
}

void Limpiar(std::string& secreto) {
    secreto.resize(secreto.capacity());
    explicit_bzero(secreto.data(), secreto.size());
    secreto.clear();
}

}  // namespace Lx
