// Runs one job at a time on a thread of its own, while the window goes on. All calls come from the window's thread.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "app/Correo.h"
#include "firma/LxTrabajo.h"

class CTarea {
  public:
    // How far the job is: first when it has run for long enough to be told, then again and again.
    using AlVer = std::function<void(const Lx::Control::Estado&)>;

    CTarea() = default;
    ~CTarea() { Abandonar(); }
    CTarea(const CTarea&) = delete;
    CTarea& operator=(const CTarea&) = delete;

    // Before Empezar, for a job that asks questions: they go this way. Abandons what runs.
    std::shared_ptr<Correo> Preparar();
    // Does the job that Preparar was for. `alAcabar`: it has ended, and nothing of it runs any more.
    void Empezar(std::shared_ptr<Lx::Firma::Trabajo> trabajo, AlVer alVer, std::function<void()> alAcabar);
    [[nodiscard]] bool EnMarcha() const { return trabajo_ != nullptr; }
    // Of the job that runs; all empty without one.
    [[nodiscard]] Lx::Control::Estado Ver() const;
    // False when its key is in use: it ends before it would use it again.
    bool Cancelar();
    // Cancels the job and hears no more of it. Its thread ends by itself; its answer may not be looked at.
    void Abandonar();
    // Goes on with the window until the job has ended. False when it was abandoned, or the program ends.
    [[nodiscard]] bool Esperar();

    // Threads that still run, abandoned ones too.
    [[nodiscard]] static int Hilos();

  private:
    void Tic();

    std::shared_ptr<Lx::Firma::Trabajo> trabajo_;
    std::shared_ptr<Correo> correo_;
    AlVer alVer_;
    std::atomic<bool> fin_ = false;  // for the loop that waits
    bool abandonado_ = false;
};
