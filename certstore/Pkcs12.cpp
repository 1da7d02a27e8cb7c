#include "certstore/Pkcs12.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>

#include "certstore/ClavesPem.h"
#include "certstore/Pkcs12Claves.h"
#include "crypto/LxApi.h"
#include "crypto/LxMemoria.h"
#include "crypto/LxProceso.h"

namespace Lx::CertStore {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr size_t kTopeCertificados = size_t{4} << 20;
const std::string kRotulo = "PKCS#12: ";
constexpr size_t kTopeFirma = size_t{64} << 10;

// Files of old programs (RC2, 3DES) open only when openssl is told to load the algorithms that it has given up.
const std::vector<std::string> kModos[] = {{}, {"-legacy"}};

// A name that begins like an option, or is "-" alone, is a file all the same.
[[nodiscard]] std::string ComoFichero(const std::string& ruta) {
    return ruta.starts_with('-') ? "./" + ruta : ruta;
}

[[nodiscard]] Api::Orden OrdenPkcs12(const std::string& openssl, const std::string& ruta, const FicheroMemoria& clave) {
    Api::Orden orden(openssl);
    orden.Palabras({"pkcs12", "-in", ComoFichero(ruta), "-passin", "file:" + orden.Fichero(clave.Valor())});
    return orden;
}

// The certificates of the file, from whichever try gives some.
[[nodiscard]] std::vector<Bytes> LeerCertificados(const std::string& openssl, const std::string& ruta,
                                                  const FicheroMemoria& clave, const Control& control) {
    std::vector<Bytes> certificados;
    BloqueSecreto salida(kTopeCertificados);
    for (const auto& modo : kModos) {
        Api::Orden orden = OrdenPkcs12(openssl, ruta, clave);
        orden.Palabras({"-nokeys", "-clcerts"});
        orden.Palabras(modo);
        orden.RecogerSalida(salida);
        const bool bien = orden.Ejecutar(control) == Api::Fin::Bien;
        std::vector<Bytes> leidos = CertificadosPem(salida.Ver());
        salida.Vaciar();
        if (!leidos.empty()) certificados = std::move(leidos);
        if (bien && !certificados.empty()) break;
    }
    return certificados;
}

[[nodiscard]] bool ExtraerClaves(const std::string& openssl, const std::string& ruta, const FicheroMemoria& clave,
                                 BloqueSecreto& pem, const Control& control) {
    return std::any_of(std::begin(kModos), std::end(kModos), [&](const auto& modo) {
        pem.Vaciar();
        Api::Orden orden = OrdenPkcs12(openssl, ruta, clave);
        orden.Palabras({"-nocerts", "-nodes", "-out", orden.Recoger(pem)});
        orden.Palabras(modo);
        return orden.Ejecutar(control) == Api::Fin::Bien;
    });
}

[[nodiscard]] std::string NombreFichero(const std::string& ruta) {
    const size_t barra = ruta.find_last_of("/\\");
    return barra == ruta.npos ? ruta : ruta.substr(barra + 1);
}

// Adds those that are certificates; how many.
[[nodiscard]] size_t Anotar(const std::vector<Bytes>& certificados, const std::vector<ClavePem>& claves,
                            const std::string& etiqueta, std::vector<Entrada>& lista) {
    const size_t antes = lista.size();
    for (const Bytes& der : certificados) {
        Entrada e;
        if (!X509::Parsear(der, e.cert)) continue;
        e.origen = Origen::Pkcs12;
        e.etiqueta = etiqueta;
        e.conClave = ClaveDe(claves, e.cert) != nullptr;
        lista.push_back(std::move(e));
    }
    return lista.size() - antes;
}

[[nodiscard]] Aviso Cancelada() {
    return {Motivo::Cancelado, "operación cancelada por el usuario."};
}

[[nodiscard]] FuenteListada SinCertificados(FuenteListada fuente, const Control& control, Aviso fallo) {
    fuente.fallo = control.Cancelado() ? Cancelada() : std::move(fallo);
    fuente.texto = kRotulo + fuente.fallo.frase;
    return fuente;
}

[[nodiscard]] FirmaHecha SinFirma(const Control& control, Aviso fallo) {
    FirmaHecha hecha;
    hecha.fallo = control.Cancelado() ? Cancelada() : std::move(fallo);
    return hecha;
}

// What openssl made is the answer, not how it ended.
[[nodiscard]] FirmaHecha FirmarConClave(const std::string& openssl, std::string_view pem, const Bytes& datos,
                                        Control& control) {
    FicheroMemoria clave, mensaje;
    if (!clave.Crear({pem, "\n"}) || !mensaje.Crear({{reinterpret_cast<const char*>(datos.data()), datos.size()}}))
        return SinFirma(control, {Motivo::SinTemporal, "no se pudo escribir un temporal."});
    if (!control.SeguirComprometido()) return SinFirma(control, Cancelada());
    control.Pasar(Etapa::Clave);
    BloqueSecreto firma(kTopeFirma);
    Api::Orden orden(openssl);
    orden.Palabras({"dgst", "-sha256", "-sign", orden.Fichero(clave.Valor()), "-out", orden.Recoger(firma),
                    orden.Fichero(mensaje.Valor())});
    static_cast<void>(orden.Ejecutar(control));
    FirmaHecha hecha;
    hecha.firma.assign(firma.Ver().begin(), firma.Ver().end());
    if (hecha.firma.empty()) hecha.fallo = {Motivo::ClaveNoFirma, "openssl no pudo firmar con la clave del PKCS#12."};
    return hecha;
}

}  // namespace

