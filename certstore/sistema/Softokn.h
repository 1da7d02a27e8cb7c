// One NSS database, opened read-only through NSS's own PKCS#11 module (softokn), whether or not somebody else in this
// process uses that module too.
#pragma once

#include <string>
#include <vector>

#include "certstore/sistema/Pkcs11.h"

namespace Lx::CertStore::Pkcs11 {

// The module; null when it isn't installed.
[[nodiscard]] CK_FUNCTION_LIST* Softokn();

// Closed by the destructor.
class BaseNss {
  public:
    BaseNss(CK_FUNCTION_LIST* softokn, std::string carpeta) : f_(softokn), carpeta_(std::move(carpeta)) {}
    ~BaseNss();
    BaseNss(const BaseNss&) = delete;
    BaseNss& operator=(const BaseNss&) = delete;

    [[nodiscard]] CK_RV Abrir();
    [[nodiscard]] CK_RV Tokens(std::vector<Token>& tokens) const;

  private:
    [[nodiscard]] CK_RV PedirRanura(CK_OBJECT_CLASS clase, const std::string& base);
    [[nodiscard]] CK_RV AbrirAparte();

    CK_FUNCTION_LIST* f_;
    std::string carpeta_;
    bool iniciado_ = false;  // the module was initialised here
    CK_SLOT_ID aparte_ = 0;  // the slot that was added to somebody else's module
};

}  // namespace Lx::CertStore::Pkcs11
