// A display of the test's own, with a window manager, a mouse and a keyboard, and the programs that run on it. All of
// it ends with the objects.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/apoyo/Apoyo.h"

namespace Apoyo {

// "NAME=value"; "NAME" alone takes the variable away.
using Variables = std::vector<std::string>;

// A program in the background. Its output goes to files, so that it never waits for a reader.
class CPrograma {
  public:
    CPrograma(const std::vector<std::string>& argumentos, const Variables& entorno);
    ~CPrograma();
    CPrograma(const CPrograma&) = delete;
    CPrograma& operator=(const CPrograma&) = delete;

    [[nodiscard]] std::string Texto() const;
    [[nodiscard]] std::string Errores() const;
    // The exit status, 128 and more for a signal; -1 when it still runs after the time.
    [[nodiscard]] int Esperar(int ms = 10000);
    [[nodiscard]] pid_t Pid() const { return pid_; }

  private:
    CarpetaTemporal carpeta_;
    pid_t pid_ = -1;
    int estado_ = -1;
};

class CPantalla {
  public:
    explicit CPantalla(bool bus = false);  // with a private session bus, for assistive tools
    ~CPantalla();
    CPantalla(const CPantalla&) = delete;
    CPantalla& operator=(const CPantalla&) = delete;

    [[nodiscard]] const std::string& Error() const { return error_; }
    // What a program on this display is started with: the display, and a home and a runtime folder of its own.
    [[nodiscard]] const Variables& Entorno() const { return entorno_; }

    // The visible window whose title matches the expression, active; empty when none comes.
    [[nodiscard]] std::string EsperarVentana(const std::string& titulo, int ms = 15000) const;
    // Whether no such window is left within the time.
    [[nodiscard]] bool EsperarCierre(const std::string& titulo, int ms = 10000) const;

    // Positions count from the client area of the window, without one from the screen. Buttons: 1 left, 2 middle, 3
    // right.
    void Mover(const std::string& ventana, int x, int y) const;
    void Clic(const std::string& ventana, int x, int y, int boton = 1, int veces = 1) const;
    void Arrastrar(const std::string& ventana, int x, int y, int x2, int y2) const;

    // Keys of the active window: a text, or one combination such as "ctrl+o", "Return", "shift+Tab".
    void Teclear(const std::string& texto) const;
    void Pulsar(const std::string& tecla) const;
    void Cerrar(const std::string& ventana) const;
    void Raton(std::vector<std::string> ordenes) const;  // of xdotool

    Salida EjecutarAqui(const std::vector<std::string>& argumentos) const;
    // What an assistive tool sees of the program: textos.py with these arguments.
    Salida Textos(std::vector<std::string> argumentos) const;
    // A settings portal: portal.py. For a screen with a bus.
    [[nodiscard]] CPrograma Portal() const;
    // Writes "listo" when it listens, then the line of what is shown and matches.
    [[nodiscard]] CPrograma Oyente(const std::string& patron, int segundos) const;

  private:
    // The pointer goes there; what else it does follows.
    void RatonEn(const std::string& ventana, int x, int y, const std::vector<std::string>& luego) const;

    CarpetaTemporal carpeta_;
    Variables entorno_;
    std::string error_;
    std::vector<pid_t> servicios_;
};

}  // namespace Apoyo
