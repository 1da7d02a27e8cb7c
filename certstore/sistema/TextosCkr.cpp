#include "certstore/sistema/TextosCkr.h"

#include <p11-kit/pkcs11.h>

#include <array>
#include <cstdio>

namespace Lx::CertStore {

namespace {

constexpr struct {
    unsigned long codigo;
    const char* texto;
} kTextos[] = {
    {CKR_HOST_MEMORY, "no hay memoria suficiente."},
    {CKR_DEVICE_ERROR, "falló el dispositivo o la base de claves esta dañada."},
    {CKR_DEVICE_MEMORY, "el dispositivo no tiene memoria suficiente."},
    {CKR_DEVICE_REMOVED, "se retiró el dispositivo."},
    {CKR_TOKEN_NOT_PRESENT, "se retiró el dispositivo."},
    {CKR_FUNCTION_CANCELED, "operación cancelada por el usuario."},
    {CKR_CANCEL, "operación cancelada por el usuario."},
    {CKR_FUNCTION_REJECTED, "el usuario no autorizó la firma."},
    {CKR_KEY_SIZE_RANGE, "no admite el tamaño de la clave."},
    {CKR_KEY_TYPE_INCONSISTENT, "la clave no es RSA."},
    {CKR_KEY_FUNCTION_NOT_PERMITTED, "la clave no tiene permiso para firmar."},
    {CKR_MECHANISM_INVALID, "no admite la firma RSA PKCS#1 con SHA-256."},
    {CKR_PIN_INCORRECT, "contraseña incorrecta."},
    {CKR_PIN_INVALID, "la contraseña tiene caracteres que no admite."},
    {CKR_PIN_LEN_RANGE, "la contraseña es demasiado corta o demasiado larga."},
    {CKR_PIN_EXPIRED, "la contraseña ha caducado y hay que cambiarla."},
    {CKR_PIN_LOCKED, "la contraseña está bloqueada por demasiados intentos fallidos."},
    {CKR_USER_NOT_LOGGED_IN, "hace falta la contraseña del almacén."},
    {CKR_USER_PIN_NOT_INITIALIZED, "el almacén no tiene todavía contraseña."},
};

}  // namespace

std::string ExplicarCkr(unsigned long codigo) {
    for (const auto& fila : kTextos)
        if (fila.codigo == codigo) return fila.texto;
    std::array<char, 32> texto;
    std::snprintf(texto.data(), texto.size(), "codigo 0x%08lX", codigo);
    return texto.data() + std::string(".");
}

}  // namespace Lx::CertStore
