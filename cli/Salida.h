// The file that an order writes. It comes into being under a name of its own in the same folder and gets its final name
// only when it is whole: whatever fails before, and whatever signal comes, what was there stays and nothing new is
// left.
#pragma once

#include <string>

#include "crypto/LxInacabado.h"
#include "crypto/LxMotivo.h"

namespace Cli {

class Salida {
  public:
    Salida() = default;
    Salida(const Salida&) = delete;
    Salida& operator=(const Salida&) = delete;

    // Makes the empty file Parcial() for `destino`. On false `error` is a sentence.
    [[nodiscard]] bool Preparar(const std::string& destino, bool forzar, std::string& error);
    [[nodiscard]] const std::string& Parcial() const { return parcial_.Ruta(); }
    // Gives Parcial() its final name. On false the name was taken (`ocupado`, never with `forzar`) or can't be given;
    // Parcial() is still there.
    [[nodiscard]] bool Colocar(bool& ocupado, std::string& error);
    // Another final name in the same folder.
    void CambiarDestino(const std::string& destino) { destino_ = destino; }
    // Removes Parcial().
    void Descartar() { parcial_.Quitar(); }

  private:
    std::string destino_;
    Lx::Api::Inacabado parcial_;
    bool forzar_ = false;
};

// Whether `destino` may be written: it is a plain file that is not there yet, or may be replaced by `forzar`, and it is
// not `entrada` under whatever name (empty: no input). On false `fallo` says why.
[[nodiscard]] bool DestinoPermitido(const std::string& destino, const std::string& entrada, bool forzar,
                                    Lx::Aviso& fallo);

}  // namespace Cli
