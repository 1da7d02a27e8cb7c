#include "crypto/Sha256X86.h"

#if defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

#include "crypto/Sha256Rondas.h"

// Instruction sets are chosen by function and not by file, so that no inline function of a header gets compiled with
// instructions that the processor may lack.
#define LX_SHANI __attribute__((target("sha,sse4.1,ssse3")))
#define LX_AVX2 __attribute__((target("avx2,bmi,bmi2")))
#define LX_SSSE3 __attribute__((target("ssse3")))

namespace Lx::Api::Interno {
namespace {

struct Procesador {
    bool ssse3 = false;
    bool shaNi = false;
    bool avx2 = false;
};

// Whether the system saves the upper halves of the vector registers (Intel SDM, volume 1, 14.3).
__attribute__((target("xsave"))) bool GuardaAvx() {
    return (_xgetbv(0) & 6U) == 6U;
}

Procesador Preguntar() {
    unsigned a = 0;
    unsigned b1 = 0;
    unsigned c1 = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b1, &c1, &d) == 0) return {};
    unsigned b7 = 0;
    unsigned c7 = 0;
    if (__get_cpuid_count(7, 0, &a, &b7, &c7, &d) == 0) b7 = 0;
    const auto tiene = [](unsigned registro, int bit) { return ((registro >> bit) & 1U) != 0; };
    Procesador p;
    p.ssse3 = tiene(c1, 9);
    p.shaNi = p.ssse3 && tiene(c1, 19) && tiene(b7, 29);
    const bool avx = tiene(c1, 27) && tiene(c1, 28) && GuardaAvx();
    p.avx2 = avx && tiene(b7, 5) && tiene(b7, 3) && tiene(b7, 8);
    return p;
}

const Procesador& Este() {
    static const Procesador unico = Preguntar();
    return unico;
}

// --- SHA extensions

// How far ahead the message is asked for. The rounds are faster than the memory answers, and its own prefetching stops
// at the end of each page. Asking for bytes past the end of the message does no harm.
constexpr size_t kPorDelante = 1024;

// One message under way: the hash words in the order that the instruction wants, and what is left of the message.
struct Curso {
    __m128i abef;
    __m128i cdgh;
    __m128i abefAntes;
    __m128i cdghAntes;
    __m128i w[4];
    const unsigned char* bloques;
};

[[gnu::always_inline]] LX_SHANI inline void EmpezarCurso(Curso& c, const uint32_t estado[8],
                                                         const unsigned char* bloques) {
    const auto* e = reinterpret_cast<const __m128i*>(estado);
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(e), 0xB1);
    const __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(e + 1), 0x1B);
    c.abef = _mm_alignr_epi8(badc, hgfe, 8);
    c.cdgh = _mm_blend_epi16(hgfe, badc, 0xF0);
    c.bloques = bloques;
}

[[gnu::always_inline]] LX_SHANI inline void AcabarCurso(const Curso& c, uint32_t estado[8]) {
    auto* e = reinterpret_cast<__m128i*>(estado);
    const __m128i feba = _mm_shuffle_epi32(c.abef, 0x1B);
    const __m128i dchg = _mm_shuffle_epi32(c.cdgh, 0xB1);
    _mm_storeu_si128(e, _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(e + 1, _mm_alignr_epi8(dchg, feba, 8));
}

[[gnu::always_inline]] LX_SHANI inline void AbrirBloque(Curso& c) {
    const __m128i giro = _mm_set_epi32(0x0C0D0E0F, 0x08090A0B, 0x04050607, 0x00010203);
    _mm_prefetch(reinterpret_cast<const char*>(c.bloques) + kPorDelante, _MM_HINT_T0);
    c.abefAntes = c.abef;
    c.cdghAntes = c.cdgh;
    for (size_t g = 0; g < 4; ++g) {
        c.w[g] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(c.bloques) + g), giro);
    }
    c.bloques += 64;
}

[[gnu::always_inline]] LX_SHANI inline void CerrarBloque(Curso& c) {
    c.abef = _mm_add_epi32(c.abef, c.abefAntes);
    c.cdgh = _mm_add_epi32(c.cdgh, c.cdghAntes);
}

