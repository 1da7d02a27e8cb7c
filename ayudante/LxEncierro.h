// What a helper gives up for good before it looks at a document.
#pragma once

namespace Lx::Ayudante {

// Memory, writing, other files than fonts and character tables, other programs, the network, other processes. Tells the
// window which walls stand; false when that can't be done or they don't suffice: then no document is to be opened.
[[nodiscard]] bool EncerrarseYSaludar();

}  // namespace Lx::Ayudante
