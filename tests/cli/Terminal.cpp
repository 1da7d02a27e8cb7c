#include "tests/cli/Terminal.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace PruebaCli {

constexpr int kPaciencia = 20000;  // milliseconds; sanitizers and a loaded machine are slow
constexpr int kPaso = 20;

bool HayTerminales() {
    int maestro = -1, esclavo = -1;
    if (openpty(&maestro, &esclavo, nullptr, nullptr, nullptr) != 0) return false;
    close(maestro);
    close(esclavo);
    return true;
}

Terminal::Terminal(const std::vector<std::string>& argumentos, unsigned short columnas) {
    std::vector<char*> argv;
    for (const std::string& a : argumentos) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const winsize tamano{24, columnas, 0, 0};
    pid_ = forkpty(&fd_, nullptr, nullptr, &tamano);
    if (pid_ == 0) {
        execvp(argv[0], argv.data());
        _exit(127);
    }
}

Terminal::~Terminal() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (fd_ >= 0) close(fd_);
}

bool Terminal::LeerMas(int milisegundos) {
    pollfd p{fd_, POLLIN, 0};
    if (poll(&p, 1, milisegundos) <= 0) return false;
    char trozo[4096];
    const ssize_t n = read(fd_, trozo, sizeof trozo);
    if (n <= 0) return false;
    texto_.append(trozo, static_cast<size_t>(n));
    return true;
}

bool Terminal::Esperar(std::string_view texto) {
    for (;;) {
        if (const size_t i = texto_.find(texto, visto_); i != std::string::npos) {
            visto_ = i + texto.size();
            return true;
        }
        if (!LeerMas(kPaciencia)) return false;
    }
}

void Terminal::Contestar(std::string_view pregunta, std::string_view tecleado) {
    EXPECT_TRUE(Esperar(pregunta) && Eco(false)) << pregunta << "\n" << texto_;
    Teclear(tecleado);
}

void Terminal::Teclear(std::string_view texto) const {
    if (write(fd_, texto.data(), texto.size()) < 0) perror("write");
}

void Terminal::Senal(int senal) const {
    kill(pid_, senal);
}

bool Terminal::Eco(bool esperado) const {
    for (int i = 0; i < kPaciencia / kPaso; ++i) {
        termios t{};
        if (tcgetattr(fd_, &t) == 0 && ((t.c_lflag & ECHO) != 0) == esperado) return true;
        usleep(kPaso * 1000);
    }
    return false;
}

int Terminal::Codigo() {
    while (LeerMas(kPaciencia)) {
    }
    int estado = 0;
    for (int i = 0; i < kPaciencia / kPaso; ++i) {
        if (waitpid(pid_, &estado, WNOHANG) == pid_) {
            pid_ = -1;
            return WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado);
        }
        usleep(kPaso * 1000);
    }
    return -1;
}

}  // namespace PruebaCli
