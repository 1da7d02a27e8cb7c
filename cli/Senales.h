// Signals that would end the program cancel its job instead.
#pragma once

#include "crypto/LxControlTrabajo.h"

namespace Cli {

// While it lives: SIGINT, SIGTERM and SIGHUP cancel the job of `control`. One that has not ended within a second,
// though no key is in use, is ended with the program, by that signal. A signal that the caller ignores stays ignored.
// One at a time.
class SenalesQueCancelan {
  public:
    explicit SenalesQueCancelan(Lx::Control& control);
    ~SenalesQueCancelan();
    SenalesQueCancelan(const SenalesQueCancelan&) = delete;
    SenalesQueCancelan& operator=(const SenalesQueCancelan&) = delete;
};

// Ends the program by the signal that cancelled a job; nothing when there was none.
void AcabarPorSenal();

}  // namespace Cli
