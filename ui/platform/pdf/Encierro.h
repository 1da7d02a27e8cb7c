// What the process gives up for good before it looks at a document.
#pragma once

namespace Lx::Pdf {

// Memory, writing, other files than fonts and character tables, other programs, the network, other processes. False
// when that can't be had: then no document is to be opened.
[[nodiscard]] bool Encerrarse();

}  // namespace Lx::Pdf
