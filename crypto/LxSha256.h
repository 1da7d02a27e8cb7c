// Incremental SHA-256 (FIPS 180-4) for this program's own modules, where one pass over a document must serve two
// digests. The public interface is the one-shot Lx::Api::Sha256.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Lx::Api::Interno {

// A plain value: a copy is an independent continuation of the same prefix.
struct Sha256Ctx {
    uint32_t estado[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                          0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    uint64_t total = 0;  // bytes fed so far
    unsigned char bloque[64] = {};
    size_t usados = 0;  // bytes waiting in `bloque`, 0 to 63
};

void Sha256Update(Sha256Ctx& ctx, const void* bytes, size_t size);

// The next `size` bytes of two messages. Where Sha256DosALaVez() this takes hardly longer than one of them, because the
// processor's instructions for it wait for each other; elsewhere as long as one after the other.
void Sha256UpdateDos(Sha256Ctx& una, const void* bytesUna, Sha256Ctx& otra, const void* bytesOtra, size_t size);
[[nodiscard]] bool Sha256DosALaVez();

// Digest of what was fed, 32 bytes. Takes a copy: the caller's context can go on.
[[nodiscard]] std::vector<unsigned char> Sha256Fin(Sha256Ctx ctx);

}  // namespace Lx::Api::Interno
