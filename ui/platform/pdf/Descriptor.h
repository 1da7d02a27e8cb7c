// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace Lx::Pdf {

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() { Cerrar(); }
    Descriptor(Descriptor&& otro) noexcept : fd_(std::exchange(otro.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& otro) noexcept {
        if (this != &otro) {
            Cerrar();
            fd_ = std::exchange(otro.fd_, -1);
        }
        return *this;
    }
    [[nodiscard]] bool Vale() const { return fd_ >= 0; }
    [[nodiscard]] int Numero() const { return fd_; }

  private:
    void Cerrar() {
        if (fd_ >= 0) close(fd_);
    }

    int fd_;
};

}  // namespace Lx::Pdf
