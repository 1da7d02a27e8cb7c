// Files that have no final name yet. They stand beside it under a dot name of their own and go with the object that
// made them, when the program exits, and by SIGHUP, SIGINT, SIGQUIT and SIGTERM where these end the program: a signal
// that the program handles or ignores is its own affair. What a killed program left, the next one in that folder
// removes.
#pragma once

#include <sys/types.h>

#include <string>

#include "crypto/LxDescriptor.h"

namespace Lx::Api {

class Inacabado {
  public:
    Inacabado() = default;
    ~Inacabado() { Quitar(); }
    Inacabado(const Inacabado&) = delete;
    Inacabado& operator=(const Inacabado&) = delete;

    // Makes an empty file in the folder of `destino`, open for reading and writing, with these permissions less the
    // umask. Empty, with errno set, when it can't be made. One file an object: an earlier one goes first.
    [[nodiscard]] Descriptor Crear(const std::string& destino, mode_t permisos = 0666);
    // Gives the open file `fd`, which has no name yet, such a name in the folder of `destino`. False with errno set.
    [[nodiscard]] bool Enlazar(int fd, const std::string& destino);

    // Its dot name; empty when there is none.
    [[nodiscard]] const std::string& Ruta() const { return ruta_; }
    // Gives it the name `destino` in place of whatever file has it. On false, with errno set, it stays as it was.
    [[nodiscard]] bool Renombrar(const std::string& destino);
    // The same while nobody has the name; EEXIST when it is taken.
    [[nodiscard]] bool RenombrarSinPisar(const std::string& destino);
    // From now on it is somebody else's.
    void Soltar();
    void Quitar();

    // Removes what ended programs of this user left under such names in the folder of `destino`. The files of those at
    // work stay: their descriptors hold a lock, also in a container whose process numbers say nothing here.
    static void QuitarAbandonados(const std::string& destino);

  private:
    template <typename Hacer>
    [[nodiscard]] bool Intentar(const std::string& destino, Hacer hacer);

    std::string ruta_;
    int sitio_ = -1;  // where the signal handler finds it, -1 nowhere
};

// Gives a nameless file a name that is free. False with errno set, EEXIST when it is taken.
[[nodiscard]] bool Enlazar(int fd, const std::string& ruta);

}  // namespace Lx::Api
