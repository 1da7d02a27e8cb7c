// Preloaded into a program, appends one line to the file MEDIR_DISCO for each call that waits for data to reach the
// disk: the monotonic times in nanoseconds before and after it. What a disk takes for that differs by the minute, and
// is told apart from the program's own time.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

long long Ahora() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<long long>(t.tv_sec) * 1000000000LL + t.tv_nsec;
}

void Anotar(long long inicio, long long fin) {
    const char* registro = std::getenv("MEDIR_DISCO");
    if (registro == nullptr) return;
    const int fd = open(registro, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0) return;
    char linea[64];
    const int largo = std::snprintf(linea, sizeof linea, "%lld %lld\n", inicio, fin);
    // A line that is lost makes the program look slower, never faster.
    if (write(fd, linea, static_cast<size_t>(largo)) != largo) errno = EIO;
    close(fd);
}

// The system's own `nombre`, timed.
int Cronometrar(const char* nombre, int fd) {
    const auto real = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, nombre));
    const long long inicio = Ahora();
    const int estado = real(fd), guardado = errno;
    Anotar(inicio, Ahora());
    errno = guardado;
    return estado;
}

}  // namespace

extern "C" {

int fsync(int fd) {
    return Cronometrar("fsync", fd);
}

int fdatasync(int fd) {
    return Cronometrar("fdatasync", fd);
}

int syncfs(int fd) noexcept {
    return Cronometrar("syncfs", fd);
}
}
