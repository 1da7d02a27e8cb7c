// The output while it is being made. What stands under its name stays as it is until the new file is whole.
#pragma once

#include <string>

#include "crypto/LxDescriptor.h"
#include "crypto/LxInacabado.h"

namespace LxPdfSigner::Interno {

class Provisional {
  public:
    // Makes the empty file that will be `salida`: nameless in its folder where the file system can (`sinNombre`), else
    // under a dot name. It gets the permissions of what it will replace; symbolic links are followed. Where nothing can
    // be replaced (a device, a pipe, a file in a folder that may not be written) there is no such file, Directa().
    // False when `salida` can't be written at all.
    [[nodiscard]] bool Abrir(const std::string& salida, bool sinNombre);
    [[nodiscard]] bool Directa() const { return directa_; }
    // Open for reading and writing; -1 when Directa().
    [[nodiscard]] int Fd() const { return fd_.Valor(); }
    // Gives it its name, in place of whatever file has it. It must be on the disk by then.
    [[nodiscard]] bool Nombrar();

  private:
    [[nodiscard]] bool Crear(bool sinNombre);

    std::string destino_;  // where the links lead
    bool directa_ = false;
    Lx::Api::Descriptor fd_;
    Lx::Api::Inacabado conNombre_;
};

// Waits until what was written is on the disk. Devices that have no such thing are fine.
[[nodiscard]] bool AsegurarEnDisco(int fd);

}  // namespace LxPdfSigner::Interno
