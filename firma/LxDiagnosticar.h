// Whether a document could be signed with the card here and now and, if not, what to do; and what protects the program
// on this system.
#pragma once

#include <string>
#include <vector>

#include "card/LxDnie.h"
#include "firma/LxTrabajo.h"

namespace Lx::Firma {

struct Diagnostico {
    // The card's examination. Its certificate for signing is judged as for a signature: `puedeFirmar` is true only when
    // that is fit too.
    Dnie::Diagnostico tarjeta;
    Lx::Motivo motivo = Lx::Motivo::Ninguno;  // of the first stage that failed
    std::vector<std::string> protecciones;    // a line each
};

class Diagnosticar : public Trabajo {
  public:
    // An empty name chooses the reader.
    explicit Diagnosticar(std::string lector) : lector_(std::move(lector)) {}

    void Hacer() override;
    [[nodiscard]] const Diagnostico& Respuesta() const { return respuesta_; }

  private:
    std::string lector_;
    Diagnostico respuesta_;
};

// The report for people. `detalle`: with the certificates, which name the holder, and each step of a signature.
[[nodiscard]] std::string Informe(const Diagnostico& diagnostico, bool detalle);

// What must be known before a PIN is typed; empty when there is nothing.
[[nodiscard]] std::string AvisoDeIntentos(const Diagnostico& diagnostico);

// The certificate in PEM (RFC 7468, 5.1).
[[nodiscard]] std::string Pem(const X509::Certificado& cert);

}  // namespace Lx::Firma
