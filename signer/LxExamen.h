// What signing a document would meet, found out by the engine's own planning; nothing is written and no key is needed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"

namespace LxPdfSigner {

// A signature as the document tells of it; nothing of it is checked. Its texts are fit to be shown in a line.
struct FirmaHallada {
    std::string nombre;   // common name of the certificate that the container names as the signer's, else /Name
    std::string momento;  // /M as "dd/mm/aaaa hh:mm", in local time when it says its zone
    int32_t pagina = -1;  // from 0, where it is seen; -1: nowhere, or the document doesn't say
    bool sello = false;   // a document time stamp (ISO 32000-2, 12.8.5)
};

struct Examinado {
    Lx::Aviso impedimento;  // as Firmar would say it
    std::vector<Lx::Aviso> avisos;
    std::vector<FirmaHallada> firmas;
    int32_t paginas = 0;  // 0: not known
};

// Reads what a signature reads before it asks for the key. A job that was cancelled gives Motivo::Cancelado.
[[nodiscard]] Examinado Examinar(const std::string& entrada, Lx::Control& control);

}  // namespace LxPdfSigner
