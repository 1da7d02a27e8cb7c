// One connection to the card in a reader.
#pragma once

#include <string>

#include "card/DniePerfiles.h"
#include "card/LxIso7816.h"

namespace Lx::Dnie {

// Disconnects the card and releases the context when it goes.
class Sesion {
  public:
    Sesion() = default;
    ~Sesion() { Cerrar(); }
    Sesion(const Sesion&) = delete;
    Sesion& operator=(const Sesion&) = delete;

    // Context, card and answer to reset. On false `error` says why and nothing stays open.
    [[nodiscard]] bool Conectar(const std::string& lector, std::string& error);
    // The version of the card; the reader's name decides how it is found out.
    [[nodiscard]] Perfil Identificar();
    // The selections in order. False at the first obligatory one that fails; its status word is the card's.
    [[nodiscard]] bool Abrir(const std::vector<Apertura>& apertura);
    // Keeps the first explanation of a failure of the card, from its last status word.
    void NotaFallo();
    void Cerrar();

    Iso7816::CCard tarjeta;
    std::string atrHex;
    std::string nota;
    long codigo = 0;  // the service's, after a Conectar that failed
    bool sinContacto = false;

  private:
    bool Rendirse(long code, std::string frase, std::string& error);
    unsigned long contexto_ = 0;
};

}  // namespace Lx::Dnie
