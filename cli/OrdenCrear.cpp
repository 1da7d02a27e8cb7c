#include "cli/ClaveAlmacen.h"
#include "cli/Consejos.h"
#include "cli/Firma.h"
#include "cli/Identidad.h"
#include "cli/Ordenes.h"
#include "cli/Salida.h"
#include "cli/Texto.h"

namespace Cli {

namespace {

int Fallo(const std::string& frase, int estado) {
    DecirError(frase);
    return estado;
}

}  // namespace

int OrdenCrear(const Argumentos& a) {
    std::string error;
    if (Lx::Aviso fallo; !DestinoPermitido(*a.salida, "", a.forzar, fallo)) return Fallo(fallo.frase, kAlgoFallo);
    Fuentes fuentes;
    Lx::CertStore::Entrada elegida;
    if (!AbrirIdentidad(a, fuentes, elegida, error)) return Fallo(error, kSinCertificado);
    Salida salida;
    if (!salida.Preparar(*a.salida, a.forzar, error)) return Fallo(error, kAlgoFallo);
    const ClaveAlmacen clave(a);
    Firmante firmante(elegida, fuentes.ctx);
    Decir("Firmando con " + NombreDe(elegida.cert) + " ...");
    const LxPdfSigner::Resultado r =
        LxPdfSigner::Crear(salida.Parcial(), *a.texto, elegida.cert, LxPdfSigner::kReservaPorDefecto,
                           firmante.Callback(), MetadatosDe(a, elegida));
    if (!r.firmado) {
        // The engine leaves the document without its signature; here somebody asked for a signed one.
        Decir("No firmado: " + *a.salida + ": " + ConNombreFinal(r.error, salida.Parcial(), *a.salida));
        if (const std::string consejo = ConsejoPara(r.motivo); !consejo.empty()) Decir("  Consejo: " + consejo);
        if (const std::string mas = firmante.Epilogo(); !mas.empty()) Decir(mas);
        return kAlgoFallo;
    }
    bool ocupado = false;
    if (!salida.Colocar(ocupado, error)) return Fallo(error, kAlgoFallo);
    Decir("Firmado: " + *a.salida + "  (" + std::to_string(r.bytes) + " bytes)" +
          (r.nota.empty() ? "" : "  [" + r.nota + "]"));
    return kBien;
}

}  // namespace Cli
