// Memory for secrets. It is locked, so that it never reaches the swap, where RLIMIT_MEMLOCK allows, and overwritten
// before it is given back; where it can't be locked everything goes on without.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "crypto/LxDescriptor.h"

namespace Lx {

// Whether a secret that is stored now would be locked.
[[nodiscard]] bool MemoriaBloqueable();

// Keeps the pages of [inicio, inicio + tamano) locked while it lives. Objects may share a page.
class PaginasBloqueadas {
  public:
    PaginasBloqueadas() = default;
    PaginasBloqueadas(const void* inicio, size_t tamano);
    ~PaginasBloqueadas();
    PaginasBloqueadas(const PaginasBloqueadas&) = delete;
    PaginasBloqueadas& operator=(const PaginasBloqueadas&) = delete;

  private:
    const void* inicio_ = nullptr;
    size_t tamano_ = 0;
};

// Bytes that never move nor leave a copy behind: room for all of them is set aside at the start, and locked as it is
// used.
class BloqueSecreto {
  public:
    explicit BloqueSecreto(size_t capacidad);
    ~BloqueSecreto();
    BloqueSecreto(BloqueSecreto&& otro) noexcept;
    BloqueSecreto& operator=(BloqueSecreto&&) = delete;
    BloqueSecreto(const BloqueSecreto&) = delete;
    BloqueSecreto& operator=(const BloqueSecreto&) = delete;

    // Where the next `n` bytes go; null when they don't fit. They count from the call of Crecer on.
    [[nodiscard]] char* Hueco(size_t n);
    void Crecer(size_t n) { tamano_ += n; }
    // False, with nothing added, when it doesn't fit.
    [[nodiscard]] bool Anadir(std::string_view datos);
    [[nodiscard]] std::string_view Ver() const { return {datos_, tamano_}; }
    [[nodiscard]] size_t Libre() const { return capacidad_ - tamano_; }
    void Vaciar();

  private:
    char* datos_ = nullptr;
    size_t capacidad_ = 0;
    size_t tamano_ = 0;
    size_t bloqueado_ = 0;
};

// A file that is in memory alone and has no name, for a program that reads a secret from a file. It closes itself in
// every program that is started, but for the one it is handed to. What it holds can't be read here but through it.
class FicheroMemoria {
  public:
    FicheroMemoria() = default;
    ~FicheroMemoria() { Quitar(); }
    FicheroMemoria(const FicheroMemoria&) = delete;
    FicheroMemoria& operator=(const FicheroMemoria&) = delete;

    // Makes the file of these pieces, one after the other; an earlier one goes first. On false there is none.
    [[nodiscard]] bool Crear(std::initializer_list<std::string_view> trozos);
    [[nodiscard]] int Valor() const { return fd_.Valor(); }
    // Overwrites what it holds and closes it.
    void Quitar();

  private:
    Api::Descriptor fd_;
    char* datos_ = nullptr;
    size_t tamano_ = 0;
};

}  // namespace Lx
