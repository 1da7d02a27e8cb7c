// A job that a person asked for: it runs on whatever thread calls Hacer, tells how far it is and can be cancelled from
// any other (its `control`), and holds its answer when Hacer has returned. Questions come through callbacks, on the
// job's thread.
#pragma once

#include <functional>
#include <string>

#include "certstore/sistema/LxSistema.h"
#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"

namespace Lx::Firma {

class Trabajo {
  public:
    Trabajo() = default;
    virtual ~Trabajo() = default;
    Trabajo(const Trabajo&) = delete;
    Trabajo& operator=(const Trabajo&) = delete;

    // Once. Throws only when memory runs out.
    virtual void Hacer() = 0;

    Lx::Control control;
};

struct PreguntaPin {
    std::string titular;
    int intentos = -1;       // the tries that the card has told, negative when it hasn't
    bool rechazado = false;  // the card refused the answer before this one
    std::string error;       // what else was wrong with it; nothing of it was sent
};

struct PreguntaPkcs12 {
    std::string ruta;
    int intento = 1;  // over 1: the one before didn't open the file
};

// Who answers. Without a callback there is nobody to ask. A reason in the answer ends the job with it;
// Motivo::Cancelado means that the person doesn't want to go on.
struct Preguntas {
    std::function<Lx::Aviso(const PreguntaPin&, std::string& pin)> pin;
    bool pinRepetible = false;  // a PIN that the card refused may be asked for again
    bool pinSiempre = false;    // also one that is blocked, which says so to the person and is not sent
    bool pinCorregible = true;  // so may one that no card takes, which costs nothing
    std::function<Lx::Aviso(const PreguntaPkcs12&, std::string& clave)> clavePkcs12;
    bool clavePkcs12Repetible = true;
    // Each call is a person's answer, or with `claveAlmacenUnica` the one that was given in advance, good for one try.
    CertStore::PreguntaClave claveAlmacen;
    bool claveAlmacenUnica = false;
};

}  // namespace Lx::Firma
