// What a program remembers between two signatures: reader, file, password, PIN. A secret stays only while it can still
// be of use.
#pragma once

#include <chrono>
#include <functional>

#include "certstore/sistema/LxSistema.h"

namespace Lx::Firma {

// For one thread. Locked in memory where that is allowed, and wiped when it goes.
class Recuerdo {
  public:
    using Reloj = std::chrono::steady_clock;
    static constexpr std::chrono::minutes kSinUso{5};

    Recuerdo();
    Recuerdo(const Recuerdo&) = delete;
    Recuerdo& operator=(const Recuerdo&) = delete;

    // From now on this is remembered, and nothing of what was before.
    void Guardar(const CertStore::Contexto& ctx, Reloj::time_point ahora = Reloj::now());
    // Without what is too old.
    [[nodiscard]] const CertStore::Contexto& Ver(Reloj::time_point ahora = Reloj::now());
    // The card was taken out, the PIN was refused.
    void OlvidarPin();

  private:
    void OlvidarTodo();

    PaginasBloqueadas paginas_;
    CertStore::Contexto ctx_;
    Reloj::time_point usado_{};
};

}  // namespace Lx::Firma
