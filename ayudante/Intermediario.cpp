#include "ayudante/Intermediario.h"

#include <fcntl.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <system_error>
#include <utility>

#include "ayudante/Carpetas.h"

namespace Lx::Ayudante {
namespace {

using Api::Descriptor;

std::string EnProc(const Descriptor& d) {
    return "/proc/self/fd/" + std::to_string(d.Valor());
}

// Where an open descriptor leads, without links.
std::string RutaReal(const Descriptor& d) {
    char ruta[PATH_MAX];
    const ssize_t n = readlink(EnProc(d).c_str(), ruta, sizeof ruta);
    return n > 0 && n < static_cast<ssize_t>(sizeof ruta) ? std::string(ruta, static_cast<size_t>(n)) : std::string();
}

// False when only `fin` has something to say, or when the other side has gone.
bool Esperar(const Descriptor& d, const Descriptor& fin) {
    pollfd mirados[] = {{fin.Valor(), POLLIN, 0}, {d.Valor(), POLLIN, 0}};
    int listos = -1;
    do listos = poll(mirados, 2, -1);
    while (listos < 0 && errno == EINTR);
    return listos > 0 && (mirados[1].revents & POLLIN) != 0;
}

// The descriptor that comes with one message.
Descriptor RecibirEscucha(const Descriptor& canal) {
    char byte = 0;
    iovec parte{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr mensaje{};
    mensaje.msg_iov = &parte;
    mensaje.msg_iovlen = 1;
    mensaje.msg_control = control;
    mensaje.msg_controllen = sizeof control;
    if (recvmsg(canal.Valor(), &mensaje, MSG_CMSG_CLOEXEC | MSG_DONTWAIT) != 1) return Descriptor();
    const cmsghdr* const cabecera = CMSG_FIRSTHDR(&mensaje);
    if (cabecera == nullptr || cabecera->cmsg_level != SOL_SOCKET || cabecera->cmsg_type != SCM_RIGHTS ||
        cabecera->cmsg_len != CMSG_LEN(sizeof(int)))
        return Descriptor();
    int fd = -1;
    std::memcpy(&fd, CMSG_DATA(cabecera), sizeof fd);
    return Descriptor(fd);
}

class Servicio {
  public:
    Servicio(Descriptor canal, Descriptor memoria, Descriptor fin)
        : canal_(std::move(canal)), memoria_(std::move(memoria)), fin_(std::move(fin)) {}

    void Servir() {
        const char listo = 1;
        if (send(canal_.Valor(), &listo, 1, MSG_NOSIGNAL) != 1 || !Esperar(canal_, fin_)) return;
        escucha_ = RecibirEscucha(canal_);
        if (!escucha_) return;
        carpetas_ = CarpetasPermitidas();
        while (Esperar(escucha_, fin_) && Atender()) {
        }
    }

  private:
    bool Atender() const;
    [[nodiscard]] Descriptor Abrir(const seccomp_notif& aviso, int& error) const;
    [[nodiscard]] bool LeerRuta(uint64_t direccion, std::string& ruta) const;

    Descriptor canal_, memoria_, fin_, escucha_;
    std::vector<std::string> carpetas_;
};

// False when what we listen to is no such thing any more. A helper that has gone meanwhile is no fault: then the answer
// doesn't arrive, and waiting for the next one tells the rest.
bool Servicio::Atender() const {
    seccomp_notif aviso{};
    if (ioctl(escucha_.Valor(), SECCOMP_IOCTL_NOTIF_RECV, &aviso) != 0) return errno == ENOENT || errno == EINTR;
    int error = EACCES;
    const Descriptor fichero = Abrir(aviso, error);
    if (fichero) {
        seccomp_notif_addfd entrega{};
        entrega.id = aviso.id;
        entrega.flags = SECCOMP_ADDFD_FLAG_SEND;
        entrega.srcfd = static_cast<uint32_t>(fichero.Valor());
        entrega.newfd_flags = O_CLOEXEC;
        if (ioctl(escucha_.Valor(), SECCOMP_IOCTL_NOTIF_ADDFD, &entrega) >= 0) return true;
        error = errno;
    }
    seccomp_notif_resp respuesta{};
    respuesta.id = aviso.id;
    respuesta.error = -error;
    ioctl(escucha_.Valor(), SECCOMP_IOCTL_NOTIF_SEND, &respuesta);
    return true;
}

// A helper that waits for this one call can't change the name meanwhile. Whatever else it wants to do with the file, it
// gets it for reading.
Descriptor Servicio::Abrir(const seccomp_notif& aviso, int& error) const {
    const size_t cual = aviso.data.nr == SYS_openat ? 1 : 0;
    std::string ruta;
    if (LeerRuta(aviso.data.args[cual], ruta)) return AbrirPermitido(ruta, aviso.data.args[cual + 1], carpetas_, error);
    error = EFAULT;
    return Descriptor();
}

// A name that ends where memory does, or isn't ended at all, is none.
bool Servicio::LeerRuta(uint64_t direccion, std::string& ruta) const {
    char datos[PATH_MAX];
    const ssize_t n = pread(memoria_.Valor(), datos, sizeof datos, static_cast<off_t>(direccion));
    const void* const cero = n > 0 ? std::memchr(datos, 0, static_cast<size_t>(n)) : nullptr;
    if (cero == nullptr) return false;
    ruta = datos;
    return true;
}

}  // namespace

std::vector<std::string> CarpetasPermitidas() {
    std::vector<std::string> carpetas;
    for (const char* carpeta : kCarpetas) {
        const Descriptor abierta(open(carpeta, O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!abierta) continue;
        carpetas.emplace_back(carpeta);
        if (std::string real = RutaReal(abierta); real.size() > 1 && real != carpeta)
            carpetas.push_back(std::move(real));
    }
    return carpetas;
}

bool EstaEn(std::string_view ruta, const std::vector<std::string>& carpetas) {
    for (const std::string& carpeta : carpetas)
        if (ruta.substr(0, carpeta.size()) == carpeta && (ruta.size() == carpeta.size() || ruta[carpeta.size()] == '/'))
            return true;
    return false;
}

// By its name first: who asks for other places isn't told what is there, and nothing there is touched. Then by where it
// leads, before it is opened: opening a device or a pipe does something to it.
Descriptor AbrirPermitido(const std::string& ruta, uint64_t banderas, const std::vector<std::string>& carpetas,
                          int& error) {
    error = EACCES;
    if (!EstaEn(ruta, carpetas) || ruta.find("/..") != ruta.npos) return Descriptor();
    const Descriptor lugar(open(ruta.c_str(), O_PATH | O_CLOEXEC));
    struct stat datos {};
    if (!lugar) {
        error = errno;
        return Descriptor();
    }
    if (fstat(lugar.Valor(), &datos) != 0 || !(S_ISREG(datos.st_mode) || S_ISDIR(datos.st_mode)) ||
        !EstaEn(RutaReal(lugar), carpetas))
        return Descriptor();
    const int carpeta = static_cast<int>(banderas & O_DIRECTORY);
    Descriptor fichero(open(EnProc(lugar).c_str(), O_RDONLY | O_CLOEXEC | carpeta));
    if (!fichero) error = errno;
    return fichero;
}

Intermediario::Intermediario(Descriptor canal, pid_t ayudante) : fin_(eventfd(0, EFD_CLOEXEC)) {
    // The helper's memory, and no other's: it is held while its process lives, and it starts no second program.
    Descriptor memoria(open(("/proc/" + std::to_string(ayudante) + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    Descriptor fin(fcntl(fin_.Valor(), F_DUPFD_CLOEXEC, 0));
    seccomp_notif_sizes medidas{};
    if (!memoria || !fin || syscall(SYS_seccomp, SECCOMP_GET_NOTIF_SIZES, 0, &medidas) != 0 ||
        medidas.seccomp_notif != sizeof(seccomp_notif) || medidas.seccomp_notif_resp != sizeof(seccomp_notif_resp))
        return;
    // Signals are for the thread that started us.
    sigset_t todas, antes;
    sigfillset(&todas);
    pthread_sigmask(SIG_SETMASK, &todas, &antes);
    try {
        hilo_ = std::thread([servicio = Servicio(std::move(canal), std::move(memoria), std::move(fin))]() mutable {
            servicio.Servir();
        });
    } catch (const std::system_error&) {
        // Without a thread the channel closes, and the helper does without.
    }
    pthread_sigmask(SIG_SETMASK, &antes, nullptr);
}

Intermediario::~Intermediario() {
    const uint64_t uno = 1;
    if (!hilo_.joinable()) return;
    while (write(fin_.Valor(), &uno, sizeof uno) < 0 && errno == EINTR) {
    }
    hilo_.join();
}

}  // namespace Lx::Ayudante
