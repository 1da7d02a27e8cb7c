// The chosen key, for one job: what is asked of the person for it, and when it is not asked again.
#pragma once

#include <string>
#include <vector>

#include "firma/LxFirmar.h"

namespace Lx::Firma {

class Firmante {
  public:
    // All must outlive it. The PIN in `ctx` is wiped as soon as it has no more use.
    Firmante(const CertStore::Entrada& elegida, CertStore::Contexto& ctx, Preguntas preguntas, Lx::Control& control);
    ~Firmante() { Olvidar(); }
    Firmante(const Firmante&) = delete;
    Firmante& operator=(const Firmante&) = delete;

    // For a card: the PIN in `ctx`. Costs no try; one that is blocked isn't asked for, one of a length that no card
    // takes isn't sent.
    [[nodiscard]] Lx::Aviso PedirPin(bool rechazado);
    // For the engine.
    [[nodiscard]] LxPdfSigner::Callback Callback();
    // After a failure: the card refused the PIN, and a person has given another one.
    [[nodiscard]] bool OtroPin();
    // The key failed and signs no more in this job: what to say of the documents left.
    [[nodiscard]] Lx::Aviso Parado() const;
    // What the key said at last.
    [[nodiscard]] const CertStore::FirmaHecha& Ultima() const { return ultima_; }

  private:
    void Olvidar();
    [[nodiscard]] bool EsTarjeta() const { return elegida_.origen == CertStore::Origen::Dnie; }
    [[nodiscard]] bool ResponderAlmacen(const std::string& almacen, int intento, bool ultimo, std::string& clave);

    const CertStore::Entrada& elegida_;
    CertStore::Contexto& ctx_;
    PaginasBloqueadas paginas_;  // a PIN and a short password stand in the record itself, a long one apart
    PaginasBloqueadas aparte_;
    PaginasBloqueadas propias_;
    Preguntas preguntas_;
    Lx::Control& control_;
    CertStore::FirmaHecha ultima_;
    bool parado_ = false;
    std::string almacen_;            // the store that was answered last
    std::string claveAlmacen_;       // with this
    bool claveAlmacenDada_ = false;  // the only answer there is has been used
    std::string agotada_;            // and why that is not enough
};

}  // namespace Lx::Firma
