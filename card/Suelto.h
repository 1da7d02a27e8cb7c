// A thread that nobody waits for.
#pragma once

#include <functional>

namespace Lx::Pcsc {

// Runs `trabajo` on a thread of its own that takes none of the process's signals and that the program's end doesn't
// wait for: it may hold on to nothing that somebody else destroys.
void Suelto(std::function<void()> trabajo);

}  // namespace Lx::Pcsc
