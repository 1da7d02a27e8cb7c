// The output while it is being made. What stands under its name stays as it is until the new file is whole.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>

#include "crypto/LxDescriptor.h"
#include "crypto/LxInacabado.h"
#include "crypto/LxMotivo.h"
#include "pdf/LxFuente.h"
#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

// The name that the output gets, and what may stand there.
struct Destino {
    std::string ruta;
    // The output is a new file under this very name, whole or not at all. Else it takes the place of whatever the name
    // leads to, through symbolic links too; where nothing can be replaced (a device, a pipe, a file in a folder that
    // may not be written) that is written to.
    bool entero = false;
    // What follows counts with `entero`.
    bool reemplazar = false;  // a regular file there may go; the new one gets its owner and permissions
    mode_t permisos = 0666;   // of a new file, less the umask
    std::function<std::string(const std::string& ocupado)> otroNombre{};  // in the same folder; empty: there is none
};

// Of the output `salida` that these options ask for; a new file is as private as `documento`.
[[nodiscard]] Destino DestinoDe(const std::string& salida, const Opciones& opciones, const LxPdf::Fuente& documento);

class Provisional {
  public:
    // Makes the empty file that will be the output: nameless in its folder where the file system can (`sinNombre`),
    // else under a dot name. What stands under the name is never opened. Not Ninguno: nothing was made, and the output
    // can't be.
    [[nodiscard]] Lx::Motivo Abrir(Destino destino, bool sinNombre);
    // There is no such file: what has the name must be written to.
    [[nodiscard]] bool Directa() const { return directa_; }
    // Open for reading and writing; -1 when Directa().
    [[nodiscard]] int Fd() const { return fd_.Valor(); }
    // The name that it will have, or has.
    [[nodiscard]] const std::string& Ruta() const { return destino_.ruta; }
    // Gives it its name; it must be on the disk by then. Not Ninguno: it has none.
    [[nodiscard]] Lx::Motivo Nombrar();

  private:
    [[nodiscard]] Lx::Motivo AbrirEntero(bool sinNombre);
    [[nodiscard]] Lx::Motivo AbrirComoSea(bool sinNombre);
    [[nodiscard]] bool Crear(bool sinNombre, mode_t permisos);
    [[nodiscard]] bool OtroNombre();
    [[nodiscard]] int Enlazar();
    [[nodiscard]] Lx::Motivo Sustituir();

    Destino destino_;
    int nombres_ = 0;  // that were asked for
    bool directa_ = false;
    Lx::Api::Descriptor fd_;
    Lx::Api::Inacabado conNombre_;
};

// Waits until what was written is on the disk. Devices that have no such thing are fine.
[[nodiscard]] bool AsegurarEnDisco(int fd);

// Sets space apart for bytes [desde, hasta) of the file, whose size stays. False only when it is known that there isn't
// enough.
[[nodiscard]] bool ReservarEspacio(int fd, uint64_t desde, uint64_t hasta);

// Starts to get `n` bytes from `desde` on to the disk, so that waiting for all of them takes less time later.
void EmpezarAVolcar(int fd, uint64_t desde, uint64_t n);

}  // namespace LxPdfSigner::Interno
