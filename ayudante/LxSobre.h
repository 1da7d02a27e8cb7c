// Long answers of a helper: values one after the other, as the machine has them. Who reads believes no length.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace Lx::Ayudante {

class Escritor {
  public:
    Escritor(unsigned char* donde, size_t bytes) : donde_(donde), bytes_(bytes) {}

    // False, with nothing written, when it doesn't fit.
    template <class T>
    [[nodiscard]] bool Poner(const T& valor) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (bytes_ - escritos_ < sizeof valor) return false;
        std::memcpy(donde_ + escritos_, &valor, sizeof valor);
        escritos_ += sizeof valor;
        return true;
    }
    [[nodiscard]] bool PonerTexto(std::string_view texto) {
        if (bytes_ - escritos_ < sizeof(uint32_t) || bytes_ - escritos_ - sizeof(uint32_t) < texto.size()) return false;
        static_cast<void>(Poner(static_cast<uint32_t>(texto.size())));
        std::copy(texto.begin(), texto.end(), donde_ + escritos_);
        escritos_ += texto.size();
        return true;
    }
    [[nodiscard]] uint32_t Escritos() const { return static_cast<uint32_t>(escritos_); }
    // Forgets what was written after the first `bytes`.
    void Volver(size_t bytes) { escritos_ = std::min(bytes, escritos_); }

  private:
    unsigned char* donde_;
    size_t bytes_, escritos_ = 0;
};

// Of a copy of its own: what lies in shared memory may change while it is read.
class Lector {
  public:
    Lector(const unsigned char* datos, size_t bytes)
        : copia_(datos == nullptr ? "" : reinterpret_cast<const char*>(datos), bytes) {}

    // False at the end.
    template <class T>
    [[nodiscard]] bool Sacar(T& valor) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (copia_.size() - leidos_ < sizeof valor) return false;
        std::memcpy(&valor, copia_.data() + leidos_, sizeof valor);
        leidos_ += sizeof valor;
        return true;
    }
    [[nodiscard]] bool SacarTexto(std::string& texto) {
        uint32_t largo = 0;
        if (!Sacar(largo) || largo > copia_.size() - leidos_) return false;
        texto = copia_.substr(leidos_, largo);
        leidos_ += largo;
        return true;
    }

  private:
    std::string copia_;
    size_t leidos_ = 0;
};

}  // namespace Lx::Ayudante
