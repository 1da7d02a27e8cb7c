#include "certstore/sistema/Pkcs11.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <utility>

#include "crypto/LxApi.h"
#include "crypto/LxDer.h"

namespace Lx::CertStore::Pkcs11 {

namespace {

// A module may answer anything; beyond these it is not believed.
constexpr CK_ULONG kRanurasMaximas = 256;
constexpr size_t kObjetosMaximos = 10000;
constexpr CK_ULONG kAtributoMaximo = 1UL << 20;

}  // namespace

void* AbrirBiblioteca(const char* nombre) {
    return dlopen(nombre, RTLD_NOW | RTLD_LOCAL);
}

CK_FLAGS Indicadores(const Token& token) {
    CK_TOKEN_INFO info = {};
    return token.f->C_GetTokenInfo(token.ranura, &info) == CKR_OK ? info.flags : 0;
}

std::string Recortar(const unsigned char* texto, size_t ancho) {
    std::string recortado(texto, texto + ancho);
    while (!recortado.empty() && (recortado.back() == ' ' || recortado.back() == '\0')) recortado.pop_back();
    return recortado;
}

CK_RV Ranuras(CK_FUNCTION_LIST* f, std::vector<CK_SLOT_ID>& ranuras) {
    CK_ULONG cuantas = kRanurasMaximas;
    ranuras.resize(cuantas);
    const CK_RV codigo = f->C_GetSlotList(CK_TRUE, ranuras.data(), &cuantas);
    ranuras.resize(codigo == CKR_OK ? std::min(cuantas, kRanurasMaximas) : 0);
    // softokn lists the slots that were taken away too.
    std::erase_if(ranuras, [f](CK_SLOT_ID ranura) {
        CK_SLOT_INFO info = {};
        return f->C_GetSlotInfo(ranura, &info) != CKR_OK || (info.flags & CKF_TOKEN_PRESENT) == 0;
    });
    return codigo;
}

const Clave* ClaveDe(const std::vector<Clave>& claves, const Bytes& id, const Bytes& modulo) {
    for (const auto& [campo, valor] : {std::pair(&Clave::id, &id), std::pair(&Clave::modulo, &modulo)}) {
        if (valor->empty()) continue;
        const auto i = std::find_if(claves.begin(), claves.end(),
                                    [campo = campo, valor = valor](const Clave& c) { return c.*campo == *valor; });
        if (i != claves.end()) return &*i;
    }
    return nullptr;
}

Sesion::~Sesion() {
    if (dentro_) token_.f->C_Logout(sesion_);
    if (abierta_) token_.f->C_CloseSession(sesion_);
}

CK_RV Sesion::Abrir() {
    const CK_RV codigo = token_.f->C_OpenSession(token_.ranura, CKF_SERIAL_SESSION, nullptr, nullptr, &sesion_);
    abierta_ = codigo == CKR_OK;
    return codigo;
}

CK_RV Sesion::Buscar(std::vector<CK_ATTRIBUTE> plantilla, std::vector<CK_OBJECT_HANDLE>& objetos) {
    objetos.clear();
    CK_RV codigo = token_.f->C_FindObjectsInit(sesion_, plantilla.data(), plantilla.size());
    if (codigo != CKR_OK) return codigo;
    std::array<CK_OBJECT_HANDLE, 64> trozo;
    CK_ULONG cuantos = 1;
    while (codigo == CKR_OK && cuantos != 0 && objetos.size() < kObjetosMaximos) {
        cuantos = 0;
        codigo = token_.f->C_FindObjects(sesion_, trozo.data(), trozo.size(), &cuantos);
        cuantos = codigo == CKR_OK ? std::min<CK_ULONG>(cuantos, trozo.size()) : 0;
        objetos.insert(objetos.end(), trozo.data(), trozo.data() + cuantos);
    }
    token_.f->C_FindObjectsFinal(sesion_);
    return codigo;
}

Bytes Sesion::Atributo(CK_OBJECT_HANDLE objeto, CK_ATTRIBUTE_TYPE tipo) {
    CK_ATTRIBUTE atributo = {tipo, nullptr, 0};
    if (token_.f->C_GetAttributeValue(sesion_, objeto, &atributo, 1) != CKR_OK) return {};
    if (atributo.ulValueLen > kAtributoMaximo) return {};
    Bytes valor(atributo.ulValueLen);
    atributo.pValue = valor.data();
    if (valor.empty() || token_.f->C_GetAttributeValue(sesion_, objeto, &atributo, 1) != CKR_OK) return {};
    valor.resize(std::min<size_t>(valor.size(), atributo.ulValueLen));
    return valor;
}

CK_RV Sesion::Certificados(std::vector<CK_OBJECT_HANDLE>& objetos) {
    CK_OBJECT_CLASS clase = CKO_CERTIFICATE;
    CK_CERTIFICATE_TYPE tipo = CKC_X_509;
    return Buscar({{CKA_CLASS, &clase, sizeof clase}, {CKA_CERTIFICATE_TYPE, &tipo, sizeof tipo}}, objetos);
}

std::vector<Clave> Sesion::Claves(CK_OBJECT_CLASS clase) {
    std::vector<Clave> claves;
    std::vector<CK_OBJECT_HANDLE> objetos;
    if (Buscar({{CKA_CLASS, &clase, sizeof clase}}, objetos) != CKR_OK) return claves;
    for (const CK_OBJECT_HANDLE objeto : objetos) {
        Bytes modulo = Atributo(objeto, CKA_MODULUS);
        modulo.erase(modulo.begin(),
                     std::find_if(modulo.begin(), modulo.end(), [](unsigned char byte) { return byte != 0; }));
        claves.push_back({objeto, Atributo(objeto, CKA_ID), std::move(modulo)});
    }
    return claves;
}

CK_RV Sesion::Entrar(CK_USER_TYPE usuario, std::string* clave) {
    unsigned char* texto = clave == nullptr ? nullptr : reinterpret_cast<unsigned char*>(clave->data());
    const CK_RV codigo = token_.f->C_Login(sesion_, usuario, texto, clave == nullptr ? 0 : clave->size());
    dentro_ = dentro_ || (codigo == CKR_OK && usuario == CKU_USER);
    return codigo == CKR_USER_ALREADY_LOGGED_IN ? CKR_OK : codigo;
}

CK_RV Sesion::PrepararFirma(CK_OBJECT_HANDLE clave) {
    CK_MECHANISM mecanismo = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    CK_RV codigo = token_.f->C_SignInit(sesion_, &mecanismo, clave);
    conResumen_ = codigo == CKR_MECHANISM_INVALID;
    if (!conResumen_) return codigo;
    mecanismo.mechanism = CKM_RSA_PKCS;
    return token_.f->C_SignInit(sesion_, &mecanismo, clave);
}

CK_RV Sesion::Firmar(const Bytes& datos, size_t tamano, Bytes& firma) {
    Bytes entrada = datos;
    if (conResumen_) entrada = Der::DigestInfoSha256(Api::Sha256(datos.data(), datos.size()));
    firma.resize(tamano);
    CK_ULONG escritos = firma.size();
    const CK_RV codigo = token_.f->C_Sign(sesion_, entrada.data(), entrada.size(), firma.data(), &escritos);
    firma.resize(codigo == CKR_OK ? std::min<size_t>(escritos, firma.size()) : 0);
    return codigo;
}

}  // namespace Lx::CertStore::Pkcs11
