#include "tests/apoyo/tarjeta/ServicioPcsc.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

namespace Apoyo {

namespace {

using namespace std::chrono_literals;

constexpr const char* kDriver = "/usr/lib/pcsc/drivers/serial/libifdvpcd.so";

sockaddr_in Local(int puerto) {
    sockaddr_in d{};
    d.sin_family = AF_INET;
    d.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    d.sin_port = htons(static_cast<uint16_t>(puerto));
    return d;
}

bool Libre(int puerto) {
    const int s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in d = Local(puerto);
    const bool libre = bind(s, reinterpret_cast<const sockaddr*>(&d), sizeof d) == 0;
    close(s);
    return libre;
}

// The driver listens on two ports per reader, one per slot. Below the range that outgoing connections use. The driver
// takes its ports well after they were seen free: tests that run at the same time start in blocks of their own.
int PuertoLibre() {
    constexpr int kBloque = 16;
    static int siguiente = 12000 + getpid() % 1187 * kBloque;
    for (int i = 0; i < 500; ++i, siguiente += 2) {
        if (siguiente > 31000) siguiente = 12000;
        if (Libre(siguiente) && Libre(siguiente + 1)) break;
    }
    return std::exchange(siguiente, siguiente + 2);
}

int Escuchar(const std::string& ruta) {
    unlink(ruta.c_str());
    const int s = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un d{};
    d.sun_family = AF_UNIX;
    std::strncpy(d.sun_path, ruta.c_str(), sizeof d.sun_path - 1);
    if (bind(s, reinterpret_cast<const sockaddr*>(&d), sizeof d) == 0 && listen(s, 16) == 0) return s;
    close(s);
    return -1;
}

// Hands the listening socket over as a service manager does (sd_listen_fds).
[[noreturn]] void Ejecutar(int s, const std::string& carpeta) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int registro = open((carpeta + "/pcscd.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(registro, 1);
    dup2(registro, 2);
    dup2(s, 3);
    fcntl(3, F_SETFD, 0);
    setenv("LISTEN_FDS", "1", 1);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    unsetenv("LD_LIBRARY_PATH");
    execl("/usr/sbin/pcscd", "pcscd", "--foreground", "-c", (carpeta + "/conf").c_str(), nullptr);
    _exit(127);
}

bool LeerTodo(int s, unsigned char* destino, size_t n) {
    while (n > 0) {
        // The driver writes a length and its message apart: an acknowledgement held back costs 40 ms per command.
        const int si = 1;
        setsockopt(s, IPPROTO_TCP, TCP_QUICKACK, &si, sizeof si);
        const ssize_t leidos = recv(s, destino, n, 0);
        if (leidos <= 0) return false;
        destino += leidos;
        n -= static_cast<size_t>(leidos);
    }
    return true;
}

bool Enviar(int s, const Bytes& datos) {
    Bytes trama = {static_cast<unsigned char>(datos.size() >> 8), static_cast<unsigned char>(datos.size())};
    trama.insert(trama.end(), datos.begin(), datos.end());
    return send(s, trama.data(), trama.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(trama.size());
}

}  // namespace

CServicioPcsc::CServicioPcsc(const std::vector<std::string>& nombres) : nombres_(nombres) {
    const std::string& carpeta = CarpetaPrivada();
    std::error_code fallo;
    std::filesystem::remove_all(carpeta + "/conf", fallo);
    std::filesystem::create_directory(carpeta + "/conf", fallo);
    for (size_t i = 0; i < nombres.size(); ++i) {
        puertos_.push_back(PuertoLibre());
        // The driver keeps its state in globals: each reader loads a copy of its own.
        const std::string copia = carpeta + "/driver" + std::to_string(i) + ".so";
        std::filesystem::copy_file(kDriver, copia, std::filesystem::copy_options::overwrite_existing, fallo);
        if (fallo) {
            error_ = "missing " + std::string(kDriver) + " (package vsmartcard-vpcd)";
            return;
        }
        const std::string puerto = std::to_string(puertos_[i]);
        std::ofstream(carpeta + "/conf/lector" + std::to_string(i))
            << "FRIENDLYNAME \"" << nombres[i] << "\"\nDEVICENAME /dev/null:" << puerto << "\nLIBPATH " << copia
            << "\nCHANNELID " << puerto << "\n";
    }
    const std::string ruta = carpeta + "/S";
    setenv("PCSCLITE_CSOCK_NAME", ruta.c_str(), 1);
    const int s = Escuchar(ruta);
    if (s < 0 || access("/usr/sbin/pcscd", X_OK) != 0) {
        error_ = "no socket, or no /usr/sbin/pcscd (package pcscd)";
        return;
    }
    pid_ = fork();
    if (pid_ == 0) Ejecutar(s, carpeta);
    close(s);
}

void CServicioPcsc::Parar() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    for (int i = 0; i < 40 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i) {
        std::this_thread::sleep_for(50ms);
        if (i == 38) kill(pid_, SIGKILL);
    }
    pid_ = -1;
}

CInsercion::CInsercion(int puerto, Escenario escenario) : tarjeta_(std::move(escenario)) {
    hilo_ = std::thread([this, puerto] { Servir(puerto); });
}

void CInsercion::AntesDe(std::function<void(int apdu)> aviso) {
    const std::lock_guard guarda(cerrojo_);
    aviso_ = std::move(aviso);
}

void CInsercion::Retirar() {
    fuera_ = true;
    const int s = s_;
    if (s >= 0) shutdown(s, SHUT_RDWR);
    if (hilo_.joinable()) hilo_.join();
}

bool CInsercion::Esperar() const {
    for (int i = 0; i < 200 && !encendida_; ++i) std::this_thread::sleep_for(50ms);
    return encendida_;
}

void CInsercion::Servir(int puerto) {
    const sockaddr_in d = Local(puerto);
    while (!fuera_) {
        const int s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(s, reinterpret_cast<const sockaddr*>(&d), sizeof d) != 0) {
            close(s);
            std::this_thread::sleep_for(20ms);
            continue;
        }
        const int si = 1;
        setsockopt(s, IPPROTO_TCP, TCP_NODELAY, &si, sizeof si);
        s_ = s;
        unsigned char largo[2];
        bool presente = true;
        while (presente && !fuera_ && LeerTodo(s, largo, 2)) {
            Bytes mensaje(static_cast<size_t>(largo[0] << 8 | largo[1]));
            presente = LeerTodo(s, mensaje.data(), mensaje.size()) && Atender(s, mensaje);
        }
        s_ = -1;
        close(s);
        if (!presente) return;
    }
}

// False when the card leaves: an answer of no bytes would hang the reader.
bool CInsercion::Atender(int s, const Bytes& mensaje) {
    const std::lock_guard guarda(cerrojo_);
    if (mensaje.size() == 1) {
        if (mensaje[0] == 0x04) return Enviar(s, tarjeta_.Atr());
        tarjeta_.Reiniciar();
        if (mensaje[0] == 0x01) encendida_ = true;
        return true;
    }
    if (aviso_) aviso_(tarjeta_.Apdus());
    const Bytes respuesta = tarjeta_.Procesar(mensaje);
    return !respuesta.empty() && Enviar(s, respuesta);
}

}  // namespace Apoyo
