// Other programs, run without a shell: words as they are, and of our open files only those that are named.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMemoria.h"

namespace Lx::Api {

// The absolute path of a program that can be trusted: in the first folder of PATH that has it, is absolute, and like
// the program belongs to root or the user and is writable by nobody else. Empty when there is none.
[[nodiscard]] std::string BuscarPrograma(const std::string& nombre);

enum class Fin : unsigned char {
    Bien,       // it ended with 0
    Mal,        // it ended otherwise
    NoArranca,  // it couldn't be started
    Excede,     // it wrote more than there is room for
    Tarde,      // it took too long
    Cancelado,
};

constexpr std::chrono::milliseconds kPlazoProceso{60000};

// One run of a program. Its standard streams are /dev/null but for what is collected; it has no terminal, so that it
// neither asks there nor gets the keyboard's interrupt, and no signal is blocked or ignored in it.
class Orden {
  public:
    explicit Orden(std::string programa) : palabras_{std::move(programa)} {}

    void Palabra(std::string palabra) { palabras_.push_back(std::move(palabra)); }
    void Palabras(const std::vector<std::string>& palabras);
    // The name by which the program opens our open file `fd`, which must stay open until the end.
    [[nodiscard]] std::string Fichero(int fd);
    // The name of a file whose content comes into `destino`.
    [[nodiscard]] std::string Recoger(BloqueSecreto& destino);
    // The same for its standard output.
    void RecogerSalida(BloqueSecreto& destino) { salidas_.push_back({1, &destino}); }

    // Starts it and waits for its end. When the job is cancelled, when there is too much output or the time is over,
    // the program is killed first; it is gone in any case. What was collected until then stays.
    [[nodiscard]] Fin Ejecutar(const Control& control, std::chrono::milliseconds plazo = kPlazoProceso) const;

  private:
    struct Entrada {
        int numero;
        int fd;
    };
    struct Salida {
        int numero;
        BloqueSecreto* destino;
    };
    [[nodiscard]] pid_t Arrancar(const std::vector<Entrada>& ficheros) const;

    std::vector<std::string> palabras_;
    std::vector<Entrada> entradas_;
    std::vector<Salida> salidas_;
    int siguiente_ = 3;
};

}  // namespace Lx::Api
