// Memory that the window shares with its helpers, in slots: pixels and long answers come through it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ayudante/LxProtocolo.h"
#include "crypto/LxDescriptor.h"

namespace Lx::Ayudante {

class Ranuras;

// A slot, until it is destroyed. What stands in it is what a helper wrote, and may change while one looks: copy first.
class Ranura {
  public:
    Ranura() = default;
    ~Ranura() { Dejar(); }
    Ranura(Ranura&& otra) noexcept;
    Ranura& operator=(Ranura&& otra) noexcept;
    Ranura(const Ranura&) = delete;
    Ranura& operator=(const Ranura&) = delete;

    [[nodiscard]] explicit operator bool() const { return de_ != nullptr; }
    [[nodiscard]] unsigned char* Datos() const;
    [[nodiscard]] size_t Desde() const { return desde_; }
    [[nodiscard]] size_t Bytes() const { return bytes_; }
    // Gives back what lies beyond the first `bytes`.
    void Encoger(size_t bytes);

  private:
    friend class Ranuras;
    Ranura(std::shared_ptr<Ranuras> de, size_t desde, size_t bytes)
        : de_(std::move(de)), desde_(desde), bytes_(bytes) {}
    void Dejar();

    std::shared_ptr<Ranuras> de_;
    size_t desde_ = 0, bytes_ = 0;
};

// All of one memory. Used by one thread; it lives as long as any of its slots.
class Ranuras : public std::enable_shared_from_this<Ranuras> {
  public:
    // What is free and was used is kept up to this many bytes: getting it anew from the kernel takes time.
    static constexpr size_t kGuardado = size_t{16} << 20;

    // Null when there is no memory to be had. It takes none but that of the pages that are written to.
    [[nodiscard]] static std::shared_ptr<Ranuras> Crear(size_t bytes);
    ~Ranuras();
    Ranuras(const Ranuras&) = delete;
    Ranuras& operator=(const Ranuras&) = delete;

    // The first free run of that length; an empty slot when there is none.
    [[nodiscard]] Ranura Tomar(size_t bytes);
    // The helper is not to begin the request of that number.
    void Anular(uint32_t numero);
    // For a helper that counts its requests anew.
    void OlvidarAnulados();
    // Gives all that is free back to the system.
    void Vaciar();
    [[nodiscard]] const Api::Descriptor& Memoria() const { return memoria_; }

  private:
    friend class Ranura;
    enum class Unidad : uint8_t { Intacta, Usada, Tomada };

    Ranuras(Api::Descriptor memoria, unsigned char* vista, size_t bytes);
    void Devolver(size_t desde, size_t bytes);
    void Perforar(size_t primera, size_t fin);

    Api::Descriptor memoria_;
    unsigned char* vista_;
    std::vector<Unidad> unidades_;
    size_t guardadas_ = 0;  // of unidades_ that are Usada
};

}  // namespace Lx::Ayudante
