// Open files that close themselves, and the calls of the system that may give less than was asked for.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <utility>

namespace Lx::Api {

// Owns a file descriptor.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { static_cast<void>(Cerrar()); }
    Descriptor(Descriptor&& otro) noexcept : fd_(std::exchange(otro.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& otro) noexcept {
        static_cast<void>(Cerrar());
        fd_ = std::exchange(otro.fd_, -1);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Valor() const { return fd_; }
    [[nodiscard]] explicit operator bool() const { return fd_ >= 0; }
    // False when the system tells only now that what was written didn't arrive.
    bool Cerrar();

  private:
    int fd_ = -1;
};

// Bytes from `pos` on into `destino`, as many as there are up to `n`, fewer only at the end of the file. Negative, with
// errno set, when the device fails.
[[nodiscard]] ssize_t LeerEn(int fd, void* destino, size_t n, off_t pos);

}  // namespace Lx::Api
