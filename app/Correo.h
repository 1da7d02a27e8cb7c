// The way to the window's thread for other threads, as long as somebody there wants to hear of them.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "ui/LxBackend.h"

class Correo : public std::enable_shared_from_this<Correo> {
  public:
    // On the window's thread. Without a backend it is closed.
    Correo();
    Correo(const Correo&) = delete;
    Correo& operator=(const Correo&) = delete;

    // From any thread. `tarea` is done on the window's thread, unless Cerrar comes first.
    void Enviar(std::function<void()> tarea);
    // From any other thread: does `tarea` on the window's thread and waits for its end. False when it never began.
    [[nodiscard]] bool Preguntar(const std::function<void()>& tarea);
    // On the window's thread: `tarea` in `ms` milliseconds, unless Cerrar comes first.
    void Luego(unsigned ms, std::function<void()> tarea);
    // On the window's thread. Nothing that was sent begins any more; whoever waits for an answer is let go.
    void Cerrar();

  private:
    [[nodiscard]] bool Abierto();

    std::mutex cerrojo_;
    std::condition_variable cambio_;
    Lx::CAppBackend* backend_;
};
