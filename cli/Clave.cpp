#include "cli/Clave.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>
#include <string_view>

#include "cli/TextoTerminal.h"
#include "crypto/LxExplicar.h"

namespace Cli {

namespace {

constexpr size_t kMaximo = 1023;  // what openssl reads of a password file's line

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ > STDERR_FILENO) close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int Fd() const { return fd_; }

  private:
    int fd_;
};

bool Fallo(std::string& clave, std::string& error, std::string frase) {
    Limpiar(clave);
    error = std::move(frase);
    return false;
}

// --- One line, byte by byte: what follows it on standard input is not ours.

enum class Linea { Bien, Vacio, Larga, Nulo, Error };

// `leer` gives the next byte: 1, 0 at the end, negative on an error. `clave` never grows past its reserve, so that no
// copy of it stays behind in freed memory.
template <class Lector>
[[nodiscard]] Linea LeerLinea(Lector leer, std::string& clave) {
    clave.reserve(kMaximo);
    char c = 0;
    ssize_t n = 0;
    bool larga = false, algo = false;
    while ((n = leer(&c)) == 1 && c != '\n') {
        algo = true;
        if (clave.size() < kMaximo)
            clave += c;
        else
            larga = larga || c != '\r';
    }
    if (n < 0) return Linea::Error;
    if (n == 0 && !algo) return Linea::Vacio;
    if (!clave.empty() && clave.back() == '\r') clave.pop_back();
    if (larga) return Linea::Larga;
    return clave.find('\0') == clave.npos ? Linea::Bien : Linea::Nulo;
}

[[nodiscard]] ssize_t LeerByte(int fd, char* c) {
    ssize_t n = 0;
    do {
        n = read(fd, c, 1);
    } while (n < 0 && errno == EINTR);
    return n;
}

void AvisarSiAbierto(int fd, const std::string& fuente) {
    struct stat st {};
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & (S_IRGRP | S_IROTH)) != 0)
        Decir("Aviso: otros usuarios pueden leer " + fuente + "; protégelo con: chmod 600 " + Lx::Api::Citar(fuente));
}

// --- The terminal

constexpr int kSenales[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};
volatile sig_atomic_t g_senal = 0;

void ApuntarSenal(int senal) {
    g_senal = senal;
}

// While it lives the signals only leave a note, and only EsperarByte lets them in.
class SenalesApartadas {
  public:
    SenalesApartadas() {
        g_senal = 0;
        sigset_t bloqueadas;
        sigemptyset(&bloqueadas);
        struct sigaction apuntar {};
        apuntar.sa_handler = ApuntarSenal;
        sigemptyset(&apuntar.sa_mask);
        for (size_t i = 0; i < std::size(kSenales); ++i) {
            sigaddset(&bloqueadas, kSenales[i]);
            sigaction(kSenales[i], &apuntar, &antes_[i]);
        }
        sigprocmask(SIG_BLOCK, &bloqueadas, &mascara_);
    }
    ~SenalesApartadas() {
        for (size_t i = 0; i < std::size(kSenales); ++i) sigaction(kSenales[i], &antes_[i], nullptr);
        sigprocmask(SIG_SETMASK, &mascara_, nullptr);
    }
    SenalesApartadas(const SenalesApartadas&) = delete;
    SenalesApartadas& operator=(const SenalesApartadas&) = delete;

    // The next byte; negative as soon as there is a signal.
    [[nodiscard]] ssize_t EsperarByte(int fd, char* c) const {
        pollfd p{fd, POLLIN, 0};
        if (g_senal != 0 || ppoll(&p, 1, nullptr, &mascara_) < 0 || g_senal != 0) return -1;
        return LeerByte(fd, c);
    }

  private:
    struct sigaction antes_[std::size(kSenales)]{};
    sigset_t mascara_{};
};

class EcoApagado {
  public:
    explicit EcoApagado(int fd) : fd_(fd) {
        apagado_ = tcgetattr(fd_, &antes_) == 0;
        termios sinEco = antes_;
        sinEco.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
        sinEco.c_lflag |= ICANON | ISIG;
        apagado_ = apagado_ && tcsetattr(fd_, TCSAFLUSH, &sinEco) == 0;
    }
    ~EcoApagado() {
        if (apagado_) tcsetattr(fd_, TCSAFLUSH, &antes_);
    }
    EcoApagado(const EcoApagado&) = delete;
    EcoApagado& operator=(const EcoApagado&) = delete;
    [[nodiscard]] bool Apagado() const { return apagado_; }

