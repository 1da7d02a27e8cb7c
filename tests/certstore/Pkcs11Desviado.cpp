// A PKCS#11 module that is SoftHSM's, but tells of a PIN that is too short, and for what the variable PKCS11_DESVIO
// says: "teclado" is a token with a keypad of its own, on which 1234 is typed at once; "ultimo" is one that locks
// itself after the next mistake; "sin resumen" is one that can't hash, "no firma" one that takes a
// key and doesn't sign.
#include <dlfcn.h>
#include <p11-kit/pkcs11.h>

#include <cstdlib>
#include <string>

namespace {

CK_FUNCTION_LIST* g_verdadero = nullptr;
CK_FUNCTION_LIST g_lista;

bool Es(const char* desvio) {
    const char* valor = std::getenv("PKCS11_DESVIO");
    return valor != nullptr && valor == std::string(desvio);
}

CK_RV Ficha(CK_SLOT_ID ranura, CK_TOKEN_INFO* info) {
    const CK_RV codigo = g_verdadero->C_GetTokenInfo(ranura, info);
    if (Es("teclado")) info->flags |= CKF_PROTECTED_AUTHENTICATION_PATH;
    if (Es("ultimo")) info->flags |= CKF_USER_PIN_FINAL_TRY;
    return codigo;
}

CK_RV Entrar(CK_SESSION_HANDLE sesion, CK_USER_TYPE usuario, unsigned char* clave, CK_ULONG tamano) {
    unsigned char tecleada[] = "1234";
    if (clave != nullptr && tamano < 4) return CKR_PIN_LEN_RANGE;
    if (!Es("teclado")) return g_verdadero->C_Login(sesion, usuario, clave, tamano);
    return clave != nullptr ? CKR_ARGUMENTS_BAD : g_verdadero->C_Login(sesion, usuario, tecleada, 4);
}

CK_RV PrepararFirma(CK_SESSION_HANDLE sesion, CK_MECHANISM* mecanismo, CK_OBJECT_HANDLE clave) {
    if (Es("sin resumen") && mecanismo->mechanism == CKM_SHA256_RSA_PKCS) return CKR_MECHANISM_INVALID;
    return g_verdadero->C_SignInit(sesion, mecanismo, clave);
}

CK_RV Firmar(CK_SESSION_HANDLE sesion, unsigned char* datos, CK_ULONG cuantos, unsigned char* firma, CK_ULONG* tamano) {
    return Es("no firma") ? CKR_DEVICE_ERROR : g_verdadero->C_Sign(sesion, datos, cuantos, firma, tamano);
}

}  // namespace

extern "C" CK_RV C_GetFunctionList(CK_FUNCTION_LIST** lista) {
    void* b = dlopen(SOFTHSM, RTLD_NOW | RTLD_LOCAL);
    const auto dar = reinterpret_cast<CK_C_GetFunctionList>(b == nullptr ? nullptr : dlsym(b, "C_GetFunctionList"));
    if (dar == nullptr || dar(&g_verdadero) != CKR_OK) return CKR_GENERAL_ERROR;
    g_lista = *g_verdadero;
    g_lista.C_GetTokenInfo = Ficha;
    g_lista.C_Login = Entrar;
    g_lista.C_SignInit = PrepararFirma;
    g_lista.C_Sign = Firmar;
    *lista = &g_lista;
    return CKR_OK;
}
