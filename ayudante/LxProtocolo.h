// What the window and velmora-pagina say to each other: fixed records over a SOCK_SEQPACKET socket. The program greets
// with the walls that stand around it, then says unasked whether the document is open; from there on it answers each
// request once. The pixels lie in memory that both see, from its start, RGBA, rows from the top.
#pragma once

#include <cstdint>

namespace Lx::Ayudante {

// What the program finds open, and nothing else beside the three standard ones.
constexpr int kCanal = 3;
constexpr int kDocumento = 4;      // the file's bytes, sealed
constexpr int kPixeles = 5;        // of this size for good
constexpr int kIntermediario = 6;  // to who opens files for it; closed before it greets
constexpr int kCuantos = 7;

constexpr int64_t kMaxPixeles = 100'000'000;
constexpr int64_t kBytesPixeles = kMaxPixeles * 4;

// Exit status for memory that ran out: the libraries end the process when it does.
constexpr int kSalidaSinMemoria = 75;

enum class Estado : uint32_t { Bien, Protegido, Danado, TamanoInvalido, SinMemoria, SinDibujar };

// The first record. One whose walls don't suffice sends it and ends.
struct Saludo {
    uint32_t seccomp = 0;        // 1: the filter of calls is in force
    uint32_t intermediario = 0;  // 1: files are opened by the other side
    int32_t landlock = 0;        // version of the kernel's interface, 0 without
};

struct Peticion {
    uint32_t numero = 0;  // from 1
    int32_t pagina = 0;
    int32_t ancho = 0;
};

// The one that comes unasked has number 0 and the page count as `ancho`.
struct Respuesta {
    uint32_t numero = 0;
    Estado estado = Estado::Bien;
    int32_t ancho = 0;
    int32_t alto = 0;
};

}  // namespace Lx::Ayudante
