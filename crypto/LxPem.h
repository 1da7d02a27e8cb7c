// Textual encodings (RFC 7468), secret ones among them.
#pragma once

#include <string_view>
#include <vector>

#include "crypto/LxMemoria.h"

namespace Lx::Api {

struct BloquePem {
    std::string_view entero;  // with both of its marks
    std::string_view cuerpo;  // what stands between them
};

// The blocks of this label, "CERTIFICATE" for example, in their order. What stands around them doesn't matter; a block
// without an end is none.
[[nodiscard]] std::vector<BloquePem> BloquesPem(std::string_view texto, std::string_view etiqueta);

// As the decoder of plain texts; appends to `out`. False too when it doesn't fit.
[[nodiscard]] bool Base64Decode(std::string_view text, BloqueSecreto& out);

}  // namespace Lx::Api
