// Digests, text codecs, the RSA signature check and process services. Free functions without state; none throws except
// for out of memory. Byte buffers are vectors of unsigned char, texts are strings of bytes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Lx::Api {

// --- Digests (FIPS 180-4)
// ---------------------------------------------------------------------------------------------

// SHA-256, always 32 bytes. The compression function is the fastest one that the processor has and that passes a known
// answer at first use.
[[nodiscard]] std::vector<unsigned char> Sha256(const void* data, size_t size);
[[nodiscard]] std::vector<unsigned char> Sha256(const std::string& data);

// --- Text codecs
// ------------------------------------------------------------------------------------------------------

// Two upper-case digits per byte, no separators.
[[nodiscard]] std::string BinToHex(const void* data, size_t size);

// Digits of either case; space, ':' and '_' are skipped anywhere. Any other character gives an empty result; a last
// lone digit is dropped.
[[nodiscard]] std::vector<unsigned char> HexToBin(const std::string& text);

// Standard alphabet with padding, never a line break (RFC 4648, 4).
[[nodiscard]] std::string Base64Encode(const void* data, size_t size);
[[nodiscard]] std::string Base64Encode(const std::string& data);

// Space, tab, LF and CR are skipped anywhere. False on a length that is not a multiple of four (`out` untouched) or on
// a wrong character or padding (`out` then holds the groups before it and must not be used).
[[nodiscard]] bool Base64Decode(const std::string& text, std::string& out);

// Everything but letters, digits and "-._~" as %XX (RFC 3986, 2.1).
[[nodiscard]] std::string UrlEncode(const std::string& text);

// The reverse, and "+" is a space. A "%" without two digits after it stays as it is.
[[nodiscard]] std::string UrlDecode(const std::string& text);

// Lowers A to Z only; bytes from 0x80 are left alone.
[[nodiscard]] std::string ToLowerAscii(const std::string& text);

// --- RSA (RFC 8017, 8.2.2: RSASSA-PKCS1-v1_5 verification with SHA-256)
// -------------------------------------------------

// Whether `signature` is the signature of data[0, size) under the public key. `modulus` and `exponent` are big-endian,
// as Lx::X509::ClaveRsa gives them. Every broken precondition is false.
[[nodiscard]] bool RsaFirmaValida(const std::vector<unsigned char>& modulus, const std::vector<unsigned char>& exponent,
                                  const std::vector<unsigned char>& signature, const void* data, size_t size);

// --- Process and files
// ------------------------------------------------------------------------------------------------

// The path is not empty and can be opened for reading.
[[nodiscard]] bool FileExists(const std::string& path);

// Appends `line` and a line feed in one write; nothing is put before it. False when not all of it was written.
[[nodiscard]] bool AppendLog(const std::string& path, const std::string& line);

// Local time by strftime; null means "%Y-%m-%d %H:%M:%S". Empty when the text is over 127 bytes or empty.
[[nodiscard]] std::string TimestampNow(const char* format = nullptr);

// Full path of the running executable, symbolic links resolved; empty when it can't be had.
[[nodiscard]] std::string GetCurrentSelfPath();
// Its folder: "/" for a program in the root, "." when unknown.
[[nodiscard]] std::string ExeDirectory();
// Its file name.
[[nodiscard]] std::string ExeName();

// Always false: this platform has no registry of URL schemes that a program writes to.
[[nodiscard]] bool RegisterUrlScheme(const std::string& scheme);

}  // namespace Lx::Api
