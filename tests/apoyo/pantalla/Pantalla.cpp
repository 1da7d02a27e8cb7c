#include "tests/apoyo/pantalla/Pantalla.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <thread>

namespace Apoyo {

namespace {

using namespace std::chrono_literals;

bool Plazo(int ms, const std::function<bool()>& listo) {
    const auto fin = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!listo()) {
        if (std::chrono::steady_clock::now() > fin) return false;
        std::this_thread::sleep_for(30ms);
    }
    return true;
}

// Descriptor `aviso` becomes number 3 of the program when it isn't -1.
pid_t Lanzar(const std::vector<std::string>& argumentos, const Variables& entorno, const std::string& salida,
             const std::string& errores, int aviso = -1) {
    std::vector<char*> argv;
    for (const auto& a : argumentos) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid != 0) return pid;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    for (const std::string& v : entorno) {
        const size_t igual = v.find('=');
        unsetenv(v.substr(0, igual).c_str());
        if (igual != std::string::npos) setenv(v.substr(0, igual).c_str(), v.substr(igual + 1).c_str(), 1);
    }
    dup2(open("/dev/null", O_RDONLY), 0);
    dup2(open(salida.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
    dup2(open(errores.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
    if (aviso >= 0) dup2(aviso, 3);
    closefrom(aviso >= 0 ? 4 : 3);
    execvp(argv[0], argv.data());
    _exit(127);
}

int Terminar(pid_t pid) {
    int estado = -1;
    kill(pid, SIGTERM);
    if (!Plazo(4000, [&] { return waitpid(pid, &estado, WNOHANG) != 0; })) {
        kill(pid, SIGKILL);
        waitpid(pid, &estado, 0);
    }
    return estado;
}

// A service that writes a line to descriptor 3 when it is ready; the line, empty when it ends before.
std::string Servicio(const std::vector<std::string>& argumentos, const Variables& entorno, const std::string& registro,
                     std::vector<pid_t>& servicios) {
    int tubo[2];
    if (pipe2(tubo, O_CLOEXEC) != 0) return {};
    // Not 3 itself, which dup2 would leave to be closed.
    const int aviso = fcntl(tubo[1], F_DUPFD_CLOEXEC, 10);
    servicios.push_back(Lanzar(argumentos, entorno, registro, registro + ".err", aviso));
    close(tubo[1]);
    close(aviso);
    std::string linea;
    char c = 0;
    while (read(tubo[0], &c, 1) == 1 && c != '\n') linea += c;
    close(tubo[0]);
    return linea;
}

}  // namespace

CPrograma::CPrograma(const std::vector<std::string>& argumentos, const Variables& entorno)
    : pid_(Lanzar(argumentos, entorno, carpeta_ / "salida", carpeta_ / "errores")) {}

CPrograma::~CPrograma() {
    if (pid_ > 0) Terminar(pid_);
}

std::string CPrograma::Texto() const {
    return LeerFichero(carpeta_ / "salida");
}
std::string CPrograma::Errores() const {
    return LeerFichero(carpeta_ / "errores");
}

int CPrograma::Esperar(int ms) {
    int estado = 0;
    if (pid_ > 0 && Plazo(ms, [&] { return waitpid(pid_, &estado, WNOHANG) == pid_; })) {
        estado_ = WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado);
        pid_ = -1;
    }
    return estado_;
}

CPantalla::CPantalla(bool bus) {
    // Settings of the desktop that the tests run on would change what they see.
    entorno_ = {"WAYLAND_DISPLAY",          "XDG_SESSION_TYPE", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORM",
                "QT_QPA_PLATFORMTHEME",     "QT_SCALE_FACTOR",  "QT_STYLE_OVERRIDE",   "XAUTHORITY",
                "DBUS_SESSION_BUS_ADDRESS", "DESKTOP_SESSION",  "GTK_MODULES",         "XMODIFIERS"};
    for (const std::string& suya : {"HOME=" + carpeta_ / "casa", "XDG_RUNTIME_DIR=" + carpeta_ / "ejecucion",
                                    std::string("LSAN_OPTIONS=") + OPCIONES_LSAN})
        entorno_.push_back(suya);
    mkdir((carpeta_ / "casa").c_str(), 0700);
    mkdir((carpeta_ / "ejecucion").c_str(), 0700);
    const std::string numero = Servicio(
        {"Xvfb", "-displayfd", "3", "-screen", "0", "1280x960x24", "-nolisten", "tcp", "-dpi", "96", "-noreset"},
        entorno_, carpeta_ / "Xvfb", servicios_);
    if (numero.empty()) {
        error_ = "Xvfb does not start (package xvfb): " + LeerFichero(carpeta_ / "Xvfb.err");
        return;
    }
    entorno_.push_back("DISPLAY=:" + numero);
    if (bus) {
        const std::string senas = Servicio({"dbus-daemon", "--session", "--nofork", "--print-address=3"}, entorno_,
                                           carpeta_ / "bus", servicios_);
        if (senas.empty()) error_ = "dbus-daemon does not start (package dbus)";
        entorno_.insert(entorno_.end(), {"DBUS_SESSION_BUS_ADDRESS=" + senas, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"});
    }
    servicios_.push_back(Lanzar({"openbox"}, entorno_, carpeta_ / "openbox", carpeta_ / "openbox.err"));
    // Letters without a key of their own would come by a change of the keyboard in the middle of the typing.
    EjecutarAqui({"setxkbmap", "es"});
    if (!Plazo(10000, [this] { return EjecutarAqui({"xdotool", "get_desktop"}).codigo == 0; })) {
        error_ = "openbox does not start, or there is no xdotool (packages openbox, xdotool)";
    }
}

CPantalla::~CPantalla() {
    for (auto pid = servicios_.rbegin(); pid != servicios_.rend(); ++pid) Terminar(*pid);
}

Salida CPantalla::EjecutarAqui(const std::vector<std::string>& argumentos) const {
    std::vector<std::string> orden = {"env"};
    for (const std::string& v : entorno_) {
        if (v.find('=') == std::string::npos) orden.push_back("-u");
        orden.push_back(v);
    }
    orden.insert(orden.end(), argumentos.begin(), argumentos.end());
    return Ejecutar(orden);
}

Salida CPantalla::Textos(std::vector<std::string> argumentos) const {
    argumentos.insert(argumentos.begin(), {"timeout", "60", "/usr/bin/python3", "-W", "ignore", TEXTOS});
    return EjecutarAqui(argumentos);
}

CPrograma CPantalla::Portal() const {
    return CPrograma({"/usr/bin/python3", PORTAL}, entorno_);
}

CPrograma CPantalla::Oyente(const std::string& patron, int segundos) const {
    return CPrograma({"/usr/bin/python3", "-W", "ignore", TEXTOS, patron, std::to_string(segundos), "oye"}, entorno_);
}

void CPantalla::Raton(std::vector<std::string> ordenes) const {
    ordenes.insert(ordenes.begin(), {"timeout", "20", "xdotool"});
    const Salida s = EjecutarAqui(ordenes);
    if (s.codigo != 0) ADD_FAILURE() << testing::PrintToString(ordenes) << "\n" << s.errores;
}

std::string CPantalla::EsperarVentana(const std::string& titulo, int ms) const {
    std::string id;
    Plazo(ms, [&] {
        id = EjecutarAqui({"xdotool", "search", "--onlyvisible", "--name", titulo}).texto;
        id = id.substr(0, id.find('\n'));
        return !id.empty();
    });
    // Mapped isn't yet managed: the window manager may still place it.
    if (!id.empty()) Raton({"windowactivate", "--sync", id});
    return id;
}

bool CPantalla::EsperarCierre(const std::string& titulo, int ms) const {
    return Plazo(ms, [&] {
        return EjecutarAqui({"xdotool", "search", "--onlyvisible", "--name", titulo}).texto.empty();
    });
}

void CPantalla::RatonEn(const std::string& ventana, int x, int y, const std::vector<std::string>& luego) const {
    std::vector<std::string> ordenes = {"mousemove"};
    if (!ventana.empty()) ordenes.insert(ordenes.end(), {"--window", ventana});
    ordenes.insert(ordenes.end(), {std::to_string(x), std::to_string(y)});
    ordenes.insert(ordenes.end(), luego.begin(), luego.end());
    Raton(ordenes);
}

void CPantalla::Mover(const std::string& ventana, int x, int y) const {
    RatonEn(ventana, x, y, {});
}

void CPantalla::Clic(const std::string& ventana, int x, int y, int boton, int veces) const {
    RatonEn(ventana, x, y,
            {"sleep", "0.05", "click", "--repeat", std::to_string(veces), "--delay", "60", std::to_string(boton)});
}

void CPantalla::Arrastrar(const std::string& ventana, int x, int y, int x2, int y2) const {
    RatonEn(ventana, x, y, {"mousedown", "1"});
    Mover(ventana, (x + x2) / 2, (y + y2) / 2);
    RatonEn(ventana, x2, y2, {"sleep", "0.05", "mouseup", "1"});
}

void CPantalla::Teclear(const std::string& texto) const {
    Raton({"type", "--delay", "40", texto});
}
void CPantalla::Pulsar(const std::string& tecla) const {
    Raton({"key", "--clearmodifiers", tecla});
}
// "windowclose" of xdotool would destroy the window behind the program's back.
void CPantalla::Cerrar(const std::string& ventana) const {
    Raton({"windowactivate", "--sync", ventana, "key", "--clearmodifiers", "alt+F4"});
}

}  // namespace Apoyo
