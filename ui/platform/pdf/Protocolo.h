// What the document and velmora-pagina say to each other: fixed records over a SOCK_SEQPACKET socket, one request at a
// time, each answered once. The pixels lie in memory that both see, from its start, RGBA, rows from the top.
#pragma once

#include <cstdint>

namespace Lx::Pdf {

// What the program finds open, and nothing else beside the three standard ones.
constexpr int kCanal = 3;
constexpr int kDocumento = 4;  // the file's bytes, sealed
constexpr int kPixeles = 5;    // of this size for good
constexpr int kCuantos = 6;

constexpr int64_t kMaxPixeles = 100'000'000;
constexpr int64_t kBytesPixeles = kMaxPixeles * 4;

// Exit status for memory that ran out: the libraries end the process when it does.
constexpr int kSalidaSinMemoria = 75;

enum class Estado : uint32_t { Bien, Protegido, Danado, TamanoInvalido, SinMemoria, SinDibujar };

struct Peticion {
    uint32_t numero = 0;  // from 1
    int32_t pagina = 0;
    int32_t ancho = 0;
};

// The first one comes unasked, once the document is open: number 0, with the page count as `ancho`.
struct Respuesta {
    uint32_t numero = 0;
    Estado estado = Estado::Bien;
    int32_t ancho = 0;
    int32_t alto = 0;
};

}  // namespace Lx::Pdf