// Only a yes is remembered: the user may install the program while this one runs.
std::string RutaOpenssl(const Control& control) {
    static std::mutex cerrojo;
    static std::string recordada;
    const std::lock_guard guarda(cerrojo);
    if (!recordada.empty()) return recordada;
    const std::string ruta = Api::BuscarPrograma("openssl");
    if (ruta.empty()) return {};
    Api::Orden version(ruta);
    version.Palabra("version");
    if (version.Ejecutar(control) != Api::Fin::Bien) return {};
    recordada = ruta;
    return ruta;
}

Aviso LeerClaves(const std::string& openssl, const std::string& ruta, const std::string& clave, BloqueSecreto& pem,
                 const Control& control) {
    FicheroMemoria fichero;
    if (!fichero.Crear({clave, "\n"})) return {Motivo::SinTemporal, "no se pudo crear un temporal para la contraseña."};
    if (ExtraerClaves(openssl, ruta, fichero, pem, control)) return {};
    return {Motivo::Pkcs12NoAbre, "openssl no pudo abrir el PKCS#12 (contraseña incorrecta o fichero dañado)."};
}

FuenteListada ListarPkcs12(const Contexto& ctx, std::vector<Entrada>& lista, Control& control) {
    FuenteListada f;
    f.origen = Origen::Pkcs12;
    f.quien = ctx.rutaPkcs12;
    control.Pasar(Etapa::Pkcs12);
    if (!Api::FileExists(ctx.rutaPkcs12))
        return SinCertificados(f, control, {Motivo::Pkcs12NoExiste, "no existe el fichero " + ctx.rutaPkcs12});
    const std::string openssl = RutaOpenssl(control);
    if (openssl.empty())
        return SinCertificados(
            f, control, {Motivo::SinOpenssl, "para leer el PKCS#12 hace falta el programa 'openssl' en el PATH."});
    FicheroMemoria clave;
    if (!clave.Crear({ctx.clavePkcs12, "\n"}))
        return SinCertificados(f, control, {Motivo::SinTemporal, "no se pudo crear un temporal para la contraseña."});
    const std::vector<Bytes> certificados = LeerCertificados(openssl, ctx.rutaPkcs12, clave, control);
    if (certificados.empty())
        return SinCertificados(
            f, control,
            {Motivo::Pkcs12NoAbre,
             "openssl no extrajo ningun certificado del PKCS#12 (contraseña incorrecta o fichero dañado)."});

    BloqueSecreto pem(kTopeClaves);
    f.fallo = LeerClaves(openssl, ctx.rutaPkcs12, ctx.clavePkcs12, pem, control);
    if (control.Cancelado()) return SinCertificados(f, control, {});
    f.texto = kRotulo + std::to_string(certificados.size()) + " certificado(s) del PKCS#12";
    if (f.fallo) f.texto += " (sin clave privada: " + f.fallo.frase + ")";
    const std::vector<ClavePem> claves = f.fallo ? std::vector<ClavePem>() : ClavesPem(pem.Ver());
    if (claves.empty() && !f.fallo) f.fallo = {Motivo::SinClave, "el PKCS#12 no tiene ninguna clave privada."};
    f.cuantos = Anotar(certificados, claves, "PFX · " + NombreFichero(ctx.rutaPkcs12), lista);
    return f;
}

FirmaHecha FirmarPkcs12(const Contexto& ctx, const X509::Certificado& cert, const Bytes& datos, Control& control) {
    if (ctx.rutaPkcs12.empty()) return SinFirma(control, {Motivo::Pkcs12NoExiste, "no hay ruta del PKCS#12."});
    control.Pasar(Etapa::Pkcs12);
    const std::string openssl = RutaOpenssl(control);
    if (openssl.empty()) return SinFirma(control, {Motivo::SinOpenssl, "falta el programa 'openssl' en el PATH."});
    BloqueSecreto pem(kTopeClaves);
    if (Aviso fallo = LeerClaves(openssl, ctx.rutaPkcs12, ctx.clavePkcs12, pem, control))
        return SinFirma(control, std::move(fallo));
    const std::vector<ClavePem> claves = ClavesPem(pem.Ver());
    if (claves.empty())
        return SinFirma(control, {Motivo::SinClave, "openssl no pudo firmar con la clave del PKCS#12."});
    const ClavePem* clave = ClaveDe(claves, cert);
    if (clave == nullptr) return SinFirma(control, {Motivo::ClaveAjena, ""});
    return FirmarConClave(openssl, clave->pem, datos, control);
}

}  // namespace Lx::CertStore
