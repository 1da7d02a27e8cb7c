// What a document is for somebody who is about to sign it, known before a certificate or a PIN is asked for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "firma/LxTrabajo.h"

namespace Lx::Firma {

// A signature as the document tells of it. Nothing of this is checked.
struct FirmaAnterior {
    std::string nombre;   // of its certificate or its /Name, fit to be shown; may be empty
    std::string momento;  // its /M as "dd/mm/aaaa hh:mm"; may be empty
    int32_t pagina = -1;  // from 0, where it is seen; -1: nowhere, or not known
    bool sello = false;   // a document time stamp
};

struct Examen {
    // Why it can't be signed, with what to do; Ninguno when it can.
    Lx::Aviso impedimento;
    // What is worth knowing before signing it: certified, damaged and rebuilt, empty signature fields, a form of
    // another kind, never executed scripts... A sentence each.
    std::vector<Lx::Aviso> avisos;
    std::vector<FirmaAnterior> firmas;
    int32_t paginas = 0;  // as the signer counts them; 0: not known
};

class Examinar : public Trabajo {
  public:
    explicit Examinar(std::string ruta) : ruta_(std::move(ruta)) {}

    void Hacer() override;
    [[nodiscard]] const Examen& Respuesta() const { return respuesta_; }

  private:
    std::string ruta_;
    Examen respuesta_;
};

// What a list of pages like "1, 3, 5-8" means in a document of `total` pages (0: not known, then only its form counts).
struct ListaPaginas {
    int32_t cuantas = 0;  // different pages that exist; 0: the list can't be used
    std::string frase;    // "3 paginas", or what is wrong and how it should be
};
[[nodiscard]] ListaPaginas LeerLista(const std::string& texto, int32_t total);

}  // namespace Lx::Firma
