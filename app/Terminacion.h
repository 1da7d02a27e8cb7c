// SIGTERM, SIGINT and SIGHUP, brought to a place where more than a handler may be done.
#pragma once

#include <functional>
#include <thread>

class CTerminacion {
  public:
    // `alLlegar` is called with the signal's number, on a thread of its own. A signal that is ignored stays so. One
    // object at a time.
    explicit CTerminacion(std::function<void(int)> alLlegar);
    // What was in force before is again.
    ~CTerminacion();
    CTerminacion(const CTerminacion&) = delete;
    CTerminacion& operator=(const CTerminacion&) = delete;

  private:
    void Escuchar(int tubo);

    std::function<void(int)> alLlegar_;
    std::thread hilo_;
};
