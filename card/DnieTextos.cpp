#include "card/DnieTextos.h"

#include <cstdio>

#include "crypto/LxApi.h"

namespace Lx::Dnie {

namespace {

struct Fila {
    int sw;
    const char* texto;
};

constexpr Fila kTextosSw[] = {
    {-1, "sin respuesta (timeout)"},
    {0x9000, "OK (9000)"},
    {0x6982, "seguridad no satisficha, hace falta PIN o CAN (6982)"},
    {0x6983, "PIN bloqueado (6983)"},
    {0x6985, "condiciones de uso no satisfechas (6985)"},
    {0x6A81, "funcion no soportada / referencia inexistente (6A81)"},
    {0x6A82, "applet/DF no encontrado (6A82)"},
    {0x6A86, "P1/P2 incorrecto (6A86)"},
    {0x6A88, "referencia de datos no encontrada (6A88)"},
    {0x6D00, "instruccion no soportada (6D00)"},
};

constexpr Fila kTextosPin[] = {
    {-1, "La tarjeta dejo de responder (timeout)."},
    {0x6982, "La tarjeta exige canal seguro (CAN) antes de usar la clave (SW=6982)."},
    {0x6983, "PIN bloqueado: hay que desbloquearlo con el codigo PUK/clave de desbloqueo."},
    {0x6985, "La tarjeta exige condiciones no satisfechas (SW=6985)."},
    {0x6A80, "La tarjeta no admite ese PIN (longitud o formato). SW=6A80"},
    {0x6700, "La tarjeta no admite ese PIN (longitud o formato). SW=6700"},
};

constexpr const char* kCanalSeguro = "la tarjeta exige canal seguro (PACE/CAN); introduzca el DNIe con su PIN/CAN. SW=";
constexpr const char* kNoSoportado = "comando no soportado por la tarjeta. SW=";

// What stands before the status word; null for no failure.
constexpr Fila kTextosLectura[] = {
    {0x9000, nullptr},      {0x6282, nullptr},      {0x6A82, nullptr},      {0x6D00, kNoSoportado},
    {0x6E00, kNoSoportado}, {0x6982, kCanalSeguro}, {0x6985, kCanalSeguro}, {0x6A81, kCanalSeguro},
};

template <size_t N>
const Fila* Buscar(const Fila (&tabla)[N], int sw) {
    for (const Fila& fila : tabla) {
        if (fila.sw == sw) return &fila;
    }
    return nullptr;
}

bool Es63(int sw) {
    return sw >= 0x6300 && sw <= 0x63FF;
}

}  // namespace

std::string Hex16(int valor) {
    char texto[8];
    std::snprintf(texto, sizeof texto, "%04X", static_cast<unsigned>(valor) & 0xFFFFU);
    return texto;
}

std::string ExplicarSw(int sw) {
    // The whole low byte is the count: 63C2 reads as 194 tries.
    if (Es63(sw)) return "63Cx: quedan " + std::to_string(sw & 0xFF) + " intento(s) (SW=" + Hex16(sw) + ")";
    const Fila* fila = Buscar(kTextosSw, sw);
    return fila != nullptr ? fila->texto : "SW=" + Hex16(sw);
}

std::string ExplicarPin(int sw) {
    if (Es63(sw)) return "PIN incorrecto: quedan " + std::to_string(sw & 0xFF) + " intento(s).";
    const Fila* fila = Buscar(kTextosPin, sw);
    return fila != nullptr ? fila->texto : "Verificacion de PIN rechazada: " + ExplicarSw(sw);
}

std::string ExplicarLectura(int sw) {
    if (sw == -1) return "la tarjeta dejo de responder (timeout); mantenga el DNIe en el lector.";
    const Fila* fila = Buscar(kTextosLectura, sw);
    if (fila == nullptr) return "la tarjeta rechazo el comando. SW=" + Hex16(sw);
    return fila->texto == nullptr ? "" : fila->texto + Hex16(sw);
}

int IntentosDe(int sw) {
    if (sw == 0x6983) return 0;
    return sw >= 0x63C0 && sw <= 0x63CF ? sw & 0x0F : -1;
}

std::string FirmaInfo(const std::vector<unsigned char>& firma) {
    const auto resumen = Api::Sha256(firma.data(), firma.size());
    return std::to_string(firma.size() * 8) + " bits, SHA-256 " + Api::BinToHex(resumen.data(), 8);
}

}  // namespace Lx::Dnie
