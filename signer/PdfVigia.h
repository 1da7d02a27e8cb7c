// A signature as whoever watches the job sees it: its stages, and where it still can be given up.
#pragma once

#include <memory>

#include "crypto/LxControlTrabajo.h"
#include "pdf/LxFuente.h"
#include "signer/LxPdfSigner.h"

namespace LxPdfSigner::Interno {

inline constexpr const char* kFraseCancelado = "Se canceló la firma.";

// The same source, which can't be read any more once the job was cancelled: whatever reads it comes to an end. The
// control must outlive it.
[[nodiscard]] std::unique_ptr<LxPdf::Fuente> Cancelable(std::unique_ptr<LxPdf::Fuente> fuente,
                                                        const Lx::Control& control);

// The key's turn. Until it has begun the job may be cancelled; an answer of the key counts whatever happens then.
class Turno {
  public:
    Turno(const Callback& firmar, Lx::Control& control) : firmar_(firmar), control_(control) {}
    // As the callback, for a callback; it must not outlive this object.
    [[nodiscard]] Callback Funcion();
    // Says so in `r` when the job failed because it was cancelled.
    void Explicar(Resultado& r) const;

  private:
    const Callback& firmar_;
    Lx::Control& control_;
    bool contestado_ = false;  // the key signed, or said why not
};

}  // namespace LxPdfSigner::Interno
