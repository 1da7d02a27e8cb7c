#include "crypto/LxSecreto.h"

#include <string.h>

namespace Lx {

void Limpiar(std::string& secreto) {
    secreto.resize(secreto.capacity());
    explicit_bzero(secreto.data(), secreto.size());
    secreto.clear();
}

}  // namespace Lx
