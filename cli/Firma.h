// What every order that signs hands to the engine.
#pragma once

#include <string>

#include "certstore/LxCertStore.h"
#include "cli/Argumentos.h"
#include "signer/LxPdfSigner.h"

namespace Cli {

// The chosen key, for one run. A card or a system store that fails once is not asked again: each signature presents
// the PIN or the password anew, and a wrong one sent again would use up its tries.
class Firmante {
  public:
    // Both must outlive it. The PIN in `ctx` is wiped as soon as it has no more use.
    Firmante(const Lx::CertStore::Entrada& elegida, Lx::CertStore::Contexto& ctx) : elegida_(elegida), ctx_(ctx) {}
    ~Firmante() { Olvidar(); }
    Firmante(const Firmante&) = delete;
    Firmante& operator=(const Firmante&) = delete;

    [[nodiscard]] const Lx::CertStore::Entrada& Elegida() const { return elegida_; }
    // For the engine; this object must outlive it.
    [[nodiscard]] LxPdfSigner::Callback Callback();
    // The key failed and signs no more in this run; `motivo` is what to say of the documents left.
    [[nodiscard]] bool Parado(std::string& motivo) const;
    // What is left to say after a failure: the tries that the card's PIN has. Empty when there is nothing.
    [[nodiscard]] std::string Epilogo() const;

  private:
    void Olvidar();

    const Lx::CertStore::Entrada& elegida_;
    Lx::CertStore::Contexto& ctx_;
    bool parado_ = false;
};

[[nodiscard]] LxPdfSigner::Metadatos MetadatosDe(const Argumentos& a, const Lx::CertStore::Entrada& elegida);

// The engine's sentence with the name that the user knows in place of the unfinished file's.
[[nodiscard]] std::string ConNombreFinal(std::string frase, const std::string& parcial, const std::string& destino);

}  // namespace Cli
