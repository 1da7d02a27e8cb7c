// One connection to the card in a reader, one transaction long.
#pragma once

#include <string>

#include "card/Canal.h"
#include "card/DniePerfiles.h"
#include "card/LxIso7816.h"
#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"

namespace Lx::Dnie {

// Gives everything back when it goes.
class Sesion {
  public:
    explicit Sesion(Control& control) : canal(control) {}
    Sesion(const Sesion&) = delete;
    Sesion& operator=(const Sesion&) = delete;

    // All readers, none being a failure. On false `fallo` says why.
    [[nodiscard]] bool ListarLectores(std::vector<std::string>& lectores, Aviso& fallo);
    // An empty name becomes that of the reader to prefer.
    [[nodiscard]] bool ElegirLector(std::string& lector, Aviso& fallo);
    // Context, card, transaction and answer to reset.
    [[nodiscard]] bool Conectar(const std::string& lector, Aviso& fallo);
    // The version of the card; the reader's name decides how it is found out.
    [[nodiscard]] Perfil Identificar();
    // The selections in order. False at the first obligatory one that fails; its status word is the card's.
    [[nodiscard]] bool Abrir(const std::vector<Apertura>& apertura);
    // Keeps the first explanation of a failure of the card, from its last status word.
    void NotaFallo();
    // A failure as it is to be told: when the job has left the card, or the card the job, that is the reason.
    [[nodiscard]] Aviso Fallo(Motivo motivo, std::string frase) const;

    Pcsc::Canal canal;
    Iso7816::CCard tarjeta;
    std::string atrHex;
    std::string nota;
    long codigo = 0;  // the service's, after a Conectar that failed
    bool sinContacto = false;

  private:
    [[nodiscard]] bool Rendirse(long code, bool deContexto, Aviso& fallo);
};

}  // namespace Lx::Dnie
