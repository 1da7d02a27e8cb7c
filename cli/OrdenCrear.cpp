#include "cli/Ordenes.h"
#include "cli/Respuestas.h"
#include "cli/Senales.h"
#include "cli/TextoTerminal.h"

namespace Cli {

namespace {

int Fallo(const Lx::Aviso& fallo, int estado) {
    DecirError(fallo.frase);
    Aconsejar(fallo.motivo);
    AcabarPorSenal();
    return estado;
}

}  // namespace

int OrdenCrear(const Argumentos& a) {
    Identidad identidad;
    if (Lx::Aviso fallo = Lx::Firma::Planear("", EncargoDe(a, identidad))) return Fallo(fallo, kAlgoFallo);
    AbrirIdentidad(a, identidad);
    if (identidad.fallo) return Fallo(identidad.fallo, kSinCertificado);
    Decir("Firmando con " + Lx::Firma::NombreDe(identidad.elegida.cert) + " ...");
    Lx::Firma::FirmarDocumentos trabajo(EncargoDe(a, identidad), PreguntasDe(a));
    Correr(trabajo);
    const Lx::Firma::Firmados& firmados = trabajo.Respuesta();
    if (firmados.fallo) return Fallo(firmados.fallo, kSinCertificado);
    const LxPdfSigner::Resultado& r = firmados.documentos.front().r;
    if (r.firmado) {
        Decir("Firmado: " + r.salida + "  (" + std::to_string(r.bytes) + " bytes)" +
              (r.nota.empty() ? "" : "  [" + r.nota + "]"));
        return kBien;
    }
    Decir("No firmado: " + *a.salida + ": " + r.error);
    Aconsejar(r.motivo);
    DecirIntentos(firmados);
    AcabarPorSenal();
    return kAlgoFallo;
}

}  // namespace Cli
