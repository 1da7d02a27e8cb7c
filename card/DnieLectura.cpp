#include "card/DnieSesion.h"
#include "card/LxDnie.h"

namespace Lx::Dnie {

namespace {

// What a file gave: bytes that hold a certificate.
struct Cand {
    const char* etiqueta;
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
            candidatos.push_back({fichero.etiqueta, std::move(datos)});
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
        uno.etiqueta = candidato.etiqueta;
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

std::vector<CertificadoDnie> CDnie::LeerCertificados(const std::string& lector, std::string& estado) {
    error_.clear();
    estado.clear();
    const auto fallo = [&estado](std::string frase) {
        error_ = estado = std::move(frase);
        return std::vector<CertificadoDnie>{};
    };
    if (lector.empty()) return fallo("Elija un lector.");
    Sesion sesion;
    std::string error;
    if (!sesion.Conectar(lector, error)) return fallo(std::move(error));
    const Perfil perfil = sesion.Identificar();
    if (perfil == Perfil::Ninguno) {
        return fallo("Tarjeta no identificada como DNIe (revise que este bien insertada/tapada)." +
                     (sesion.nota.empty() ? "" : " " + sesion.nota));
    }
    auto lista = Interpretar(Leer(sesion, RecetaDe(perfil, sesion.sinContacto)));
    if (lista.empty()) {
        sesion.NotaFallo();
        return fallo(sesion.nota + (sesion.nota.empty() ? "" : " ") + "(perfil " + Modelo(perfil) + ", " +
                     std::to_string(sesion.tarjeta.apdus) + " APDUs)");
    }
    estado = Resumen(perfil, sesion, lista.size());
    return lista;
}

}  // namespace Lx::Dnie