// Four rounds with the schedule words w[g].
[[gnu::always_inline]] LX_SHANI inline void Rondas(Curso& c, size_t g, const uint32_t* k) {
    const __m128i wk = _mm_add_epi32(c.w[g], _mm_load_si128(reinterpret_cast<const __m128i*>(k)));
    c.cdgh = _mm_sha256rnds2_epu32(c.cdgh, c.abef, wk);
    c.abef = _mm_sha256rnds2_epu32(c.abef, c.cdgh, _mm_shuffle_epi32(wk, 0x0E));
}

// The four schedule words that follow the sixteen from w[g] on, in place of w[g].
[[gnu::always_inline]] LX_SHANI inline void Siguientes(Curso& c, size_t g) {
    const __m128i ultimas = c.w[(g + 3) % 4];
    const __m128i suma =
        _mm_add_epi32(_mm_sha256msg1_epu32(c.w[g], c.w[(g + 1) % 4]), _mm_alignr_epi8(ultimas, c.w[(g + 2) % 4], 4));
    c.w[g] = _mm_sha256msg2_epu32(suma, ultimas);
}

// --- Message schedule in vectors, rounds in scalars

// Sigma functions of FIPS 180-4, 4.1.2, on each word of a vector. The rotation is two shifts; these instruction sets
// have none of their own.
[[gnu::always_inline]] LX_SSSE3 inline __m128i Sigma0(__m128i x) {
    const __m128i r7 = _mm_or_si128(_mm_srli_epi32(x, 7), _mm_slli_epi32(x, 25));
    const __m128i r18 = _mm_or_si128(_mm_srli_epi32(x, 18), _mm_slli_epi32(x, 14));
    return _mm_xor_si128(_mm_xor_si128(r7, r18), _mm_srli_epi32(x, 3));
}

// `x` holds two words, each twice in a lane of 64 bits: a shift of the lane then rotates its low word.
[[gnu::always_inline]] LX_SSSE3 inline __m128i Sigma1Doble(__m128i x) {
    const __m128i r = _mm_xor_si128(_mm_srli_epi64(x, 17), _mm_srli_epi64(x, 19));
    return _mm_xor_si128(r, _mm_srli_epi32(x, 10));
}

// The four schedule words that follow w0..w3 (four each). The last two need the first two, hence two halves.
[[gnu::always_inline]] LX_SSSE3 inline __m128i SiguientesSsse3(__m128i w0, __m128i w1, __m128i w2, __m128i w3) {
    // Bytes that bring the low words of both lanes down to words 0 and 1, or up to words 2 and 3; -1 gives zero.
    const __m128i abajo = _mm_set_epi32(-1, -1, 0x0B0A0908, 0x03020100);
    const __m128i arriba = _mm_set_epi32(0x0B0A0908, 0x03020100, -1, -1);
    __m128i w = _mm_add_epi32(w0, Sigma0(_mm_alignr_epi8(w1, w0, 4)));
    w = _mm_add_epi32(w, _mm_alignr_epi8(w3, w2, 4));
    w = _mm_add_epi32(w, _mm_shuffle_epi8(Sigma1Doble(_mm_shuffle_epi32(w3, 0xFA)), abajo));
    return _mm_add_epi32(w, _mm_shuffle_epi8(Sigma1Doble(_mm_shuffle_epi32(w, 0x50)), arriba));
}

[[gnu::always_inline]] LX_SSSE3 inline void GuardarSsse3(uint32_t* wk, __m128i w, size_t grupo) {
    const __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(kRonda) + grupo);
    _mm_store_si128(reinterpret_cast<__m128i*>(wk + 4 * grupo), _mm_add_epi32(w, k));
}

[[gnu::always_inline]] LX_AVX2 inline __m256i Sigma0(__m256i x) {
    const __m256i r7 = _mm256_or_si256(_mm256_srli_epi32(x, 7), _mm256_slli_epi32(x, 25));
    const __m256i r18 = _mm256_or_si256(_mm256_srli_epi32(x, 18), _mm256_slli_epi32(x, 14));
    return _mm256_xor_si256(_mm256_xor_si256(r7, r18), _mm256_srli_epi32(x, 3));
}

[[gnu::always_inline]] LX_AVX2 inline __m256i Sigma1Doble(__m256i x) {
    const __m256i r = _mm256_xor_si256(_mm256_srli_epi64(x, 17), _mm256_srli_epi64(x, 19));
    return _mm256_xor_si256(r, _mm256_srli_epi32(x, 10));
}

