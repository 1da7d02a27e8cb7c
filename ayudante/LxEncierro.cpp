#include "ayudante/LxEncierro.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "ayudante/Carpetas.h"
#include "ayudante/LxMuros.h"
#include "ayudante/LxProtocolo.h"
#include "crypto/LxDescriptor.h"

namespace Lx::Ayudante {
namespace {

using Api::Descriptor;

#if defined(__SANITIZE_ADDRESS__)
constexpr rlim_t kMemoria = RLIM_INFINITY;  // the sanitizer reserves terabytes
#else
constexpr rlim_t kMemoria = rlim_t{2} << 30;
#endif

bool Limitar(__rlimit_resource recurso, rlim_t cuanto) {
    const rlimit limite{cuanto, cuanto};
    return setrlimit(recurso, &limite) == 0;
}

// All that the first version of the kernel interface knows, and what came later for files.
constexpr uint64_t kDerechos1 = (uint64_t{LANDLOCK_ACCESS_FS_MAKE_SYM} << 1) - 1;
constexpr uint64_t kMudar2 = uint64_t{1} << 13;
constexpr uint64_t kTruncar3 = uint64_t{1} << 14;

// The version of the interface, 0 where it isn't in force. Files that come from outside are no concern of it.
int CerrarFicheros() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) return 0;
    landlock_ruleset_attr reglas{};
    reglas.handled_access_fs = kDerechos1 | (version >= 2 ? kMudar2 : 0) | (version >= 3 ? kTruncar3 : 0);
    const Descriptor conjunto(
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &reglas, sizeof reglas.handled_access_fs, 0)));
    if (!conjunto) return 0;
    for (const char* carpeta : kCarpetas) {
        const Descriptor abierta(open(carpeta, O_PATH | O_CLOEXEC));
        if (!abierta) continue;
        landlock_path_beneath_attr permiso{};
        permiso.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
        permiso.parent_fd = abierta.Valor();
        syscall(SYS_landlock_add_rule, conjunto.Valor(), LANDLOCK_RULE_PATH_BENEATH, &permiso, 0);
    }
    return syscall(SYS_landlock_restrict_self, conjunto.Valor(), 0) == 0 ? static_cast<int>(version) : 0;
}

// Who would open files has looked whether it can, and says so or closes the channel.
bool HayIntermediario(const Descriptor& canal) {
    char byte = 0;
    return read(canal.Valor(), &byte, 1) == 1;
}

bool Entregar(const Descriptor& canal, int fd) {
    char byte = 1;
    iovec parte{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof fd)] = {};
    msghdr mensaje{};
    mensaje.msg_iov = &parte;
    mensaje.msg_iovlen = 1;
    mensaje.msg_control = control;
    mensaje.msg_controllen = sizeof control;
    cmsghdr* const cabecera = CMSG_FIRSTHDR(&mensaje);
    cabecera->cmsg_level = SOL_SOCKET;
    cabecera->cmsg_type = SCM_RIGHTS;
    cabecera->cmsg_len = CMSG_LEN(sizeof fd);
    std::memcpy(CMSG_DATA(cabecera), &fd, sizeof fd);
    return sendmsg(canal.Valor(), &mensaje, MSG_NOSIGNAL) == 1;
}

// From here on the kernel stops whoever opens a file and tells the other side, which gets the means to answer. Of the
// calls that the list below allows only these two open anything.
bool CederAperturas(const Descriptor& canal) {
    scmp_filter_ctx filtro = seccomp_init(SCMP_ACT_ALLOW);
    if (filtro == nullptr) return false;
    bool cedidas = true;
    for (const int llamada : {SCMP_SYS(open), SCMP_SYS(openat)})
        cedidas = cedidas && seccomp_rule_add(filtro, SCMP_ACT_NOTIFY, llamada, 0) == 0;
    cedidas = cedidas && seccomp_load(filtro) == 0;
    // There is no way back: pages whose letters nobody opens are not to be drawn.
    const Descriptor escucha(cedidas ? seccomp_notify_fd(filtro) : -1);
    seccomp_release(filtro);
    if (cedidas && !Entregar(canal, escucha.Valor())) _exit(EXIT_FAILURE);
    return cedidas;
}

