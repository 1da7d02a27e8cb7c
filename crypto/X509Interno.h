// Names and times of certificates (RFC 5280, 4.1.2.4 and 4.1.2.5), in their own unit so that tables can test them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "crypto/LxDer.h"

namespace Lx::X509::Interno {

struct Rdn {
    std::string tipo;   // "CN", or "OID." and bytes in hex
    std::string valor;  // UTF-8 where the string type says so, else the bytes as they are
};

// The attributes of a Name's content bytes in encoding order. What isn't a SET of SEQUENCE { OID, value } is skipped.
[[nodiscard]] std::vector<Rdn> ParseNombre(const unsigned char* bytes, size_t size);

// Whether ParseNombre would give anything, without building it.
[[nodiscard]] bool HayAtributo(const unsigned char* bytes, size_t size);

// "TYPE=value" joined by ", ".
[[nodiscard]] std::string DnTexto(const std::vector<Rdn>& rdns);

// The first CN that isn't empty, else "".
[[nodiscard]] std::string CnDe(const std::vector<Rdn>& rdns);

// Unix seconds of a UTCTime or GeneralizedTime whose offsets count from `buf`; 0 for anything unreadable.
[[nodiscard]] int64_t TiempoAEpoch(const unsigned char* buf, const Der::Tlv& tlv);

}  // namespace Lx::X509::Interno
