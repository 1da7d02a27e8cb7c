#include "card/LxPcsc.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "certstore/sistema/LxPlataforma.h"
#include "crypto/LxApi.h"

namespace Lx::Pcsc {

namespace {

// The service's binary interface, declared here because its headers are not needed to build. On macOS every word has 32
// bits. On 64-bit Linux LONG, DWORD and both handles are longs: each DWORD* output writes eight bytes, so nothing
// narrower than a Palabra may be pointed at, and SCARD_IO_REQUEST takes 16 bytes.
#if defined(__APPLE__)
using Largo = int32_t;
using Palabra = uint32_t;
using Asa = int32_t;
constexpr const char* kRutas[] = {"/System/Library/Frameworks/PCSC.framework/PCSC",
                                  "/System/Library/Frameworks/PCSC.framework/Versions/A/PCSC", "PCSC"};
#else
using Largo = long;
using Palabra = unsigned long;
using Asa = long;
constexpr const char* kRutas[] = {"libpcsclite.so.1", "libpcsclite.so"};
#endif

struct Cabecera {  // SCARD_IO_REQUEST
    Palabra protocolo;
    Palabra longitud;
};
static_assert(sizeof(Cabecera) == 2 * sizeof(Palabra));

// SCARD_READERSTATE, without padding on macOS.
#if defined(__APPLE__)
#pragma pack(push, 1)
#endif
struct EstadoLector {
    const char* nombre;
    void* suyo;
    Palabra conocido;
    Palabra actual;
    Palabra longitudAtr;
    unsigned char atr[33];
};
#if defined(__APPLE__)
#pragma pack(pop)
#endif

constexpr Palabra kPresente = 0x20;        // SCARD_STATE_PRESENT
constexpr Palabra kTomado = 0x100 | 0x80;  // SCARD_STATE_INUSE, SCARD_STATE_EXCLUSIVE
constexpr unsigned kSinCambios = 0x8010000A;
constexpr Palabra kReiniciarTarjeta = 1;   // SCARD_RESET_CARD
constexpr Palabra kCompartido = 2;         // SCARD_SHARE_SHARED
constexpr Palabra kProtocolos = 3;         // SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1
constexpr Palabra kDejarTarjeta = 0;       // SCARD_LEAVE_CARD
constexpr size_t kMaxAtr = 36;             // ISO/IEC 7816-3 allows 33
constexpr size_t kMaxNombre = 512;         // of a reader
constexpr size_t kMaxRespuesta = 65536;    // of one command
constexpr size_t kMaxMulticadena = 65536;  // no service has more readers than fit here; guards against a lying length

struct Modulo {
    void* asa = nullptr;
    std::string nota;
    Largo (*establecer)(Palabra, const void*, const void*, Asa*) = nullptr;
    Largo (*liberar)(Asa) = nullptr;
    Largo (*listar)(Asa, const char*, char*, Palabra*) = nullptr;
    Largo (*conectar)(Asa, const char*, Palabra, Palabra, Asa*, Palabra*) = nullptr;
    Largo (*desconectar)(Asa, Palabra) = nullptr;
    // The headers are Cabecera: pointers without a type, so that either side may name its own.
    Largo (*transmitir)(Asa, const void*, const unsigned char*, Palabra, void*, unsigned char*, Palabra*) = nullptr;
    Largo (*estado)(Asa, char*, Palabra*, Palabra*, Palabra*, unsigned char*, Palabra*) = nullptr;
    // These may be missing.
    Largo (*empezar)(Asa) = nullptr;
    Largo (*terminar)(Asa, Palabra) = nullptr;
    Largo (*reconectar)(Asa, Palabra, Palabra, Palabra, Palabra*) = nullptr;
    Largo (*cambios)(Asa, Palabra, void*, Palabra) = nullptr;  // EstadoLector, likewise
};

template <typename F>
bool Resolver(void* asa, const char* nombre, F& funcion) {
    funcion = reinterpret_cast<F>(dlsym(asa, nombre));
    return funcion != nullptr;
}

void Cargar(Modulo& m) {
    for (const char* ruta : kRutas) {
        m.asa = dlopen(ruta, RTLD_NOW | RTLD_LOCAL);
        if (m.asa != nullptr) break;
    }
    if (m.asa == nullptr) {
        m.nota = Plataforma::kTextos.faltaPcsc;
        return;
    }
    // All are looked up even after one is missing: those that were found stay usable.
    const bool todas[] = {Resolver(m.asa, "SCardEstablishContext", m.establecer),
                          Resolver(m.asa, "SCardReleaseContext", m.liberar),
                          Resolver(m.asa, "SCardListReaders", m.listar),
                          Resolver(m.asa, "SCardConnect", m.conectar),
                          Resolver(m.asa, "SCardDisconnect", m.desconectar),
                          Resolver(m.asa, "SCardTransmit", m.transmitir),
                          Resolver(m.asa, "SCardStatus", m.estado)};
    if (std::find(std::begin(todas), std::end(todas), false) != std::end(todas)) {
        m.nota = "El modulo PC/SC no exporta las funciones esperadas.";
    }
    Resolver(m.asa, "SCardBeginTransaction", m.empezar);
    Resolver(m.asa, "SCardEndTransaction", m.terminar);
    Resolver(m.asa, "SCardReconnect", m.reconectar);
    Resolver(m.asa, "SCardGetStatusChange", m.cambios);
}

// Never destroyed: at the program's end a thread may still wait inside the service.
const Modulo& ElModulo() {
    static const Modulo* const modulo = [] {
        auto* m = new Modulo;
        Cargar(*m);
        return m;
    }();
    return *modulo;
}

long Normal(Largo code) {
    return Codigo(static_cast<unsigned long>(code));
}

constexpr const char* kSinTarjeta = "No hay tarjeta en el lector. Acerque el DNIe y pulse Actualizar.";
constexpr const char* kApagada =
    "El lector no detecta la tarjeta (apagada/muda). Reinserte el DNIe bien en la ranura y pulse Actualizar.";

// What a code says of the service itself, and of a connection where that is another sentence.
struct Fila {
    unsigned code;
    Motivo motivo;
    const char* contexto;
    const char* conexion;
};
constexpr Fila kCodigos[] = {
    {0x80100009, Motivo::LectorDesconocido, "Lector no disponible.", nullptr},
    {0x8010000B, Motivo::LectorOcupado, nullptr, "Lector ocupado por otra aplicacion."},
    {0x8010000C, Motivo::SinTarjeta, nullptr, kSinTarjeta},
    {0x80100017, Motivo::LectorDesconocido, nullptr, nullptr},
    {0x8010001A, Motivo::TarjetaMuda, nullptr,
     "El lector no completo la operacion con la tarjeta. Reinsertela y pulse Actualizar."},
    {kSinServicio, Motivo::SinServicio, nullptr, nullptr},
    {0x8010001E, Motivo::SinServicio, "Servicio PC/SC detenido.", nullptr},
    {0x8010002E, Motivo::SinLector, nullptr, nullptr},
    {0x80100066, Motivo::TarjetaMuda, nullptr, kApagada},
    {0x80100067, Motivo::TarjetaMuda, nullptr, kApagada},
    {kReiniciada, Motivo::TarjetaRetirada, nullptr, nullptr},
    {kRetirada, Motivo::SinTarjeta, nullptr, kSinTarjeta},
};

const Fila* FilaDe(long code) {
    const auto* fila = std::find_if(std::begin(kCodigos), std::end(kCodigos),
                                    [code](const Fila& f) { return EsCodigo(code, f.code); });
    return fila == std::end(kCodigos) ? nullptr : fila;
}

bool Contiene(const std::string& texto, const char* palabra) {
    return texto.find(palabra) != std::string::npos;
}

}  // namespace

bool Disponible() {
    const Modulo& m = ElModulo();
    return m.asa != nullptr && m.nota.empty();
}

const char* NombreSistema() {
    return Plataforma::kTextos.nombreSistema;
}

const char* AyudaServicio() {
    return Plataforma::kTextos.ayudaServicio;
}

std::string NotaModulo() {
    return ElModulo().nota;
}

long EstablecerContexto(long scope, unsigned long& ctx) {
    ctx = 0;
    const Modulo& m = ElModulo();
    if (m.establecer == nullptr) return Codigo(kSinServicio);
    Asa asa = 0;
    long code = Normal(m.establecer(static_cast<Palabra>(scope), nullptr, nullptr, &asa));
    if (code != 0 && scope == 2) {
        asa = 0;
        code = Normal(m.establecer(0, nullptr, nullptr, &asa));
    }
    if (code == 0) ctx = static_cast<unsigned long>(asa);
    return code;
}

long LiberarContexto(unsigned long ctx) {
    if (ctx == 0) return 0;
    const Modulo& m = ElModulo();
    return m.liberar == nullptr ? Codigo(kSinServicio) : Normal(m.liberar(static_cast<Asa>(ctx)));
}

long ListarLectores(unsigned long ctx, std::vector<std::string>& out) {
    out.clear();
    const Modulo& m = ElModulo();
    if (m.listar == nullptr) return Codigo(kSinServicio);
    Palabra longitud = 0;
    long code = Normal(m.listar(static_cast<Asa>(ctx), nullptr, nullptr, &longitud));
    if (code != 0 || longitud == 0) return code;
    std::string nombres(std::min<size_t>(longitud, kMaxMulticadena), '\0');
    longitud = static_cast<Palabra>(nombres.size());
    code = Normal(m.listar(static_cast<Asa>(ctx), nullptr, nombres.data(), &longitud));
    if (code != 0) return code;
    for (size_t inicio = 0; inicio < nombres.size();) {
        const size_t fin = std::min(nombres.find('\0', inicio), nombres.size());
        if (fin > inicio) out.push_back(nombres.substr(inicio, fin - inicio));
        inicio = fin + 1;
    }
    return 0;
}

long Conectar(unsigned long ctx, const std::string& reader, unsigned long& card, unsigned& protocol) {
    card = 0;
    protocol = 0;
    const Modulo& m = ElModulo();
    if (m.conectar == nullptr) return Codigo(kSinServicio);
    Asa asa = 0;
    Palabra activo = 0;
    const long code =
        Normal(m.conectar(static_cast<Asa>(ctx), reader.c_str(), kCompartido, kProtocolos, &asa, &activo));
    if (code != 0) return code;
    card = static_cast<unsigned long>(asa);
    protocol = static_cast<unsigned>(activo);
    return 0;
}

long Desconectar(unsigned long card) {
    if (card == 0) return 0;
    const Modulo& m = ElModulo();
    return m.desconectar == nullptr ? Codigo(kSinServicio)
                                    : Normal(m.desconectar(static_cast<Asa>(card), kDejarTarjeta));
}

long Estado(unsigned long card, std::string& atrHex, unsigned& protocol) {
    atrHex.clear();
    protocol = 0;
    const Modulo& m = ElModulo();
    if (m.estado == nullptr) return Codigo(kSinServicio);
    char nombre[kMaxNombre] = {};
    unsigned char atr[kMaxAtr] = {};
    Palabra longitudNombre = kMaxNombre;
    Palabra longitudAtr = kMaxAtr;
    Palabra situacion = 0;
    Palabra activo = 0;
    const long code =
        Normal(m.estado(static_cast<Asa>(card), nombre, &longitudNombre, &situacion, &activo, atr, &longitudAtr));
    if (code != 0) return code;
    atrHex = Api::BinToHex(atr, std::min<size_t>(longitudAtr, kMaxAtr));
    protocol = static_cast<unsigned>(activo);
    return 0;
}

long Transmitir(unsigned long card, unsigned protocol, const std::vector<unsigned char>& apdu,
                std::vector<unsigned char>& response) {
    response.clear();
    const Modulo& m = ElModulo();
    if (apdu.empty() || m.transmitir == nullptr) return Codigo(kSinServicio);
    const Cabecera envio{static_cast<Palabra>(protocol), static_cast<Palabra>(sizeof(Cabecera))};
    std::vector<unsigned char> recibido(kMaxRespuesta);
    Palabra longitud = kMaxRespuesta;
    const long code = Normal(m.transmitir(static_cast<Asa>(card), &envio, apdu.data(),
                                          static_cast<Palabra>(apdu.size()), nullptr, recibido.data(), &longitud));
    if (code != 0) return code;
    recibido.resize(std::min<size_t>(longitud, kMaxRespuesta));
    response.assign(recibido.begin(), recibido.end());
    return 0;
}

long EmpezarTransaccion(unsigned long card) {
    const Modulo& m = ElModulo();
    return m.empezar == nullptr || m.terminar == nullptr ? 0 : Normal(m.empezar(static_cast<Asa>(card)));
}

long TerminarTransaccion(unsigned long card, bool reiniciar) {
    const Modulo& m = ElModulo();
    if (m.empezar == nullptr || m.terminar == nullptr) return 0;
    return Normal(m.terminar(static_cast<Asa>(card), reiniciar ? kReiniciarTarjeta : kDejarTarjeta));
}

long Reconectar(unsigned long card, unsigned& protocol) {
    const Modulo& m = ElModulo();
    if (m.reconectar == nullptr) return Codigo(kSinServicio);
    Palabra activo = 0;
    const long code = Normal(m.reconectar(static_cast<Asa>(card), kCompartido, kProtocolos, kDejarTarjeta, &activo));
    if (code == 0) protocol = static_cast<unsigned>(activo);
    return code;
}

long EsperarCambios(unsigned long ctx, std::vector<LectorVisto>& lectores, unsigned ms) {
    const Modulo& m = ElModulo();
    if (m.cambios == nullptr) return Codigo(kSinServicio);
    std::vector<EstadoLector> estados;
    estados.reserve(lectores.size());
    for (const LectorVisto& l : lectores) {
        estados.push_back({l.nombre.c_str(), nullptr, static_cast<Palabra>(l.visto), 0, 0, {}});
    }
    const long code =
        Normal(m.cambios(static_cast<Asa>(ctx), ms, estados.data(), static_cast<Palabra>(estados.size())));
    if (code != 0) return EsCodigo(code, kSinCambios) ? 0 : code;
    for (size_t i = 0; i < lectores.size(); ++i) {
        const Palabra actual = estados[i].actual;
        lectores[i].visto = actual & ~Palabra{2};  // SCARD_STATE_CHANGED
        lectores[i].presente = (actual & kPresente) != 0;
        lectores[i].enUso = (actual & kTomado) != 0;
        lectores[i].veces = static_cast<unsigned>(actual >> 16 & 0xFFFF);
    }
    return 0;
}

int DetectarTipo(const std::string& readerName) {
    // "contactless" holds "contact", and "picc" holds "icc": the contactless words come first.
    static constexpr const char* kSinContacto[] = {"contactless", "nfc",      "picc",
                                                   "proximity",   "wireless", "contact less"};
    static constexpr const char* kContacto[] = {"contact", "icc", "sam", "smartcard", "smart card", "chip", "emv"};
    const std::string nombre = Api::ToLowerAscii(readerName);
    for (const char* palabra : kSinContacto) {
        if (Contiene(nombre, palabra)) return 1;
    }
    for (const char* palabra : kContacto) {
        if (Contiene(nombre, palabra)) return 2;
    }
    return 0;
}

int PriorizarLector(const std::vector<std::string>& readers) {
    if (readers.empty()) return -1;
    for (const int tipo : {2, 0, 1}) {
        for (size_t i = 0; i < readers.size(); ++i) {
            if (DetectarTipo(readers[i]) == tipo) return static_cast<int>(i);
        }
    }
    return 0;
}

std::string ExplicarContexto(long code) {
    const Fila* fila = FilaDe(code);
    if (fila != nullptr && fila->contexto != nullptr) return fila->contexto;
    if (EsCodigo(code, kSinServicio)) {
        if (Disponible()) return "Servicio PC/SC no disponible (servicio 'Smart Card' detenido).";
        const std::string nota = NotaModulo();
        return std::string("Servicio PC/SC no disponible. ") + AyudaServicio() + (nota.empty() ? "" : " " + nota);
    }
    char texto[40];
    std::snprintf(texto, sizeof texto, "Error PC/SC 0x%08lX", static_cast<unsigned long>(code) & 0xFFFFFFFFUL);
    return texto;
}

std::string ExplicarConexion(long code) {
    const Fila* fila = FilaDe(code);
    return fila != nullptr && fila->conexion != nullptr ? fila->conexion : ExplicarContexto(code);
}

Motivo MotivoDe(long code) {
    const Fila* fila = FilaDe(code);
    return fila != nullptr ? fila->motivo : Motivo::TarjetaMuda;
}

}  // namespace Lx::Pcsc
