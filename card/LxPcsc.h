// Access to the card service (PC/SC, ICC resource manager). The library is opened at run time on first use
// and never closed, so that a machine without it only loses the card. Codes are the service's own, normalised to the
// signed 32-bit value whatever the width of the platform's LONG; 0 is success. A call may wait for as long as another
// program or the card pleases: jobs make theirs through Pcsc::Canal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "crypto/LxMotivo.h"

namespace Lx::Pcsc {

// A code as the headers of the service write it, in the form in which every operation here returns it.
[[nodiscard]] constexpr long Codigo(unsigned long valor) {
    return static_cast<int>(static_cast<unsigned>(valor));
}
// Compares the low 32 bits: it doesn't matter how wide the code was when it came.
[[nodiscard]] constexpr bool EsCodigo(long code, unsigned valor) {
    return static_cast<unsigned>(static_cast<unsigned long>(code)) == valor;
}

inline constexpr unsigned kSinServicio = 0x8010001D;  // also: no library, or a function missing from it
inline constexpr unsigned kReiniciada = 0x80100068;   // another program has reset the card meanwhile
inline constexpr unsigned kRetirada = 0x80100069;     // the card has left meanwhile

// The library is open and has every function that is needed.
[[nodiscard]] bool Disponible();
// Name of the operating system, as it stands in sentences.
[[nodiscard]] const char* NombreSistema();
// How to get the card service going on this system.
[[nodiscard]] const char* AyudaServicio();
// Why the library can't be used; empty when it can.
[[nodiscard]] std::string NotaModulo();

// Scope 2 is the system's, with 0 (the user's) as second choice. On failure `ctx` is 0.
[[nodiscard]] long EstablecerContexto(long scope, unsigned long& ctx);
// 0 is no context and a success.
long LiberarContexto(unsigned long ctx);
// The names in the service's order. No reader at all is a code (8010002E) for some services, an empty list for others.
[[nodiscard]] long ListarLectores(unsigned long ctx, std::vector<std::string>& out);
// Shared, T=0 or T=1. On failure `card` and `protocol` are 0.
[[nodiscard]] long Conectar(unsigned long ctx, const std::string& reader, unsigned long& card, unsigned& protocol);
// Leaves the card as it is. 0 is no card and a success.
long Desconectar(unsigned long card);
// The answer to reset in upper-case hex, at most 36 bytes, and the active protocol.
[[nodiscard]] long Estado(unsigned long card, std::string& atrHex, unsigned& protocol);
// One command and its whole response, status word included. An empty command is refused with kSinServicio.
[[nodiscard]] long Transmitir(unsigned long card, unsigned protocol, const std::vector<unsigned char>& apdu,
                              std::vector<unsigned char>& response);

// --- What not every library has. Without it transactions are empty ones, and a wait is refused with kSinServicio.

// From here on nobody else reaches the card; waits for whoever holds it. kReiniciada wants a Reconectar first.
[[nodiscard]] long EmpezarTransaccion(unsigned long card);
long TerminarTransaccion(unsigned long card, bool reiniciar);
// The same handle again, shared, the card as it is.
[[nodiscard]] long Reconectar(unsigned long card, unsigned& protocol);

struct LectorVisto {
    std::string nombre;
    unsigned long visto = 0;  // the service's word for how it stood; 0 at first
    bool presente = false;    // holds a card
    bool enUso = false;       // somebody is connected to that card
    unsigned veces = 0;       // how often a card has come or gone, where the service counts it
};
// The pseudo reader that changes when readers come or go.
inline constexpr const char* kLectoresNuevos = "\\\\?PnP?\\Notification";
// Until one of them stands otherwise than it was seen, `ms` at most; a time that ran out is a success too.
[[nodiscard]] long EsperarCambios(unsigned long ctx, std::vector<LectorVisto>& lectores, unsigned ms);

// By words in the name: 1 contactless, 2 contact, 0 unknown.
[[nodiscard]] int DetectarTipo(const std::string& readerName);
// Index of the reader to prefer: contact, then unknown, then contactless; -1 for an empty list.
[[nodiscard]] int PriorizarLector(const std::vector<std::string>& readers);

// One sentence for the user.
[[nodiscard]] std::string ExplicarContexto(long code);
[[nodiscard]] std::string ExplicarConexion(long code);
// The reason that goes with either sentence.
[[nodiscard]] Motivo MotivoDe(long code);

}  // namespace Lx::Pcsc
