// The identity card as a job uses it: every outcome is a value with its reason, nothing is left in a global, and no
// call of the card service can hold the job for ever. Each exchange runs on a thread that the job leaves when the
// service doesn't answer; a thread that was left sends nothing more to the card, disconnects when it wakes and never
// delays the program's end.
//
// One PC/SC transaction spans each exchange, from before the first SELECT to the last answer, where the service has
// transactions: no other program can select something between our SELECT and our VERIFY. It ends with a reset of the
// card once a VERIFY was sent, else the card is left as it is.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "card/LxDnie.h"
#include "certstore/sistema/LxSistema.h"
#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"

namespace Lx::Dnie {

// What one reading of a card gave.
struct Lectura {
    std::string lector;  // the reader that was asked; empty when there is none
    std::vector<CertificadoDnie> certificados;
    bool firmaPerdida = false;  // the file of the certificate for signing could not be read, whatever else was
    std::string resumen;        // one line on what was read
    Lx::Aviso fallo;            // why there are no certificates
};

struct Firmado {
    std::vector<unsigned char> firma;  // empty on failure
    std::string nota;                  // how it was signed
    Lx::Aviso fallo;
    int intentos = -1;        // the PIN's tries after a failure; -1 when the card didn't say
    bool pinEnviado = false;  // a VERIFY went to the card
};

struct Intentos {
    int quedan = -1;  // 0 when blocked; -1 when the card doesn't say
    Lx::Aviso fallo;
};

// The card in `lector`; an empty name chooses the reader.
[[nodiscard]] Lectura LeerTarjeta(const std::string& lector, Lx::Control& control);

// As CDnie::Firmar. The job commits itself (Control::Comprometer) before the VERIFY is sent, and not before; the caller
// releases it. `pregunta` is what the fallback to the system's store may ask, after the transaction has ended.
[[nodiscard]] Firmado FirmarConTarjeta(const std::string& lector, const Lx::X509::Certificado& cert,
                                       const std::vector<unsigned char>& datos, const std::string& pin,
                                       const CertStore::PreguntaClave& pregunta, Lx::Control& control);

// Costs no try.
[[nodiscard]] Intentos ConsultarIntentos(const std::string& lector, Lx::Control& control);

// As CDnie::Diagnosticar.
[[nodiscard]] Diagnostico Diagnosticar(const std::string& lector, Lx::Control& control);

// Tells of cards that are put in or taken out, and of readers that come and go; of nothing else that happens to a
// reader, our own connections least of all. `aviso` is called on a thread of its own.
class Vigilante {
  public:
    explicit Vigilante(std::function<void()> aviso);
    // Doesn't wait for the service; `aviso` is not called again.
    ~Vigilante();
    Vigilante(const Vigilante&) = delete;
    Vigilante& operator=(const Vigilante&) = delete;

  private:
    struct Estado;
    std::shared_ptr<Estado> estado_;
};

}  // namespace Lx::Dnie
