// A real card service of the test's own: pcscd with virtual readers, and virtual cards that are put into them.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/apoyo/tarjeta/TarjetaVirtual.h"

namespace Apoyo {

// Starts the service on a socket in the private folder and points this process and its children at it. One at a time.
class CServicioPcsc {
  public:
    explicit CServicioPcsc(const std::vector<std::string>& nombres);
    ~CServicioPcsc() { Parar(); }
    CServicioPcsc(const CServicioPcsc&) = delete;
    CServicioPcsc& operator=(const CServicioPcsc&) = delete;

    [[nodiscard]] const std::string& Error() const { return error_; }
    [[nodiscard]] int Puerto(size_t lector) const { return puertos_[lector]; }
    // Name of the slot that a card can be put into.
    [[nodiscard]] std::string Lector(size_t lector) const { return nombres_[lector] + " 00 00"; }
    void Parar();

  private:
    std::vector<std::string> nombres_;
    std::vector<int> puertos_;
    std::string error_;
    pid_t pid_ = -1;
};

class CInsercion {
  public:
    CInsercion(int puerto, Escenario escenario);
    ~CInsercion() { Retirar(); }
    CInsercion(const CInsercion&) = delete;
    CInsercion& operator=(const CInsercion&) = delete;

    void Retirar();
    // Whether the service has powered the card within ten seconds.
    [[nodiscard]] bool Esperar() const;
    // For looking at while no command is running.
    [[nodiscard]] const CTarjetaVirtual& Tarjeta() const { return tarjeta_; }
    // Runs in the card's thread before each command.
    void AntesDe(std::function<void(int apdu)> aviso);

  private:
    void Servir(int puerto);
    bool Atender(int s, const Bytes& mensaje);

    CTarjetaVirtual tarjeta_;
    std::function<void(int)> aviso_;
    std::mutex cerrojo_;
    std::atomic<bool> fuera_{false};
    std::atomic<bool> encendida_{false};
    std::atomic<int> s_{-1};
    std::thread hilo_;
};

}  // namespace Apoyo