// Memory, reading and looking at files, time, its own signals, its end. Looking tells which files exist, not what is in
// them; fontconfig can't do without.
constexpr int kLlamadas[] = {SCMP_SYS(read),
                             SCMP_SYS(write),
                             SCMP_SYS(readv),
                             SCMP_SYS(pread64),
                             SCMP_SYS(close),
                             SCMP_SYS(lseek),
                             SCMP_SYS(fstat),
                             SCMP_SYS(stat),
                             SCMP_SYS(lstat),
                             SCMP_SYS(newfstatat),
                             SCMP_SYS(statx),
                             SCMP_SYS(statfs),
                             SCMP_SYS(fstatfs),
                             SCMP_SYS(access),
                             SCMP_SYS(faccessat),
                             SCMP_SYS(faccessat2),
                             SCMP_SYS(readlink),
                             SCMP_SYS(readlinkat),
                             SCMP_SYS(getdents64),
                             SCMP_SYS(getcwd),
                             SCMP_SYS(fadvise64),
                             SCMP_SYS(munmap),
                             SCMP_SYS(mremap),
                             SCMP_SYS(madvise),
                             SCMP_SYS(brk),
                             SCMP_SYS(futex),
                             SCMP_SYS(sched_yield),
                             SCMP_SYS(getpid),
                             SCMP_SYS(gettid),
                             SCMP_SYS(getuid),
                             SCMP_SYS(geteuid),
                             SCMP_SYS(getgid),
                             SCMP_SYS(getegid),
                             SCMP_SYS(getrandom),
                             SCMP_SYS(clock_gettime),
                             SCMP_SYS(clock_getres),
                             SCMP_SYS(gettimeofday),
                             SCMP_SYS(time),
                             SCMP_SYS(getrusage),
                             SCMP_SYS(uname),
                             SCMP_SYS(sysinfo),
                             SCMP_SYS(rt_sigaction),
                             SCMP_SYS(rt_sigprocmask),
                             SCMP_SYS(rt_sigreturn),
                             SCMP_SYS(sigaltstack),
                             SCMP_SYS(restart_syscall),
                             SCMP_SYS(alarm),
                             SCMP_SYS(setitimer),
                             SCMP_SYS(exit),
                             SCMP_SYS(exit_group)};

// Calls that depend on an argument: allowed where the bits `mascara` of argument `cual` are `valor`.
struct Condicionada {
    int llamada;
    unsigned cual;
    uint64_t mascara, valor;
};

bool Permitir(scmp_filter_ctx filtro) {
    constexpr uint64_t kEntero = 0xFFFFFFFF;  // the kernel looks at no more of these either
    constexpr uint64_t kEscribe = O_ACCMODE | O_CREAT | O_TRUNC;
    const Condicionada condicionadas[] = {
        {SCMP_SYS(open), 1, kEscribe, O_RDONLY},
        {SCMP_SYS(openat), 2, kEscribe, O_RDONLY},
        {SCMP_SYS(mmap), 2, PROT_EXEC, 0},
        {SCMP_SYS(mprotect), 2, PROT_EXEC, 0},
        // the document's descriptor comes with a message
        {SCMP_SYS(recvmsg), 0, kEntero, kCanal},
        {SCMP_SYS(fcntl), 1, kEntero, F_SETFD},
        {SCMP_SYS(fcntl), 1, kEntero, F_GETFD},
        {SCMP_SYS(fcntl), 1, kEntero, F_GETFL},
        // abort()
        {SCMP_SYS(tgkill), 0, kEntero, static_cast<uint64_t>(getpid())},
    };
    for (int llamada : kLlamadas) {
        const int error = seccomp_rule_add(filtro, SCMP_ACT_ALLOW, llamada, 0);
        if (error != 0) return false;
    }
    for (const Condicionada& c : condicionadas) {
        const scmp_arg_cmp igual{c.cual, SCMP_CMP_MASKED_EQ, c.mascara, c.valor};
        if (seccomp_rule_add_array(filtro, SCMP_ACT_ALLOW, c.llamada, 1, &igual) != 0) return false;
    }
    return true;
}

// What isn't allowed fails instead of killing: it isn't done either way, and a library that tries (a cache to write, a
// service to ask) goes on without it, where an end would be a page that isn't drawn after an update of that library.
bool FiltrarLlamadas() {
    scmp_filter_ctx filtro = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (filtro == nullptr) return false;
    const bool puesto = Permitir(filtro) && seccomp_load(filtro) == 0;
    seccomp_release(filtro);
    return puesto;
}

Muros Encerrarse() {
    Muros muros;
    const Descriptor canal(kIntermediario);
    const bool hay = HayIntermediario(canal);
    if (!Limitar(RLIMIT_CORE, 0) || !Limitar(RLIMIT_AS, kMemoria)) return muros;
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return muros;
    muros.landlock = CerrarFicheros();
    muros.intermediario = hay && CederAperturas(canal);
    muros.seccomp = FiltrarLlamadas();
    return muros;
}

}  // namespace

bool EncerrarseYSaludar() {
    const Muros muros = Encerrarse();
    const Saludo saludo{muros.seccomp ? 1U : 0U, muros.intermediario ? 1U : 0U, muros.landlock};
    return write(kCanal, &saludo, sizeof saludo) == static_cast<ssize_t>(sizeof saludo) && Bastan(muros);
}

}  // namespace Lx::Ayudante
