// Runs the program that MEDIR_OPENSSL names with its own arguments and appends one line to the file MEDIR_REGISTRO: the
// monotonic times in nanoseconds just before the start and just after the end. First in PATH under the name openssl, it
// tells how much of a run's time passed inside openssl; its own start is then not counted as openssl's.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

long long Ahora() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<long long>(t.tv_sec) * 1000000000LL + t.tv_nsec;
}

}  // namespace

int main(int, char** argv) {
    const char* programa = std::getenv("MEDIR_OPENSSL");
    const char* registro = std::getenv("MEDIR_REGISTRO");
    if (programa == nullptr || registro == nullptr) return 126;
    const long long inicio = Ahora();
    pid_t hijo = 0;
    if (posix_spawn(&hijo, programa, nullptr, nullptr, argv, environ) != 0) return 127;
    int estado = 0;
    if (waitpid(hijo, &estado, 0) != hijo) return 127;
    const long long fin = Ahora();
    std::FILE* f = std::fopen(registro, "ae");
    if (f == nullptr) return 126;
    std::fprintf(f, "%lld %lld\n", inicio, fin);
    std::fclose(f);
    return WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado);
}
