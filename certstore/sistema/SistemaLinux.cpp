#include <algorithm>
#include <cstddef>
#include <utility>

#include "certstore/sistema/AlmacenesPkcs11.h"
#include "certstore/sistema/BasesNss.h"
#include "certstore/sistema/LxPlataforma.h"
#include "certstore/sistema/LxSistema.h"
#include "certstore/sistema/TextosCkr.h"
#include "crypto/LxSecreto.h"

namespace Lx::CertStore {

namespace {

using namespace Pkcs11;

constexpr size_t kLargoClave = 256;  // room for any password, so that it is not moved while it grows
// The first browser whose library encrypts a database in a way that an older library takes for a wrong password.
constexpr int kNavegadorNuevo = 146;

[[nodiscard]] bool Bloqueado(const Token& token) {
    return (Indicadores(token) & CKF_LOGIN_REQUIRED) != 0;
}

// Whether a token has the private key, as far as it can be known without a password: a locked one shows at most the
// public key that belongs to it, or nothing but the identifier that links a certificate to its key.
class Indicios {
  public:
    Indicios(Sesion& sesion, const Token& token)
        : bloqueado_(Bloqueado(token)),
          bastaId_(bloqueado_ && !token.EsNss()),
          claves_(sesion.Claves(bloqueado_ ? CKO_PUBLIC_KEY : CKO_PRIVATE_KEY)) {}
    [[nodiscard]] bool HayClave(const Bytes& id, const Bytes& modulo, bool esCa) const {
        return ClaveDe(claves_, id, modulo) != nullptr || (bastaId_ && !esCa && !id.empty());
    }

