#include <algorithm>
#include <cstring>

#include "crypto/LxApi.h"
#include "crypto/LxSha256.h"
#include "crypto/Sha256Compresion.h"

namespace Lx::Api {
namespace Interno {
namespace {

constexpr size_t kBloque = 64;

template <typename Entero>
void EscribirMayorPrimero(Entero valor, unsigned char* destino) {
    for (size_t i = 0; i < sizeof valor; ++i) {
        destino[i] = static_cast<unsigned char>((valor >> (8 * (sizeof valor - 1 - i))) & 0xFF);
    }
}

}  // namespace

void Sha256Update(Sha256Ctx& ctx, const void* bytes, size_t size) {
    if (size == 0) return;
    const auto* p = static_cast<const unsigned char*>(bytes);
    const Compresion comprimir = Elegida().funcion;
    ctx.total += size;
    if (ctx.usados > 0) {
        const size_t parte = std::min(kBloque - ctx.usados, size);
        std::memcpy(ctx.bloque + ctx.usados, p, parte);
        ctx.usados += parte;
        p += parte;
        size -= parte;
        if (ctx.usados < kBloque) return;
        comprimir(ctx.estado, ctx.bloque, 1);
        ctx.usados = 0;
    }
    comprimir(ctx.estado, p, size / kBloque);
    ctx.usados = size % kBloque;
    if (ctx.usados > 0) std::memcpy(ctx.bloque, p + size - ctx.usados, ctx.usados);
}

bool Sha256DosALaVez() {
    static const bool puede = Elegida().dos != nullptr && PasaPruebaConocida(Elegida().dos);
    return puede;
}

void Sha256UpdateDos(Sha256Ctx& una, const void* bytesUna, Sha256Ctx& otra, const void* bytesOtra, size_t size) {
    const auto* p = static_cast<const unsigned char*>(bytesUna);
    const auto* q = static_cast<const unsigned char*>(bytesOtra);
    size_t juntos = 0;
    if (una.usados == 0 && otra.usados == 0 && Sha256DosALaVez()) {
        juntos = size - size % kBloque;
        Elegida().dos(una.estado, p, otra.estado, q, juntos / kBloque);
        una.total += juntos;
        otra.total += juntos;
    }
    Sha256Update(una, p + juntos, size - juntos);
    Sha256Update(otra, q + juntos, size - juntos);
}

std::vector<unsigned char> Sha256Fin(Sha256Ctx ctx) {
    // 0x80, zeros up to 8 bytes before the end of a block, the length in bits (FIPS 180-4, 5.1.1)
    unsigned char cola[2 * kBloque] = {};
    std::memcpy(cola, ctx.bloque, ctx.usados);
    cola[ctx.usados] = 0x80;
    const size_t bloques = ctx.usados < kBloque - 8 ? 1 : 2;
    EscribirMayorPrimero(ctx.total * 8, cola + bloques * kBloque - 8);
    Elegida().funcion(ctx.estado, cola, bloques);
    std::vector<unsigned char> resumen(32);
    for (size_t i = 0; i < 8; ++i) EscribirMayorPrimero(ctx.estado[i], resumen.data() + 4 * i);
    return resumen;
}

}  // namespace Interno

std::vector<unsigned char> Sha256(const void* data, size_t size) {
    Interno::Sha256Ctx ctx;
    Interno::Sha256Update(ctx, data, size);
    return Interno::Sha256Fin(ctx);
}

std::vector<unsigned char> Sha256(const std::string& data) {
    return Sha256(data.data(), data.size());
}

}  // namespace Lx::Api
