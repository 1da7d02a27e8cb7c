#include "card/DnieLectura.h"

#include <algorithm>
#include <utility>

namespace Lx::Dnie {

namespace {

// What a file gave: bytes that hold a certificate.
struct Cand {
    Fichero fichero;
    Bytes datos;
};

bool LeerFichero(Iso7816::CCard& tarjeta, const Receta& receta, const Bytes& fid, bool conBinary, Bytes& datos) {
    if (!tarjeta.SelectFid(fid, receta.p1, receta.p2s)) return false;
    // Files that are selected by path from P1 00 end with a short chunk; the others may go on after one.
    datos = conBinary ? tarjeta.ReadBinary(receta.p1 == 0) : tarjeta.ReadDo();
    X509::Certificado cert;
    return X509::ExtraerDe(datos, cert);
}

std::vector<Cand> Leer(Sesion& sesion, const Receta& receta) {
    std::vector<Cand> candidatos;
    if (!sesion.Abrir(receta.apertura)) {
        sesion.NotaFallo();
        return candidatos;
    }
    for (const Fichero& fichero : receta.ficheros) {
        const Bytes fid = fichero.fid.Valor();
        Bytes datos;
        const bool leido =
            LeerFichero(sesion.tarjeta, receta, fid, receta.binaryPrimero, datos) ||
            (receta.dosMetodos && LeerFichero(sesion.tarjeta, receta, fid, !receta.binaryPrimero, datos));
        if (leido) {
            candidatos.push_back({fichero, std::move(datos)});
        } else {
            sesion.NotaFallo();
        }
    }
    return candidatos;
}

std::vector<CertificadoDnie> Interpretar(const std::vector<Cand>& candidatos) {
    std::vector<CertificadoDnie> lista;
    for (const Cand& candidato : candidatos) {
        CertificadoDnie uno;
        if (!X509::ExtraerDe(candidato.datos, uno.cert)) continue;
        uno.etiqueta = candidato.fichero.etiqueta;
        uno.deFirma = candidato.fichero.deFirma;
        uno.alias = uno.cert.Alias(uno.etiqueta);
        lista.push_back(std::move(uno));
    }
    return lista;
}

std::string Resumen(Perfil perfil, const Sesion& sesion, size_t cuantos) {
    return std::string(Modelo(perfil)) + (sesion.sinContacto ? " (NFC)" : "") + " · " + std::to_string(cuantos) +
           " certificado(s) · " + std::to_string(sesion.tarjeta.apdus) + " APDUs";
}

}  // namespace

void LeerFicheros(Sesion& sesion, Perfil perfil, Lectura& lectura) {
    lectura.certificados = Interpretar(Leer(sesion, RecetaDe(perfil, sesion.sinContacto)));
    lectura.firmaPerdida = std::none_of(lectura.certificados.begin(), lectura.certificados.end(),
                                        [](const CertificadoDnie& c) { return c.deFirma; });
    if (sesion.canal.Dejado()) {
        lectura.certificados.clear();
        lectura.fallo = sesion.canal.Dejado();
    } else if (lectura.certificados.empty()) {
        sesion.NotaFallo();
        lectura.fallo = sesion.Fallo(Motivo::TarjetaIlegible, sesion.nota + (sesion.nota.empty() ? "" : " ") +
                                                                  "(perfil " + Modelo(perfil) + ", " +
                                                                  std::to_string(sesion.tarjeta.apdus) + " APDUs)");
    } else {
        lectura.resumen = Resumen(perfil, sesion, lectura.certificados.size());
    }
}

Lectura LeerTarjeta(const std::string& lector, Control& control) {
    Lectura lectura;
    lectura.lector = lector;
    control.Pasar(Etapa::Lector);
    Sesion sesion(control);
    if (!sesion.ElegirLector(lectura.lector, lectura.fallo)) return lectura;
    if (!sesion.Conectar(lectura.lector, lectura.fallo)) return lectura;
    control.Pasar(Etapa::Tarjeta);
    const Perfil perfil = sesion.Identificar();
    if (perfil != Perfil::Ninguno) {
        LeerFicheros(sesion, perfil, lectura);
    } else {
        lectura.fallo = sesion.Fallo(Motivo::TarjetaAjena,
                                     "Tarjeta no identificada como DNIe (revise que este bien insertada/tapada)." +
                                         (sesion.nota.empty() ? "" : " " + sesion.nota));
    }
    return lectura;
}

}  // namespace Lx::Dnie