  private:
    int fd_;
    bool apagado_ = false;
    termios antes_{};
};

void Mostrar(int fd, std::string_view texto) {
    if (write(fd, texto.data(), texto.size()) < 0) return;  // nothing to be done: the answer may come all the same
}

// A job in the background stops here, as reading would make it, before it touches the terminal's settings.
[[nodiscard]] bool EnPrimerPlano(int fd) {
    constexpr int kIntentos = 5;
    for (int i = 0; i < kIntentos; ++i) {
        if (tcgetpgrp(fd) == getpgrp()) return true;
        raise(SIGTTIN);
    }
    return tcgetpgrp(fd) == getpgrp();
}

// One round of asking; `senal` is what interrupted it. The echo comes back before the signals do.
[[nodiscard]] Linea PreguntarUnaVez(int fd, const std::string& pregunta, std::string& clave, int& senal) {
    const SenalesApartadas senales;
    Linea linea = Linea::Error;
    {
        const EcoApagado eco(fd);
        if (!eco.Apagado()) return Linea::Error;
        Mostrar(fd, Visible(pregunta));
        linea = LeerLinea([&](char* c) { return senales.EsperarByte(fd, c); }, clave);
        Mostrar(fd, "\n");
    }
    senal = g_senal;
    return linea;
}

[[nodiscard]] bool Juzgar(const NombreSecreto& que, Linea linea, const std::string& origen, std::string& clave,
                          std::string& error) {
    const struct {
        Linea linea;
        std::string frase;
    } frases[] = {
        {Linea::Vacio, std::string("no se dio ") + que.ninguno + " en "},
        {Linea::Larga, std::string("es demasiado ") + que.larga + " (más de 1023 bytes) " + que.el + " de "},
        {Linea::Nulo, std::string("no es texto ") + que.el + " de "},
        {Linea::Error, std::string("no se pudo leer ") + que.el + " de "},
    };
    for (const auto& f : frases)
        if (f.linea == linea) return Fallo(clave, error, f.frase + origen + ".");
    return true;
}

void QuitarMarcaUtf8(std::string& clave) {
    constexpr std::string_view kMarca = "\xEF\xBB\xBF";  // some editors put it before the first line
    if (clave.compare(0, kMarca.size(), kMarca) == 0) clave.erase(0, kMarca.size());
}

}  // namespace

bool SePregunta(const std::optional<std::string>& fuente) {
    return !fuente || (*fuente == "-" && isatty(STDIN_FILENO) != 0);
}

bool LeerClave(const NombreSecreto& que, const std::string& fuente, std::string& clave, std::string& error) {
    clave.clear();
    error.clear();
    const bool entrada = fuente == "-";
    const Descriptor f(entrada ? STDIN_FILENO : open(fuente.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (f.Fd() < 0)
        return Fallo(
            clave, error,
            std::string("no se pudo leer ") + que.el + " de " + fuente + ": " + Lx::Api::ExplicarErrno(errno) + ".");
    if (!entrada) AvisarSiAbierto(f.Fd(), fuente);
    const Linea linea = LeerLinea([&f](char* c) { return LeerByte(f.Fd(), c); }, clave);
    QuitarMarcaUtf8(clave);
    return Juzgar(que, linea, entrada ? "la entrada estándar" : fuente, clave, error);
}

bool PreguntarClave(const NombreSecreto& que, const std::string& pregunta, std::string& clave, std::string& error) {
    error.clear();
    const Descriptor tty(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (tty.Fd() < 0 || !EnPrimerPlano(tty.Fd()))
        return Fallo(clave, error,
                     std::string("no hay un terminal donde pedir ") + que.el + ": usa " + que.opcion + " FICHERO o " +
                         que.opcion + " -.");
    for (;;) {
        Limpiar(clave);
        int senal = 0;
        const Linea linea = PreguntarUnaVez(tty.Fd(), pregunta, clave, senal);
        if (senal == 0) return Juzgar(que, linea, "el terminal", clave, error);
        raise(senal);
        if (senal != SIGTSTP) return Fallo(clave, error, std::string("se interrumpió la petición ") + que.de + ".");
    }
}

}  // namespace Cli
