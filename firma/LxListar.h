// The certificates that a person can choose from, and which of them is meant.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"
#include "firma/LxAptitud.h"
#include "firma/LxTrabajo.h"

namespace Lx::Firma {

struct Certificados {
    CertStore::Listado listado;
    std::vector<Aptitud> aptitudes;  // one for each entry
    // Why something that was asked for by name could not be read: the PKCS#12 file, the card of a named reader.
    Lx::Aviso fallo;
};

class Listar : public Trabajo {
  public:
    // With a PKCS#12 file in `ctx` and a question for its password, that is asked for, again while it doesn't open the
    // file (three times at most); else the password of `ctx` is the only one. `nombrada`: `ctx` names the reader or
    // the file because a person did, and what can't be read of it is a failure. With `anterior` the card alone is
    // listed, the rest is as it was.
    Listar(const CertStore::Contexto& ctx, Preguntas preguntas, bool nombrada, const Certificados* anterior = nullptr);

    void Hacer() override;
    [[nodiscard]] const Certificados& Respuesta() const { return respuesta_; }
    // With the password that opened the file.
    [[nodiscard]] const CertStore::Contexto& Contexto() const { return ctx_; }

  private:
    void Preguntar();
    void ListarUnaVez();
    [[nodiscard]] bool FicheroLegible();
    void MirarNombrados();

    CertStore::Contexto ctx_;
    Preguntas preguntas_;
    bool nombrada_;
    std::optional<CertStore::Listado> anterior_;
    Certificados respuesta_;
};

struct Peticion {
    std::optional<std::string> cual;          // a number of the list (from 1), a serial number, a part of the name
    std::optional<CertStore::Origen> pedido;  // the source that the person named
    std::vector<Lx::Motivo> aunque;           // what may speak against it, for one that was named
};

struct Eleccion {
    int indice = -1;             // in the list; -1: none
    CertStore::Entrada elegida;  // as it signs: by the named file, when that has its key too
    Lx::Aviso fallo;
    Lx::Aviso aviso;  // what was accepted by name
};

// Without `cual` the only fit certificate of the source that was named, else of all. Never another one than the card's
// for signing when there is a card: what speaks against that one, or kept it from being read, is the failure.
[[nodiscard]] Eleccion Elegir(const Certificados& certificados, const Peticion& peticion, int64_t ahora);

}  // namespace Lx::Firma
