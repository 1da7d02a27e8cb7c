// A program on a terminal of its own, with somebody who reads and types.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace PruebaCli {

// A bare tree may have no /dev/pts: what needs a terminal is skipped there, and says so.
[[nodiscard]] bool HayTerminales();
constexpr const char* kSinTerminales = "there are no pseudo-terminals here (is /dev/pts mounted?)";

class Terminal {
  public:
    explicit Terminal(const std::vector<std::string>& argumentos, unsigned short columnas = 80);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Reads until `texto` came after what was waited for before; false after some seconds without it.
    [[nodiscard]] bool Esperar(std::string_view texto);
    // Waits for a question and for the silence after it, and types. Fails the test without them.
    void Contestar(std::string_view pregunta, std::string_view tecleado);
    void Teclear(std::string_view texto) const;
    void Senal(int senal) const;
    // Whether the terminal shows what is typed, now; asked again for a while until it is `esperado`.
    [[nodiscard]] bool Eco(bool esperado) const;
    // Reads to the end and returns the exit status, 128 and more for a signal.
    [[nodiscard]] int Codigo();
    // All that came.
    [[nodiscard]] const std::string& Texto() const { return texto_; }

  private:
    [[nodiscard]] bool LeerMas(int milisegundos);

    pid_t pid_ = -1;
    int fd_ = -1;
    std::string texto_;
    size_t visto_ = 0;
};

}  // namespace PruebaCli