// As SiguientesSsse3, for one block in the low half and the next block in the high half.
[[gnu::always_inline]] LX_AVX2 inline __m256i SiguientesAvx2(__m256i w0, __m256i w1, __m256i w2, __m256i w3) {
    const __m256i abajo = _mm256_broadcastsi128_si256(_mm_set_epi32(-1, -1, 0x0B0A0908, 0x03020100));
    const __m256i arriba = _mm256_broadcastsi128_si256(_mm_set_epi32(0x0B0A0908, 0x03020100, -1, -1));
    __m256i w = _mm256_add_epi32(w0, Sigma0(_mm256_alignr_epi8(w1, w0, 4)));
    w = _mm256_add_epi32(w, _mm256_alignr_epi8(w3, w2, 4));
    w = _mm256_add_epi32(w, _mm256_shuffle_epi8(Sigma1Doble(_mm256_shuffle_epi32(w3, 0xFA)), abajo));
    return _mm256_add_epi32(w, _mm256_shuffle_epi8(Sigma1Doble(_mm256_shuffle_epi32(w, 0x50)), arriba));
}

// Eight words a group: four of the first block, four of the second.
[[gnu::always_inline]] LX_AVX2 inline void GuardarAvx2(uint32_t* wk, __m256i w, size_t grupo) {
    const __m256i k = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(kRonda) + grupo));
    _mm256_store_si256(reinterpret_cast<__m256i*>(wk + 8 * grupo), _mm256_add_epi32(w, k));
}

// Words `grupo`·4 to +3 of two blocks.
[[gnu::always_inline]] LX_AVX2 inline __m256i LeerPar(const unsigned char* primero, const unsigned char* segundo,
                                                      size_t grupo) {
    const __m256i giro = _mm256_broadcastsi128_si256(_mm_set_epi32(0x0C0D0E0F, 0x08090A0B, 0x04050607, 0x00010203));
    const __m128i bajo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(primero) + grupo);
    const __m128i alto = _mm_loadu_si128(reinterpret_cast<const __m128i*>(segundo) + grupo);
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(bajo), alto, 1), giro);
}

// Groups g + 4 to g + 7 of the schedule of both blocks, and the rounds g to g + 3 (four each) of the first block.
[[gnu::always_inline]] LX_AVX2 inline void ExtenderConRondas(__m256i w[4], uint32_t* wk, size_t g, Palabras& v,
                                                             uint32_t& bc) {
    w[0] = SiguientesAvx2(w[0], w[1], w[2], w[3]);
    GuardarAvx2(wk, w[0], g + 4);
    CuatroRondas(v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h, wk + 8 * g, bc);
    w[1] = SiguientesAvx2(w[1], w[2], w[3], w[0]);
    GuardarAvx2(wk, w[1], g + 5);
    CuatroRondas(v.e, v.f, v.g, v.h, v.a, v.b, v.c, v.d, wk + 8 * g + 8, bc);
    w[2] = SiguientesAvx2(w[2], w[3], w[0], w[1]);
    GuardarAvx2(wk, w[2], g + 6);
    CuatroRondas(v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h, wk + 8 * g + 16, bc);
    w[3] = SiguientesAvx2(w[3], w[0], w[1], w[2]);
    GuardarAvx2(wk, w[3], g + 7);
    CuatroRondas(v.e, v.f, v.g, v.h, v.a, v.b, v.c, v.d, wk + 8 * g + 24, bc);
}

}  // namespace

bool HayShaNi() {
    return Este().shaNi;
}
bool HayAvx2() {
    return Este().avx2;
}
bool HaySsse3() {
    return Este().ssse3;
}

LX_SHANI void ComprimirShaNi(uint32_t estado[8], const unsigned char* bloques, size_t n) {
    Curso c;
    EmpezarCurso(c, estado, bloques);
    for (; n > 0; --n) {
        AbrirBloque(c);
        const uint32_t* k = kRonda;
        for (; k < kRonda + 48; k += 16) {
            for (size_t g = 0; g < 4; ++g) {
                Rondas(c, g, k + 4 * g);
                Siguientes(c, g);
            }
        }
        for (size_t g = 0; g < 4; ++g) Rondas(c, g, k + 4 * g);
        CerrarBloque(c);
    }
    AcabarCurso(c, estado);
}

