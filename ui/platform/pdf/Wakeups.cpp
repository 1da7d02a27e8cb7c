#include "ui/platform/pdf/Wakeups.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <utility>

#include "ui/LxApp.h"

namespace Lx::Pdf {
namespace {

CAppBackend* Backend() {
    return LxApp::s_pApp != nullptr ? LxApp::s_pApp->backend : nullptr;
}

}  // namespace

Wakeups::Wakeups(std::function<void()> ready)
    : ready_(std::make_shared<std::function<void()>>(std::move(ready))),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    Add(timer_.Valor());
    Bind();
}

Wakeups::~Wakeups() {
    CAppBackend* const backend = Backend();
    if (watch_ != 0 && backend != nullptr) backend->Unwatch(watch_);
}

void Wakeups::Add(int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    static_cast<void>(epoll_ctl(epoll_.Valor(), EPOLL_CTL_ADD, fd, &event));
}

void Wakeups::Remove(int fd) {
    static_cast<void>(epoll_ctl(epoll_.Valor(), EPOLL_CTL_DEL, fd, nullptr));
}

void Wakeups::At(Clock::time_point moment) {
    if (moment == at_ && moment > Clock::now()) return;
    at_ = moment;
    itimerspec spec{};
    if (moment != Clock::time_point::max()) {
        // The clock of both counts from the same moment; zero would mean never.
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
        spec.it_value = {ns / 1'000'000'000, ns % 1'000'000'000};
        if (ns <= 0) spec.it_value = {0, 1};
    }
    static_cast<void>(timerfd_settime(timer_.Valor(), TFD_TIMER_ABSTIME, &spec, nullptr));
}

void Wakeups::Bind() {
    CAppBackend* const backend = Backend();
    if (isBound_ || backend == nullptr) return;
    isBound_ = true;
    watch_ = backend->Watch(epoll_.Valor(), [ready = ready_] { (*ready)(); });
}

}  // namespace Lx::Pdf
