// The one DER element reader of the program (X.690) and the DigestInfo prefix of SHA-256.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Lx::Der {

struct Tlv {
    uint8_t tag = 0;       // first identifier byte
    size_t inicio = 0;     // offset of the element's first byte
    size_t contenido = 0;  // offset of its first content byte
    size_t longitud = 0;   // content length
    size_t fin = 0;        // offset just past the element
};

// Reads the element of buf[0, size) that starts at byte `pos` and moves `pos` past it. Offsets in `tlv` count from the
// start of `buf`. False, with `pos` unchanged, at the end or on a length that is indefinite, over four bytes or past
// the end (X.690, 8.1.3). High tag numbers are skipped over, up to five bytes of them.
[[nodiscard]] bool Next(const unsigned char* buf, size_t size, size_t& pos, Tlv& tlv);

// The same for an element that must have this tag. `pos` moves past an element with another tag too.
[[nodiscard]] inline bool NextCon(const unsigned char* buf, size_t size, size_t& pos, uint8_t tag, Tlv& tlv) {
    return Next(buf, size, pos, tlv) && tlv.tag == tag;
}

// DigestInfo ::= SEQUENCE { SEQUENCE { OID id-sha256, NULL }, OCTET STRING digest } for 32 bytes of SHA-256 (RFC 8017,
// 9.2, note 1).
[[nodiscard]] std::vector<unsigned char> DigestInfoSha256(const std::vector<unsigned char>& digest);

}  // namespace Lx::Der