// Each round waits for the one before it; another message's fill the time.
LX_SHANI void ComprimirDosShaNi(uint32_t estado1[8], const unsigned char* bloques1, uint32_t estado2[8],
                                const unsigned char* bloques2, size_t n) {
    Curso c;
    Curso d;
    EmpezarCurso(c, estado1, bloques1);
    EmpezarCurso(d, estado2, bloques2);
    for (; n > 0; --n) {
        AbrirBloque(c);
        AbrirBloque(d);
        const uint32_t* k = kRonda;
        for (; k < kRonda + 48; k += 16) {
            for (size_t g = 0; g < 4; ++g) {
                Rondas(c, g, k + 4 * g);
                Rondas(d, g, k + 4 * g);
                Siguientes(c, g);
                Siguientes(d, g);
            }
        }
        for (size_t g = 0; g < 4; ++g) {
            Rondas(c, g, k + 4 * g);
            Rondas(d, g, k + 4 * g);
        }
        CerrarBloque(c);
        CerrarBloque(d);
    }
    AcabarCurso(c, estado1);
    AcabarCurso(d, estado2);
}

LX_AVX2 void ComprimirAvx2(uint32_t estado[8], const unsigned char* bloques, size_t n) {
    alignas(32) uint32_t wk[16 * 8];
    for (; n > 0; n -= 2, bloques += 128) {
        // A last lone block is paired with itself, and the second half of the result isn't used.
        const unsigned char* segundo = n > 1 ? bloques + 64 : bloques;
        __m256i w[4];
        for (size_t g = 0; g < 4; ++g) {
            w[g] = LeerPar(bloques, segundo, g);
            GuardarAvx2(wk, w[g], g);
        }
        // The rounds of the first block fill the time that the schedule of both takes.
        Palabras v = Cargar(estado);
        uint32_t bc = v.b ^ v.c;
        for (size_t g = 0; g < 12; g += 4) ExtenderConRondas(w, wk, g, v, bc);
        OchoRondas(v, wk + 8 * 12, wk + 8 * 13, bc);
        OchoRondas(v, wk + 8 * 14, wk + 8 * 15, bc);
        Sumar(estado, v);
        if (n == 1) return;
        v = Cargar(estado);
        bc = v.b ^ v.c;
        for (size_t g = 0; g < 16; g += 2) OchoRondas(v, wk + 8 * g + 4, wk + 8 * g + 12, bc);
        Sumar(estado, v);
    }
}

LX_SSSE3 void ComprimirSsse3(uint32_t estado[8], const unsigned char* bloques, size_t n) {
    const __m128i giro = _mm_set_epi32(0x0C0D0E0F, 0x08090A0B, 0x04050607, 0x00010203);
    alignas(16) uint32_t wk[64];
    for (; n > 0; --n, bloques += 64) {
        __m128i w[4];
        for (size_t g = 0; g < 4; ++g) {
            w[g] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bloques) + g), giro);
            GuardarSsse3(wk, w[g], g);
        }
        Palabras v = Cargar(estado);
        uint32_t bc = v.b ^ v.c;
        for (size_t g = 0; g < 12; g += 4) {
            w[0] = SiguientesSsse3(w[0], w[1], w[2], w[3]);
            GuardarSsse3(wk, w[0], g + 4);
            w[1] = SiguientesSsse3(w[1], w[2], w[3], w[0]);
            GuardarSsse3(wk, w[1], g + 5);
            OchoRondas(v, wk + 4 * g, wk + 4 * g + 4, bc);
            w[2] = SiguientesSsse3(w[2], w[3], w[0], w[1]);
            GuardarSsse3(wk, w[2], g + 6);
            w[3] = SiguientesSsse3(w[3], w[0], w[1], w[2]);
            GuardarSsse3(wk, w[3], g + 7);
            OchoRondas(v, wk + 4 * g + 8, wk + 4 * g + 12, bc);
        }
        OchoRondas(v, wk + 48, wk + 52, bc);
        OchoRondas(v, wk + 56, wk + 60, bc);
        Sumar(estado, v);
    }
}

}  // namespace Lx::Api::Interno

#endif
