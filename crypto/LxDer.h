// The one reader and the one writer of DER elements (X.690), and the DigestInfo prefix of SHA-256. What is written
// travels in strings of bytes; "element" means tag, length and content together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Lx::Der {

// --- Reading

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

// A run of elements inside a larger buffer, read one after another; none reaches past the end of the run.
struct Lector {
    const unsigned char* buf = nullptr;
    size_t fin = 0;
    size_t pos = 0;

    [[nodiscard]] bool Leer(Tlv& tlv) { return Next(buf, fin, pos, tlv); }
    [[nodiscard]] bool Leer(uint8_t tag, Tlv& tlv) { return NextCon(buf, fin, pos, tag, tlv); }
    [[nodiscard]] bool Saltar(int elementos);
    // Opens the next element, which must have this tag; this reader moves past it.
    [[nodiscard]] bool Entrar(uint8_t tag, Lector& dentro);
    // What the element holds, but for its first bytes.
    [[nodiscard]] Lector Dentro(const Tlv& tlv, size_t sin = 0) const { return {buf, tlv.fin, tlv.contenido + sin}; }
    // The whole element.
    [[nodiscard]] std::string Elemento(const Tlv& tlv) const {
        return {reinterpret_cast<const char*>(buf) + tlv.inicio, tlv.fin - tlv.inicio};
    }
};

// --- Writing, from the inside out, with the shortest definite lengths (X.690, 10.1)

// Appends an element.
void Put(std::string& out, unsigned char tag, std::string_view content);
void PutRaw(std::string& out, unsigned char tag, const void* bytes, size_t n);

[[nodiscard]] std::string Elemento(unsigned char tag, std::string_view contenido);
[[nodiscard]] std::string Entero(uint64_t valor);
[[nodiscard]] std::string Octetos(std::string_view contenido);
[[nodiscard]] std::string Octetos(const std::vector<unsigned char>& contenido);
[[nodiscard]] std::string Nulo();
[[nodiscard]] std::string Oid(std::string_view contenido);
[[nodiscard]] std::string Secuencia(std::string_view elementos);
[[nodiscard]] std::string Conjunto(std::string_view elementos);  // in the order given

// DigestInfo ::= SEQUENCE { SEQUENCE { OID id-sha256, NULL }, OCTET STRING digest } for 32 bytes of SHA-256 (RFC 8017,
// 9.2, note 1).
[[nodiscard]] std::vector<unsigned char> DigestInfoSha256(const std::vector<unsigned char>& digest);

}  // namespace Lx::Der
