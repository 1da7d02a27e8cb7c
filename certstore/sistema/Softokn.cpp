#include "certstore/sistema/Softokn.h"

#include <dlfcn.h>

#include <algorithm>
#include <string_view>

namespace Lx::CertStore::Pkcs11 {

namespace {

// NSS's CK_C_INITIALIZE_ARGS: the standard's structure with one member more, the module's parameters as text.
struct InicioNss {
    CK_CREATEMUTEX crear = nullptr;
    CK_DESTROYMUTEX destruir = nullptr;
    CK_LOCKMUTEX cerrar = nullptr;
    CK_UNLOCKMUTEX abrir = nullptr;
    CK_FLAGS indicadores = CKF_OS_LOCKING_OK;
    char* parametros = nullptr;  // LibraryParameters
    void* reservado = nullptr;
};

// NSS's own object classes and attribute: an object of these classes, once "created" in the module's first slot, adds a
// slot with a database or takes one away.
constexpr CK_ULONG kNss = CKO_VENDOR_DEFINED | 0x4E534350;
constexpr CK_OBJECT_CLASS kRanuraNueva = kNss + 5;
constexpr CK_OBJECT_CLASS kRanuraFuera = kNss + 6;
constexpr CK_ATTRIBUTE_TYPE kParametros = kNss + 24;
constexpr CK_SLOT_ID kRanuraCripto = 1;
constexpr CK_SLOT_ID kPrimeraRanuraLibre = 4;
constexpr CK_SLOT_ID kUltimaRanuraLibre = 100;

// Inside quotes or brackets, a backslash goes before what would close them and before itself.
[[nodiscard]] std::string Escapar(const std::string& texto, char cierre) {
    std::string escapado;
    for (const char c : texto) {
        if (c == cierre || c == '\\') escapado += '\\';
        escapado += c;
    }
    return escapado;
}

[[nodiscard]] std::string DirectorioSql(const std::string& carpeta) {
    return "configdir='sql:" + Escapar(carpeta, '\'') + "'";
}

}  // namespace

CK_FUNCTION_LIST* Softokn() {
    static CK_FUNCTION_LIST* lista = nullptr;
    if (lista != nullptr) return lista;
    void* biblioteca = AbrirBiblioteca("libsoftokn3.so");
    if (biblioteca == nullptr) return nullptr;
    const auto dar = reinterpret_cast<CK_C_GetFunctionList>(dlsym(biblioteca, "C_GetFunctionList"));
    if (dar == nullptr || dar(&lista) != CKR_OK) lista = nullptr;
    return lista;
}

BaseNss::~BaseNss() {
    if (iniciado_) f_->C_Finalize(nullptr);
    if (aparte_ != 0) static_cast<void>(PedirRanura(kRanuraFuera, ""));
}

CK_RV BaseNss::Abrir() {
    std::string parametros =
        DirectorioSql(carpeta_) + " certPrefix='' keyPrefix='' secmod='' flags=readOnly,noModDB,optimizeSpace";
    InicioNss inicio;
    inicio.parametros = parametros.data();
    const CK_RV codigo = f_->C_Initialize(&inicio);
    iniciado_ = codigo == CKR_OK;
    return codigo == CKR_CRYPTOKI_ALREADY_INITIALIZED ? AbrirAparte() : codigo;
}

// Somebody else's module keeps its state: the database comes into a slot of its own. From the top, since NSS hands out
// these slots from the bottom.
CK_RV BaseNss::AbrirAparte() {
    std::vector<CK_SLOT_ID> ocupadas;
    CK_RV codigo = Ranuras(f_, ocupadas);
    if (codigo != CKR_OK) return codigo;
    CK_SLOT_ID libre = kUltimaRanuraLibre;
    while (std::find(ocupadas.begin(), ocupadas.end(), libre) != ocupadas.end()) --libre;
    if (libre < kPrimeraRanuraLibre) return CKR_SLOT_ID_INVALID;
    aparte_ = libre;
    codigo = PedirRanura(kRanuraNueva, DirectorioSql(carpeta_) + " certPrefix='' keyPrefix='' flags=readOnly");
    if (codigo != CKR_OK) aparte_ = 0;
    return codigo;
}

CK_RV BaseNss::PedirRanura(CK_OBJECT_CLASS clase, const std::string& base) {
    // A slot is taken away by an order given in that slot itself, and added by one in the first.
    const CK_SLOT_ID donde = clase == kRanuraNueva ? kRanuraCripto : aparte_;
    std::string parametros = "tokens=[" + std::to_string(aparte_) + "=<" + Escapar(Escapar(base, '>'), ']') + ">]";
    std::vector<CK_ATTRIBUTE> objeto = {{CKA_CLASS, &clase, sizeof clase},
                                        {kParametros, parametros.data(), parametros.size() + 1}};
    CK_SESSION_HANDLE sesion = 0;
    CK_RV codigo = f_->C_OpenSession(donde, CKF_SERIAL_SESSION, nullptr, nullptr, &sesion);
    if (codigo != CKR_OK) return codigo;
    CK_OBJECT_HANDLE nada = 0;
    codigo = f_->C_CreateObject(sesion, objeto.data(), objeto.size(), &nada);
    f_->C_CloseSession(sesion);
    return codigo;
}

CK_RV BaseNss::Tokens(std::vector<Token>& tokens) const {
    std::vector<CK_SLOT_ID> ranuras = {aparte_};
    const CK_RV codigo = aparte_ == 0 ? Ranuras(f_, ranuras) : CKR_OK;
    for (const CK_SLOT_ID ranura : ranuras) tokens.push_back({f_, ranura, carpeta_, carpeta_});
    return codigo;
}

}  // namespace Lx::CertStore::Pkcs11
