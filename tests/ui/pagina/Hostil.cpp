// In the place of velmora-pagina: plays the document's lines, the first two when it gets it, each other one for a
// request. A line is the message in hexadecimal digits, or: "muros", which puts up the walls and greets as the real one
// does; "llena", which ends as for want of memory; "escucha", which sends who opens files something mute, and greets;
// or something to try, which is answered with the number of its error as the height, plus one.
#include <fcntl.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "ayudante/LxEncierro.h"
#include "ayudante/LxProtocolo.h"

namespace {

using namespace Lx::Ayudante;

alignas(4096) char dato[4096];

// What the call gives, negative when it fails.
long Intentar(const std::string& que, const std::string& ruta) {
    char byte = 0, nombre[] = "true";
    char* const argumentos[] = {nombre, nullptr};
    iovec aqui{&byte, 1}, alli{&byte, 1};
    uint64_t como[3] = {O_RDONLY, 0, 0};
    msghdr mensaje{};
    if (que == "socket") return socket(AF_UNIX, SOCK_STREAM, 0);
    if (que == "kill") return kill(getppid(), 0);
    if (que == "tgkill") return syscall(SYS_tgkill, getppid(), getppid(), 0);
    if (que == "ptrace") return ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr);
    if (que == "memoria") return process_vm_readv(getppid(), &aqui, 1, &alli, 1, 0);
    if (que == "execve") return execve("/bin/true", argumentos, nullptr);
    if (que == "fork") return syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0);
    if (que == "sendmsg") return send(kCanal, &byte, 0, 0);
    if (que == "recvmsg") return recvmsg(0, &mensaje, 0);
    if (que == "codigo") return mmap(nullptr, 1, PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? -1 : 0;
    if (que == "volverlo") return mprotect(&dato, 4096, PROT_READ | PROT_EXEC);
    if (que == "leer") return open(ruta.c_str(), O_RDONLY);
    if (que == "carpeta") return open(ruta.c_str(), O_RDONLY | O_DIRECTORY);
    if (que == "escribir") return open(ruta.c_str(), O_WRONLY);
    if (que == "openat2") return syscall(SYS_openat2, AT_FDCWD, ruta.c_str(), como, sizeof como);
    if (que == "sin_nombre") return syscall(SYS_openat, AT_FDCWD, 1L, O_RDONLY);
    errno = ENOSYS;
    return -1;
}

// Given for reading alone, whatever was asked. Looked at, not tried: a wall with a hole would let the file be spoilt.
bool SoloSeLee(int fd) {
    return (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY;
}

void MandarMudo() {
    const int mudo = eventfd(0, 0);
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof mudo)] = {};
    char byte = 0;
    iovec parte{&byte, 1};
    msghdr mensaje{nullptr, 0, &parte, 1, control, sizeof control, 0};
    cmsghdr* const cabecera = CMSG_FIRSTHDR(&mensaje);
    *cabecera = {CMSG_LEN(sizeof mudo), SOL_SOCKET, SCM_RIGHTS};
    std::memcpy(CMSG_DATA(cabecera), &mudo, sizeof mudo);
    if (sendmsg(kIntermediario, &mensaje, 0) < 0) _exit(1);
}

bool Decir(const std::string& linea, const Peticion& peticion) {
    if (linea == "muros") return EncerrarseYSaludar();
    if (linea == "llena") _exit(kSalidaSinMemoria);
    Saludo saludo{1, 1, 0};
    std::string mensaje(reinterpret_cast<const char*>(&saludo), sizeof saludo);
    if (linea == "escucha") {
        MandarMudo();
    } else if (linea.find_first_not_of("0123456789abcdef") == linea.npos) {
        mensaje.clear();
        for (size_t i = 0; i + 1 < linea.size(); i += 2)
            mensaje += static_cast<char>(std::strtoul(linea.substr(i, 2).c_str(), nullptr, 16));
    } else {
        const size_t blanco = linea.find(' ');
        const bool conRuta = blanco != linea.npos;
        const long hecho = Intentar(linea.substr(0, blanco), conRuta ? linea.substr(blanco + 1) : "");
        const int error = hecho < 0 ? errno : conRuta && !SoloSeLee(static_cast<int>(hecho)) ? 255 : 0;
        const Respuesta respuesta{peticion.numero, Estado::Bien, error + 1, 0, 0};
        mensaje.assign(reinterpret_cast<const char*>(&respuesta), sizeof respuesta);
    }
    return write(kCanal, mensaje.data(), mensaje.size()) >= 0;
}

// The first request, and the document that comes with it.
int RecibirDocumento(Peticion& peticion) {
    iovec parte{&peticion, sizeof peticion};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr mensaje{nullptr, 0, &parte, 1, control, sizeof control, 0};
    int documento = -1;
    if (recvmsg(kCanal, &mensaje, 0) > 0) std::memcpy(&documento, CMSG_DATA(CMSG_FIRSTHDR(&mensaje)), sizeof documento);
    return documento;
}

}  // namespace

int main() {
    struct stat datos {};
    Peticion peticion;
    const int documento = RecibirDocumento(peticion);
    if (fstat(documento, &datos) != 0) return 1;
    std::string guion(static_cast<size_t>(datos.st_size), '\0');
    if (pread(documento, guion.data(), guion.size(), 0) != datos.st_size) return 1;
    std::istringstream lineas(guion);
    std::string linea;
    for (int n = 0; std::getline(lineas, linea) && !lineas.eof(); ++n) {
        if (n > 1 && read(kCanal, &peticion, sizeof peticion) <= 0) return 0;
        if (!Decir(linea, peticion)) return 1;
    }
    return read(kCanal, &peticion, sizeof peticion) < 0 ? 1 : 0;
}