  private:
    bool bloqueado_;
    bool bastaId_;
    std::vector<Clave> claves_;
};

struct Listado {
    std::vector<Entrada>& lista;
    size_t primero;      // what was added begins here
    bool visto = false;  // some certificate, RSA or not
};

void AnotarCertificado(Listado& l, const Bytes& der, const Bytes& id, const Indicios& indicios) {
    l.visto = true;
    Entrada e;
    Bytes modulo, exponente;
    if (!X509::Parsear(der, e.cert) || !X509::ClaveRsa(e.cert, modulo, exponente)) return;
    const bool conClave = indicios.HayClave(id, modulo, e.cert.isCA);
    const auto inicio = l.lista.begin() + static_cast<std::ptrdiff_t>(l.primero);
    const auto igual =
        std::find_if(inicio, l.lista.end(), [&e](const Entrada& otra) { return otra.cert.der == e.cert.der; });
    if (igual != l.lista.end()) {
        igual->conClave = igual->conClave || conClave;
        return;
    }
    e.origen = Origen::Sistema;
    e.etiqueta = Plataforma::kTextos.etiquetaAlmacen + (e.cert.subjectCN.empty() ? e.cert.subjectDN : e.cert.subjectCN);
    e.conClave = conClave;
    l.lista.push_back(std::move(e));
}

[[nodiscard]] CK_RV ListarToken(const Token& token, Listado& l) {
    Sesion sesion(token);
    std::vector<CK_OBJECT_HANDLE> objetos;
    CK_RV codigo = sesion.Abrir();
    if (codigo == CKR_OK) codigo = sesion.Certificados(objetos);
    if (objetos.empty()) return codigo;
    const Indicios indicios(sesion, token);
    for (const CK_OBJECT_HANDLE objeto : objetos)
        AnotarCertificado(l, sesion.Atributo(objeto, CKA_VALUE), sesion.Atributo(objeto, CKA_ID), indicios);
    return codigo;
}

[[nodiscard]] std::string ExplicarListado(const Listado& l, const Recorrido& r) {
    const std::string el = Plataforma::kTextos.elAlmacen;
    const size_t cuantos = l.lista.size() - l.primero;
    if (cuantos != 0) return std::to_string(cuantos) + " certificado(s)";
    if (l.visto) return el + " no tiene certificados RSA.";
    if (r.faltaSoftokn) return std::string("no se pudo preparar la consulta ") + Plataforma::kTextos.alAlmacen + ".";
    if (r.codigo != CKR_OK) return el + " no dejo listar los certificados (codigo " + std::to_string(r.codigo) + ").";
    return el + " no tiene certificados.";
}

struct Peticion {
    const X509::Certificado& cert;
    const Bytes& datos;
    const PreguntaClave& pregunta;
    Control& control;
    Bytes modulo;
    bool bloqueados = false;  // which tokens this walk is about
    Bytes firma;
    Aviso rechazo;  // the first one
};

// Waits for the person, and goes on as before.
[[nodiscard]] bool Preguntar(const Peticion& p, const Token& token, int intento, std::string& clave) {
    const bool ultimo = (Indicadores(token) & CKF_USER_PIN_FINAL_TRY) != 0;
    p.control.Pasar(Etapa::Persona);
    const bool contestada = p.pregunta(token.nombre, intento, ultimo, clave);
    p.control.Pasar(Etapa::Almacen);
    return contestada && !p.control.Cancelado();
}

[[nodiscard]] CK_RV PedirClave(Sesion& sesion, const Token& token, CK_USER_TYPE usuario, const Peticion& p) {
    if ((Indicadores(token) & CKF_PROTECTED_AUTHENTICATION_PATH) != 0) return sesion.Entrar(usuario, nullptr);
    if (!p.pregunta) return CKR_USER_NOT_LOGGED_IN;
    CK_RV codigo = CKR_PIN_INCORRECT;
    for (int intento = 1; intento <= kIntentosClave; ++intento) {
        Secreto clave;
        clave.Reservar(kLargoClave);
        if (!Preguntar(p, token, intento, clave.texto)) return CKR_FUNCTION_CANCELED;
        codigo = sesion.Entrar(usuario, &clave.texto);
        if (codigo != CKR_PIN_INCORRECT && codigo != CKR_PIN_LEN_RANGE && codigo != CKR_PIN_INVALID) break;
    }
    return codigo;
}

[[nodiscard]] std::string ExplicarEntrada(const Token& token, CK_RV codigo) {
    if (codigo == CKR_PIN_INCORRECT && token.EsNss() && VersionDePerfil(token.carpeta) >= kNavegadorNuevo)
        return "contraseña incorrecta, o el NSS del sistema es más antiguo que el navegador que escribió el perfil: "
               "exporta "
               "el certificado desde el navegador como PKCS#12 y firma con ese fichero.";
    return ExplicarCkr(codigo);
}

[[nodiscard]] CK_RV FirmarConClave(Sesion& sesion, const Token& token, CK_OBJECT_HANDLE clave, Peticion& p) {
    const Bytes siempre = sesion.Atributo(clave, CKA_ALWAYS_AUTHENTICATE);
    CK_RV codigo = sesion.PrepararFirma(clave);
    if (codigo == CKR_OK && !siempre.empty() && siempre[0] == CK_TRUE)
        codigo = PedirClave(sesion, token, CKU_CONTEXT_SPECIFIC, p);
    if (codigo != CKR_OK) return codigo;
    if (!p.control.SeguirComprometido()) return CKR_FUNCTION_CANCELED;
    p.control.Pasar(Etapa::Clave);
    codigo = sesion.Firmar(p.datos, p.modulo.size(), p.firma);
    // Another token may have questions.
    if (codigo != CKR_OK) p.control.Soltar();
    return codigo;
}

struct {
    CK_RV codigo;
    Motivo motivo;
} constexpr kMotivos[] = {
    {CKR_FUNCTION_CANCELED, Motivo::Cancelado},
    {CKR_CANCEL, Motivo::Cancelado},
    {CKR_PIN_INCORRECT, Motivo::ClaveDeAlmacen},
    {CKR_PIN_INVALID, Motivo::ClaveDeAlmacen},
    {CKR_PIN_LEN_RANGE, Motivo::ClaveDeAlmacen},
    {CKR_PIN_EXPIRED, Motivo::ClaveDeAlmacen},
    {CKR_PIN_LOCKED, Motivo::ClaveDeAlmacen},
    {CKR_USER_NOT_LOGGED_IN, Motivo::ClaveDeAlmacen},
    {CKR_USER_PIN_NOT_INITIALIZED, Motivo::ClaveDeAlmacen},
};

[[nodiscard]] Motivo MotivoDe(CK_RV codigo) {
    for (const auto& fila : kMotivos)
        if (fila.codigo == codigo) return fila.motivo;
    return Motivo::AlmacenNoFirma;
}

// The identifier of the certificate in this token; false when it isn't there.
[[nodiscard]] bool HallarCertificado(Sesion& sesion, const Bytes& der, Bytes& id) {
    std::vector<CK_OBJECT_HANDLE> objetos;
    if (sesion.Certificados(objetos) != CKR_OK) return false;
    for (const CK_OBJECT_HANDLE objeto : objetos) {
        if (sesion.Atributo(objeto, CKA_VALUE) != der) continue;
        id = sesion.Atributo(objeto, CKA_ID);
        return true;
    }
    return false;
}

// What this token refuses is kept as the reason, unless another one refused before.
void FirmarEnToken(const Token& token, Peticion& p) {
    Sesion sesion(token);
    Bytes id;
    if (Bloqueado(token) != p.bloqueados || sesion.Abrir() != CKR_OK || !HallarCertificado(sesion, p.cert.der, id))
        return;
    // Nobody is asked for the password of a store that has no key.
    if (!Indicios(sesion, token).HayClave(id, p.modulo, p.cert.isCA)) return;
    CK_RV codigo = p.bloqueados ? PedirClave(sesion, token, CKU_USER, p) : CKR_OK;
    std::string frase = ExplicarEntrada(token, codigo);
    if (codigo == CKR_OK) {
        const std::vector<Clave> claves = sesion.Claves(CKO_PRIVATE_KEY);
        const Clave* clave = ClaveDe(claves, id, p.modulo);
        if (clave == nullptr) return;
        codigo = FirmarConClave(sesion, token, clave->objeto, p);
        frase = ExplicarCkr(codigo);
    }
    if (codigo != CKR_OK && !p.rechazo) p.rechazo = {MotivoDe(codigo), std::move(frase)};
}

[[nodiscard]] FirmaSistema SinFirma(Motivo motivo, std::string frase) {
    return {{}, {motivo, std::move(frase)}};
}

constexpr const char* kCancelada = "operación cancelada por el usuario.";

}  // namespace

ListadoSistema LeerSistema(std::vector<Entrada>& lista, Control& control) {
    control.Pasar(Etapa::Almacen);
    Listado l{lista, lista.size(), false};
    const Recorrido r = Recorrer([&l, &control](const Token& token, bool& seguir) -> CK_RV {
        seguir = !control.Cancelado();
        return seguir ? ListarToken(token, l) : CKR_OK;
    });
    if (control.Cancelado()) return {kCancelada, {Motivo::Cancelado, kCancelada}};
    ListadoSistema listado{ExplicarListado(l, r), {}};
    if (!l.visto && (r.faltaSoftokn || r.codigo != CKR_OK)) listado.fallo = {Motivo::SinAlmacen, listado.texto};
    return listado;
}

FirmaSistema FirmarEnSistema(const X509::Certificado& cert, const std::vector<unsigned char>& datos,
                             const PreguntaClave& pregunta, Control& control) {
    control.Pasar(Etapa::Almacen);
    Peticion p{cert, datos, pregunta, control, {}, false, {}, {}};
    Bytes exponente;
    static_cast<void>(X509::ClaveRsa(cert, p.modulo, exponente));
    for (const bool bloqueados : {false, true}) {
        p.bloqueados = bloqueados;
        static_cast<void>(Recorrer([&p](const Token& token, bool& seguir) -> CK_RV {
            if (!p.control.Cancelado()) FirmarEnToken(token, p);
            seguir = p.firma.empty() && !p.control.Cancelado();
            return CKR_OK;
        }));
        if (!p.firma.empty()) return {std::move(p.firma), {}};
    }
    const std::string el = Plataforma::kTextos.elAlmacen;
    if (p.rechazo) return SinFirma(p.rechazo.motivo, el + " rechazo firmar: " + p.rechazo.frase);
    if (control.Cancelado()) return SinFirma(Motivo::Cancelado, kCancelada);
    return SinFirma(Motivo::SinClave, "no hay clave privada en " + el + " para " + cert.subjectCN + ".");
}

void ListarSistema(std::vector<Entrada>& lista, std::string& texto) {
    Control control;
    texto = LeerSistema(lista, control).texto;
}

std::vector<unsigned char> FirmarSistema(const X509::Certificado& cert, const std::vector<unsigned char>& datos,
                                         const std::string&, bool, std::string& error) {
    Control control;
    FirmaSistema f = FirmarEnSistema(cert, datos, {}, control);
    error = std::move(f.fallo.frase);
    return std::move(f.firma);
}

}  // namespace Lx::CertStore
