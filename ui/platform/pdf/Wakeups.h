// One thing to wait for in the place of many: descriptors that can be read and a moment in time.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "crypto/LxDescriptor.h"

namespace Lx::Pdf {

class Wakeups {
  public:
    using Clock = std::chrono::steady_clock;

    // `ready` is called from the event loop, once there is one.
    explicit Wakeups(std::function<void()> ready);
    ~Wakeups();
    Wakeups(const Wakeups&) = delete;
    Wakeups& operator=(const Wakeups&) = delete;

    // Open until it is removed.
    void Add(int fd);
    void Remove(int fd);
    // The only moment; Clock::time_point::max(): none.
    void At(Clock::time_point moment);
    // Looks for the event loop, unless it was found before.
    void Bind();
    // Can be read when `ready` has something to do.
    [[nodiscard]] int Fd() const { return epoll_.Valor(); }

  private:
    std::shared_ptr<std::function<void()>> ready_;
    Api::Descriptor epoll_, timer_;
    Clock::time_point at_ = Clock::time_point::max();
    unsigned watch_ = 0;
    bool isBound_ = false;
};

}  // namespace Lx::Pdf
