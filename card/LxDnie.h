// The national electronic identity card (RENIEC, versions 1.0 to 3.0) by contact or contactless reader: its
// certificates, its signature and, when something fails, what to tell the user. Every call opens and closes a
// connection of its own; no failure throws. For one thread.
#pragma once

#include <string>
#include <vector>

#include "crypto/LxMotivo.h"
#include "crypto/LxX509.h"

namespace Lx::Dnie {

// One certificate of the card.
struct CertificadoDnie {
    std::string etiqueta;  // what the card uses it for
    Lx::X509::Certificado cert;
    std::string alias;     // label to show
    bool deFirma = false;  // the one for signing, by the label and the file of the card's profile

    [[nodiscard]] bool Caducado() const { return cert.Caducado(); }
    // "dd/mm/aaaa hh:mm:ss", local time.
    [[nodiscard]] std::string VencimientoTexto() const { return cert.FechaVencimiento(); }
};

// A stage of Diagnosticar.
struct Paso {
    const char* nombre = "";  // machine name: servicio, lectores, tarjeta, perfil, certificados, firma
    bool probado = false;     // false: an earlier stage failed, so this one could not run
    bool ok = false;
    std::string texto;                        // the plain result
    std::string consejo;                      // what to do about it; empty unless the stage ran and failed
    Lx::Motivo motivo = Lx::Motivo::Ninguno;  // of the failure
};

// What the card doctor found out. Fields that were not reached keep their defaults; `pasos` always holds the six
// stages.
struct Diagnostico {
    std::vector<Paso> pasos;
    std::vector<std::string> lectores;
    std::string lector;  // the one that was examined
    std::string atr;     // upper-case hex
    int perfil = 3;      // 0 to 2: card version 1.0 to 3.0; 3: not identified
    std::string modelo;
    bool sinContacto = false;
    std::vector<CertificadoDnie> certificados;  // these name the holder: not for every screen
    int intentosPin = -1;                       // tries that the PIN has left; -1: the card doesn't say
    std::string informe;                        // DiagnosticarFirma's lines
    bool puedeFirmar = false;
};

class CDnie {
  public:
    // Empty when there is none or the service fails; UltimoError says which.
    [[nodiscard]] static std::vector<std::string> ListarLectores();
    [[nodiscard]] static const char* NombreSistema();
    [[nodiscard]] static int DetectarTipo(const std::string& nombre);
    // -1 for an empty list.
    [[nodiscard]] static int PriorizarLector(const std::vector<std::string>& nombres);
    // Upper-case hex, empty on failure.
    [[nodiscard]] static std::string LeerAtr(const std::string& lector);

    // `estado` is one line: what was read, or why nothing was.
    [[nodiscard]] static std::vector<CertificadoDnie> LeerCertificados(const std::string& lector, std::string& estado);

    // RSASSA-PKCS1-v1_5 signature with SHA-256 of `datos` (the message, not its hash). With an RSA certificate it is
    // returned only when it verifies against that certificate; empty on failure. `info` is one line on how it was
    // signed, or why it wasn't. One call costs at most one try of the PIN.
    [[nodiscard]] static std::vector<unsigned char> Firmar(const std::string& lector, const Lx::X509::Certificado& cert,
                                                           const std::vector<unsigned char>& datos,
                                                           const std::string& pin, std::string& info);
    // Presents the PIN and does nothing else. A refusal costs one try; a PIN of a wrong length is not sent.
    [[nodiscard]] static bool VerificarPin(const std::string& lector, const std::string& pin, std::string& mensaje);
    // Whether the PIN has a length that is sent to a card at all; `mensaje` says so when it hasn't.
    [[nodiscard]] static bool PinAdmisible(const std::string& pin, std::string& mensaje);
    // The tries that the PIN has left, 0 when it is blocked; costs none. False when the card doesn't say.
    [[nodiscard]] static bool IntentosPin(const std::string& lector, int& intentos, std::string& mensaje);

    // The steps of a signature without a PIN, one line each in `informe`. True when only the PIN was missing.
    [[nodiscard]] static bool DiagnosticarFirma(const std::string& lector, std::string& informe);
    // All the way from the service to the signature, never with a PIN. An empty name chooses the reader.
    [[nodiscard]] static Diagnostico Diagnosticar(const std::string& lector);

    // Of the last operation; empty after a success.
    [[nodiscard]] static const std::string& UltimoError();

  private:
    static std::string error_;
};

}  // namespace Lx::Dnie
