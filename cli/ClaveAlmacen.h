// The passwords of the system store's locked databases and tokens.
#pragma once

#include <string>

#include "cli/Argumentos.h"
#include "cli/Clave.h"

namespace Cli {

// While it lives it answers the system store's questions: from the terminal, or with the one password that was given,
// which gets one try. What a store did not refuse answers it again for the next document.
class ClaveAlmacen {
  public:
    // `a` must outlive it. One at a time.
    explicit ClaveAlmacen(const Argumentos& a);
    ~ClaveAlmacen();
    ClaveAlmacen(const ClaveAlmacen&) = delete;
    ClaveAlmacen& operator=(const ClaveAlmacen&) = delete;

  private:
    [[nodiscard]] bool Responder(const std::string& almacen, int intento, bool ultimo, std::string& clave);
    [[nodiscard]] bool Preguntar(const std::string& almacen, int intento, bool ultimo, std::string& error);
    [[nodiscard]] bool LeerUnaVez(const std::string& almacen, int intento, bool ultimo, std::string& error);

    const Argumentos& a_;
    std::string almacen_;  // the one that was answered last
    Secreto clave_;        // with this
    bool leida_ = false;   // the given password has been used
};

}  // namespace Cli
