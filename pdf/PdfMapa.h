// Where each object stands, by number.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace LxPdf {

// The largest object number that readers promise (ISO 32000-1, annex C).
inline constexpr uint32_t kNumeroMaximo = 8'388'607;

inline constexpr uint64_t kPosMaxima = (uint64_t{1} << 56) - 1;

enum class Tipo : uint8_t {
    Ninguna,  // no section says anything of it
    Libre,
    Suelta,   // `pos` is its offset
    EnFlujo,  // `pos` is the object stream's number << 32 | index
    Ajena,    // an entry type that nobody defines: null for some readers
};

struct Entrada {
    uint64_t pos : 56 = 0;
    Tipo tipo : 4 = Tipo::Ninguna;
    bool hibrida : 1 = false;   // free in the table of the section whose stream defines it
    bool repetida : 1 = false;  // stands twice in its section
    bool deTabla : 1 = false;   // a table said so
    uint32_t nodo = 0;          // the graph's own
    uint16_t gen = 0;
    uint16_t serie = 0;  // the section that said so, the newest is 1

    [[nodiscard]] bool Viva() const { return tipo == Tipo::Suelta || tipo == Tipo::EnFlujo; }
    [[nodiscard]] uint32_t Contenedor() const { return static_cast<uint32_t>(pos >> 32); }
    [[nodiscard]] uint32_t Indice() const { return static_cast<uint32_t>(pos & 0xFFFFFFFF); }
};
static_assert(sizeof(Entrada) == 16);

// Numbers may be far apart: memory goes by what is there, not by the largest.
class Mapa {
  public:
    [[nodiscard]] const Entrada* Ver(uint64_t num) const {
        const uint64_t bloque = num / kBloque;
        return bloque < bloques_.size() && bloques_[bloque] ? &(*bloques_[bloque])[num % kBloque] : nullptr;
    }
    [[nodiscard]] const Entrada* Viva(uint64_t num) const {
        const Entrada* e = Ver(num);
        return e != nullptr && e->Viva() ? e : nullptr;
    }
    // `num` is at most kNumeroMaximo.
    [[nodiscard]] Entrada& Poner(uint32_t num) {
        const size_t bloque = num / kBloque;
        if (bloque >= bloques_.size()) bloques_.resize(bloque + 1);
        if (!bloques_[bloque]) bloques_[bloque] = std::make_unique<Bloque>();
        mayor_ = std::max(mayor_, num);
        return (*bloques_[bloque])[num % kBloque];
    }
    [[nodiscard]] uint32_t Mayor() const { return mayor_; }

    // f(num, entrada) for every number that has an entry, ascending.
    template <class F>
    void ParaCada(F f) {
        for (size_t b = 0; b < bloques_.size(); ++b) {
            if (!bloques_[b]) continue;
            for (size_t i = 0; i < kBloque; ++i) {
                Entrada& e = (*bloques_[b])[i];
                if (e.tipo != Tipo::Ninguna) f(static_cast<uint32_t>(b * kBloque + i), e);
            }
        }
    }

  private:
    static constexpr size_t kBloque = 64;
    using Bloque = std::array<Entrada, kBloque>;

    std::vector<std::unique_ptr<Bloque>> bloques_;
    uint32_t mayor_ = 0;
};

}  // namespace LxPdf
