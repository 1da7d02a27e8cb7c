#include "tests/apoyo/pcsc/PcscFalso.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace Apoyo {

namespace {

// The interface gives codes without sign, whatever the width of its long.
long Codigo(const char* funcion) {
    if (ElPcscFalso().antes) ElPcscFalso().antes(funcion);
    const auto& codigos = ElPcscFalso().codigos;
    const auto it = codigos.find(funcion);
    return it == codigos.end() ? 0 : static_cast<long>(it->second);
}

std::unique_ptr<PcscFalso>& Instancia() {
    // Stays at the end: a call may still be waiting in it.
    static auto* const instancia = new std::unique_ptr<PcscFalso>;
    return *instancia;
}

}  // namespace

PcscFalso& NuevoPcscFalso() {
    Instancia() = std::make_unique<PcscFalso>();
    return *Instancia();
}

PcscFalso& ElPcscFalso() {
    return Instancia() ? *Instancia() : NuevoPcscFalso();
}

}  // namespace Apoyo

// --- The interface itself, as 64-bit Linux has it

using Apoyo::Bytes;
using Apoyo::ElPcscFalso;

namespace {
constexpr long kAsa = 0x7A5C0001;
struct Cabecera {
    unsigned long protocolo, longitud;
};
}  // namespace

extern "C" {

long SCardEstablishContext(unsigned long ambito, const void*, const void*, long* contexto) {
    auto& falso = ElPcscFalso();
    {
        const std::lock_guard guarda(falso.cerrojo);
        falso.ambitos.push_back(ambito);
    }
    if (const long code = Apoyo::Codigo("SCardEstablishContext")) return code;
    ++falso.contextos;
    *contexto = kAsa;
    return 0;
}

long SCardReleaseContext(long contexto) {
    (void)Apoyo::Codigo("SCardReleaseContext");
    if (contexto != kAsa) ElPcscFalso().desvios += "SCardReleaseContext of no context\n";
    --ElPcscFalso().contextos;
    ++ElPcscFalso().liberados;
    return 0;
}

long SCardListReaders(long, const char*, char* nombres, unsigned long* longitud) {
    const auto& falso = ElPcscFalso();
    if (falso.lectores.empty()) return 0x8010002EL;
    std::string todos;
    for (const std::string& nombre : falso.lectores) todos += nombre + '\0';
    todos += '\0';
    if (nombres != nullptr) std::memcpy(nombres, todos.data(), std::min<size_t>(todos.size(), *longitud));
    *longitud = falso.longitudLista != 0 ? falso.longitudLista : todos.size();
    return 0;
}

long SCardConnect(long contexto, const char* lector, unsigned long modo, unsigned long protocolos, long* tarjeta,
                  unsigned long* protocolo) {
    auto& falso = ElPcscFalso();
    if (contexto != kAsa || modo != 2 || protocolos != 3) falso.desvios += "SCardConnect with wrong arguments\n";
    if (const long code = Apoyo::Codigo("SCardConnect")) return code;
    if (std::find(falso.lectores.begin(), falso.lectores.end(), lector) == falso.lectores.end()) return 0x80100009L;
    if (!falso.transmitir) return 0x8010000CL;
    ++falso.tarjetas;
    *tarjeta = kAsa + 1;
    *protocolo = 2;
    return 0;
}

long SCardDisconnect(long tarjeta, unsigned long despues) {
    auto& falso = ElPcscFalso();
    if (falso.enTransaccion) falso.desvios += "SCardDisconnect within a transaction\n";
    if (tarjeta != kAsa + 1 || despues != 0) falso.desvios += "SCardDisconnect with wrong arguments\n";
    --falso.tarjetas;
    return 0;
}

long SCardStatus(long, char* nombre, unsigned long* longitudNombre, unsigned long* estado, unsigned long* protocolo,
                 unsigned char* atr, unsigned long* longitudAtr) {
    if (const long code = Apoyo::Codigo("SCardStatus")) return code;
    auto& falso = ElPcscFalso();
    if (falso.fuera) return 0x80100069L;
    if (*longitudNombre != 512 || *longitudAtr != 36) falso.desvios += "SCardStatus with wrong lengths\n";
    nombre[0] = '\0';
    *longitudNombre = 1;
    *estado = 0x34;
    *protocolo = 2;
    std::copy_n(falso.atr.begin(), std::min<size_t>(falso.atr.size(), 36), atr);
    *longitudAtr = falso.longitudAtr >= 0 ? static_cast<unsigned long>(falso.longitudAtr) : falso.atr.size();
    return 0;
}

long SCardBeginTransaction(long tarjeta) {
    auto& falso = ElPcscFalso();
    if (const long code = Apoyo::Codigo("SCardBeginTransaction")) return code;
    if (tarjeta != kAsa + 1 || falso.enTransaccion) falso.desvios += "SCardBeginTransaction out of place\n";
    falso.enTransaccion = true;
    return 0;
}

long SCardEndTransaction(long tarjeta, unsigned long despues) {
    (void)Apoyo::Codigo("SCardEndTransaction");
    auto& falso = ElPcscFalso();
    if (tarjeta != kAsa + 1 || !falso.enTransaccion) falso.desvios += "SCardEndTransaction out of place\n";
    falso.enTransaccion = false;
    falso.finales.push_back(despues);
    return 0;
}

long SCardReconnect(long tarjeta, unsigned long modo, unsigned long protocolos, unsigned long antes,
                    unsigned long* protocolo) {
    auto& falso = ElPcscFalso();
    if (tarjeta != kAsa + 1 || modo != 2 || protocolos != 3 || antes != 0)
        falso.desvios += "SCardReconnect with wrong arguments\n";
    *protocolo = 2;
    return Apoyo::Codigo("SCardReconnect");
}

struct EstadoLector {
    const char* nombre;
    void* suyo;
    unsigned long conocido, actual, longitudAtr;
    unsigned char atr[33];
};

long SCardGetStatusChange(long, unsigned long, void* estados, unsigned long cuantos) {
    auto* lectores = static_cast<EstadoLector*>(estados);
    if (const long code = Apoyo::Codigo("SCardGetStatusChange")) return code;
    for (unsigned long i = 0; i < cuantos; ++i) lectores[i].actual = ElPcscFalso().estadoLector;
    return 0;
}

long SCardTransmit(long tarjeta, const void* cabecera, const unsigned char* apdu, unsigned long longitud, void* recibo,
                   unsigned char* respuesta, unsigned long* longitudRespuesta) {
    auto& falso = ElPcscFalso();
    const auto* envio = static_cast<const Cabecera*>(cabecera);
    if (envio->protocolo != 2 || envio->longitud != 16 || recibo != nullptr || *longitudRespuesta != 65536) {
        falso.desvios += "SCardTransmit with wrong arguments\n";
    }
    if (tarjeta == kAsa + 1 && !falso.enTransaccion) falso.desvios += "SCardTransmit outside a transaction\n";
    if (falso.fuera && apdu[1] == 0x20 && longitud > 5) falso.desvios += "VERIFY after the card has left\n";
    ++falso.transmisiones;
    (void)Apoyo::Codigo("SCardTransmit");
    Bytes datos;
    const long code = falso.transmitir(Bytes(apdu, apdu + longitud), datos);
    if (code != 0) return code;
    const size_t n = std::min<size_t>(datos.size(), *longitudRespuesta);
    std::copy_n(datos.begin(), n, respuesta);
    *longitudRespuesta = n;
    return 0;
}

}  // extern "C"
