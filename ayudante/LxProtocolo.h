// What the window and velmora-pagina say to each other: fixed records over a SOCK_SEQPACKET socket. The program greets
// with the walls that stand around it; from there on it answers each request once, in their order. Pixels and what is
// long lie in memory that both see, where the request says: the window alone shares it out.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Lx::Ayudante {

// What the program finds open, and nothing else beside the three standard ones.
constexpr int kCanal = 3;
constexpr int kRanuras = 4;        // of this size for good
constexpr int kIntermediario = 5;  // to who opens files for it; closed before it greets
constexpr int kCuantos = 6;

constexpr int64_t kMaxPixeles = 100'000'000;
// Of one answer about page sizes.
constexpr int32_t kMaxMedidas = 256;

// Exit status for memory that ran out: the libraries end the process when it does.
constexpr int kSalidaSinMemoria = 75;

// The memory is shared out in units of this many bytes; the first one is the header.
constexpr size_t kUnidad = size_t{64} << 10;

// The number of a request that nobody needs any more stands at its remainder, so that it isn't begun. Fewer than eight
// are under way at a time.
struct Cabecera {
    std::atomic<uint32_t> anulados[8];
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(Cabecera) <= kUnidad);

enum class Estado : uint32_t { Bien, Protegido, Danado, TamanoInvalido, SinMemoria, SinDibujar, Anulado };

enum class Orden : uint32_t {
    Abrir,     // comes with the document's bytes, sealed, and perhaps with a password
    Medidas,   // of `cuantos` pages from `pagina` on
    Dibujar,   // the part (x, y, ancho, alto) of the page as it is `total` pixels wide; alto 0: to its end
    Texto,     // of the page
    Buscar,    // on `cuantos` pages from `pagina` on, until some time has passed
    Enlaces,   // of the page
    Indice,    // the outline
    Adjuntos,  // names and sizes of the files inside
    Adjunto,   // `cuantos` bytes of file `pagina`, from byte `desde` on
};

constexpr uint32_t kParaImprimir = 1;
constexpr uint32_t kExacta = 2;  // search: letter case and accents count

// The first record. One whose walls don't suffice sends it and ends.
struct Saludo {
    uint32_t seccomp = 0;        // 1: the filter of calls is in force
    uint32_t intermediario = 0;  // 1: files are opened by the other side
    int32_t landlock = 0;        // version of the kernel's interface, 0 without
};

struct Peticion {
    uint32_t numero = 0;  // from 1
    Orden orden = Orden::Abrir;
    uint32_t banderas = 0;
    int32_t pagina = 0, cuantos = 0;
    int32_t total = 0, giro = 0, x = 0, y = 0, ancho = 0, alto = 0;
    uint32_t paso = 0;     // bytes from one row of pixels to the next
    uint64_t ranura = 0;   // where in the memory the answer goes
    uint32_t bytes = 0;    // how many there are
    uint32_t entrada = 0;  // how many of them hold what belongs to the request
    uint64_t desde = 0;
};

// Of Abrir.
constexpr uint32_t kCifrado = 1, kNoImprimir = 2, kNoImprimirBien = 4;

struct Respuesta {
    uint32_t numero = 0;
    Estado estado = Estado::Bien;
    int32_t valor = 0;      // Abrir: pages; Dibujar: rows; Buscar: pages that were searched
    uint32_t banderas = 0;  // Abrir
    uint32_t bytes = 0;     // of the slot that are the answer
};

}  // namespace Lx::Ayudante
