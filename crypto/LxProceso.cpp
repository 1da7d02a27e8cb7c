#include "crypto/LxProceso.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "crypto/LxDescriptor.h"

namespace Lx::Api {

namespace {

using Reloj = std::chrono::steady_clock;

constexpr int kAparte = 16;         // our copies of files stand above every number that a program gets
constexpr size_t kTrozo = 4096;     // read at once
constexpr int kVueltaMs = 50;       // how soon a cancel is noticed
constexpr int kVueltaSinAviso = 5;  // the same where the system can't tell of a program's end

// --- Looking for it

[[nodiscard]] bool DeFiar(const struct stat& st) {
    return (st.st_uid == 0 || st.st_uid == geteuid()) && (st.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

[[nodiscard]] bool CarpetaDeFiar(const std::string& ruta) {
    struct stat st {};
    return ruta.starts_with('/') && stat(ruta.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && DeFiar(st);
}

[[nodiscard]] bool ProgramaDeFiar(const std::string& ruta) {
    struct stat st {};
    if (stat(ruta.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || !DeFiar(st)) return false;
    if (faccessat(AT_FDCWD, ruta.c_str(), X_OK, AT_EACCESS) != 0) return false;
    // Where a link leads to, nobody else may put another one either.
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(ruta.c_str(), nullptr), std::free);
    if (!real) return false;
    const std::string_view vista(real.get());
    return CarpetaDeFiar(std::string(vista.substr(0, std::max<size_t>(vista.rfind('/'), 1))));
}

// --- Starting it

class Acciones {
  public:
    Acciones() { posix_spawn_file_actions_init(&valor_); }
    ~Acciones() { posix_spawn_file_actions_destroy(&valor_); }
    Acciones(const Acciones&) = delete;
    Acciones& operator=(const Acciones&) = delete;

    void Abrir(int numero, int modo) {
        bien_ = bien_ && posix_spawn_file_actions_addopen(&valor_, numero, "/dev/null", modo, 0) == 0;
    }
    void Dar(int fd, int numero) { bien_ = bien_ && posix_spawn_file_actions_adddup2(&valor_, fd, numero) == 0; }
    void CerrarDesde(int numero) { bien_ = bien_ && posix_spawn_file_actions_addclosefrom_np(&valor_, numero) == 0; }
    [[nodiscard]] const posix_spawn_file_actions_t* Valor() const { return bien_ ? &valor_ : nullptr; }

  private:
    posix_spawn_file_actions_t valor_{};
    bool bien_ = true;
};

class Atributos {
  public:
    Atributos() {
        posix_spawnattr_init(&valor_);
        sigset_t ninguna, todas;
        sigemptyset(&ninguna);
        sigfillset(&todas);
        bien_ =
            posix_spawnattr_setsigmask(&valor_, &ninguna) == 0 && posix_spawnattr_setsigdefault(&valor_, &todas) == 0 &&
            posix_spawnattr_setflags(&valor_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID) == 0;
    }
    ~Atributos() { posix_spawnattr_destroy(&valor_); }
    Atributos(const Atributos&) = delete;
    Atributos& operator=(const Atributos&) = delete;
    [[nodiscard]] const posix_spawnattr_t* Valor() const { return bien_ ? &valor_ : nullptr; }

  private:
    posix_spawnattr_t valor_{};
    bool bien_ = false;
};

// --- Waiting for it

struct Recogida {
    Descriptor lector;
    BloqueSecreto* destino;
    bool abierta = true;
};

// Reads what there is without waiting. False when it doesn't fit.
[[nodiscard]] bool Leer(Recogida& r) {
    while (r.abierta) {
        const size_t n = std::min(r.destino->Libre(), kTrozo);
        char sobra = 0;
        char* hueco = n == 0 ? &sobra : r.destino->Hueco(n);
        const ssize_t leidos = read(r.lector.Valor(), hueco, std::max<size_t>(n, 1));
        if (leidos < 0 && errno == EINTR) continue;
        if (leidos < 0 && errno == EAGAIN) return true;
        if (leidos <= 0) {
            r.abierta = false;
        } else if (n == 0) {
            return false;
        } else {
            r.destino->Crecer(static_cast<size_t>(leidos));
        }
    }
    return true;
}

// A program that was started, killed and waited for at the latest by the destructor.
class Hijo {
  public:
    explicit Hijo(pid_t pid) : pid_(pid), aviso_(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}
    ~Hijo() {
        if (acabado_) return;
        kill(pid_, SIGKILL);
        Recibir(0);
    }
    Hijo(const Hijo&) = delete;
    Hijo& operator=(const Hijo&) = delete;

    [[nodiscard]] int Aviso() const { return aviso_.Valor(); }
    [[nodiscard]] bool Acabado() {
        if (!acabado_) Recibir(WNOHANG);
        return acabado_;
    }
    [[nodiscard]] Fin Resultado() const {
        return WIFEXITED(estado_) && WEXITSTATUS(estado_) == 0 ? Fin::Bien : Fin::Mal;
    }

  private:
    void Recibir(int modo) {
        pid_t recibido = 0;
        do {
            recibido = waitpid(pid_, &estado_, modo);
        } while (recibido < 0 && errno == EINTR);
        if (recibido == 0) return;
        acabado_ = true;
        if (recibido < 0) estado_ = -1;  // somebody else took its status
    }

    pid_t pid_;
    Descriptor aviso_;
    bool acabado_ = false;
    int estado_ = -1;
};

void EsperarAlgo(const Hijo& hijo, const std::vector<Recogida>& recogidas) {
    std::vector<pollfd> que{{hijo.Aviso(), POLLIN, 0}};  // poll passes over negative ones
    for (const Recogida& r : recogidas) que.push_back({r.abierta ? r.lector.Valor() : -1, POLLIN, 0});
    poll(que.data(), que.size(), hijo.Aviso() < 0 ? kVueltaSinAviso : kVueltaMs);
}

[[nodiscard]] Fin Atender(Hijo& hijo, std::vector<Recogida>& recogidas, const Control& control,
                          Reloj::time_point limite) {
    for (;;) {
        // In this order: what it wrote before its end is there when the end is seen.
        const bool acabado = hijo.Acabado();
        for (Recogida& r : recogidas)
            if (!Leer(r)) return Fin::Excede;
        if (acabado) return hijo.Resultado();
        if (control.Cancelado()) return Fin::Cancelado;
        if (Reloj::now() >= limite) return Fin::Tarde;
        EsperarAlgo(hijo, recogidas);
    }
}

}  // namespace

std::string BuscarPrograma(const std::string& nombre) {
    const char* camino = std::getenv("PATH");
    std::string_view resto = camino == nullptr ? "" : camino;
    while (!resto.empty()) {
        const size_t fin = std::min(resto.find(':'), resto.size());
        const std::string carpeta(resto.substr(0, fin));
        resto.remove_prefix(std::min(fin + 1, resto.size()));
        if (!CarpetaDeFiar(carpeta)) continue;
        const std::string ruta = carpeta + "/" + nombre;
        if (ProgramaDeFiar(ruta)) return ruta;
    }
    return {};
}

void Orden::Palabras(const std::vector<std::string>& palabras) {
    palabras_.insert(palabras_.end(), palabras.begin(), palabras.end());
}

std::string Orden::Fichero(int fd) {
    entradas_.push_back({siguiente_, fd});
    return "/dev/fd/" + std::to_string(siguiente_++);
}

std::string Orden::Recoger(BloqueSecreto& destino) {
    salidas_.push_back({siguiente_, &destino});
    return "/dev/fd/" + std::to_string(siguiente_++);
}

// The copies are out of the way of the numbers that are given away one after the other.
pid_t Orden::Arrancar(const std::vector<Entrada>& ficheros) const {
    Acciones acciones;
    acciones.Abrir(STDIN_FILENO, O_RDONLY);
    for (const int numero : {STDOUT_FILENO, STDERR_FILENO}) acciones.Abrir(numero, O_WRONLY);
    std::vector<Descriptor> copias;
    for (const Entrada& e : ficheros) {
        copias.emplace_back(fcntl(e.fd, F_DUPFD_CLOEXEC, kAparte));
        if (!copias.back()) return -1;
        acciones.Dar(copias.back().Valor(), e.numero);
    }
    acciones.CerrarDesde(siguiente_);
    const Atributos atributos;
    if (acciones.Valor() == nullptr || atributos.Valor() == nullptr) return -1;
    std::vector<char*> argv;
    for (const std::string& palabra : palabras_) argv.push_back(const_cast<char*>(palabra.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    return posix_spawn(&pid, argv[0], acciones.Valor(), atributos.Valor(), argv.data(), environ) == 0 ? pid : -1;
}

Fin Orden::Ejecutar(const Control& control, std::chrono::milliseconds plazo) const {
    if (control.Cancelado()) return Fin::Cancelado;
    std::vector<Entrada> ficheros = entradas_;
    std::vector<Recogida> recogidas;
    std::vector<Descriptor> escritores;
    for (const Salida& s : salidas_) {
        int extremos[2] = {-1, -1};
        if (pipe2(extremos, O_CLOEXEC) != 0) return Fin::NoArranca;
        recogidas.push_back({Descriptor(extremos[0]), s.destino});
        escritores.emplace_back(extremos[1]);
        if (fcntl(extremos[0], F_SETFL, O_NONBLOCK) != 0) return Fin::NoArranca;
        ficheros.push_back({s.numero, extremos[1]});
    }
    const pid_t pid = Arrancar(ficheros);
    if (pid < 0) return Fin::NoArranca;
    escritores.clear();
    Hijo hijo(pid);
    return Atender(hijo, recogidas, control, Reloj::now() + plazo);
}

}  // namespace Lx::Api
