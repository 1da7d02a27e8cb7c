// Short commands of ISO/IEC 7816-4 over Lx::Pcsc, with the transport status words 61xx and 6Cxx answered here.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Lx::Iso7816 {

using Bytes = std::vector<unsigned char>;

inline constexpr int kSwOk = 0x9000;
inline constexpr int kSwFinDeFichero = 0x6282;  // the end came before the requested length
inline constexpr int kSwSinRespuesta = -1;      // the exchange failed below the card
inline constexpr int kMaxApdus = 150;           // of one connection

// cla ins p1 p2 le.
[[nodiscard]] Bytes CmdNoData(int cla, int ins, int p1, int p2, int le);
// cla ins p1 p2 Lc data [le]. Over 255 bytes of data have no short form: the result is empty, and Tx refuses it.
[[nodiscard]] Bytes CmdWithData(int cla, int ins, int p1, int p2, const Bytes& data, int le, bool withLe);

// A connected card; whoever connected fills the first two fields and disconnects. One object per connection: the
// counter is never reset. Every operation leaves the last status word in `sw`.
struct CCard {
    unsigned long card = 0;  // 0: not connected
    unsigned protocol = 0;   // as Lx::Pcsc::Conectar gave it
    int sw = kSwSinRespuesta;
    int apdus = 0;  // sent so far
    // How a command is sent and answered; empty: by Lx::Pcsc::Transmitir. A code, 0 when `respuesta` holds the answer.
    std::function<long(const Bytes& apdu, Bytes& respuesta)> via{};

    // Response data without the status word. 6Cxx is answered by one resend, and only when the command carries an Le:
    // in any other command the last byte is data, perhaps a digit of the PIN. 61xx is followed up to eight times.
    Bytes Tx(const Bytes& apdu);

    // Tries every P2 in order, each without Le and then with it, until 9000.
    [[nodiscard]] bool SelectAid(const Bytes& aid, const std::vector<int>& p2s);
    [[nodiscard]] bool SelectFid(const Bytes& fid, int p1, const std::vector<int>& p2s);
    [[nodiscard]] bool SelectOnce(const Bytes& data, int p1, int p2, bool withLe);

    // VERIFY without a PIN: asks for the retry counter and costs no try. The answer is `sw`.
    Bytes ConsultarPin(int ref);
    // VERIFY. A refusal costs one try.
    Bytes VerifyPin(const std::string& pin, int ref);
    // MANAGE SECURITY ENVIRONMENT, SET for digital signature.
    Bytes MseAt(const Bytes& data);
    // PERFORM SECURITY OPERATION, COMPUTE DIGITAL SIGNATURE.
    Bytes PsoCds(const Bytes& data);

    // The current file from its start, cut where its outermost BER-TLV ends when that lies within what was read.
    // `cortoTermina`: a chunk below 255 bytes is the last one even when that end is known.
    Bytes ReadBinary(bool cortoTermina);
    // The same file through the odd instruction, whose offset and answer are data objects (tags 54 and 53).
    Bytes ReadDo();

  private:
    bool Enviar(const Bytes& apdu, Bytes& data, int& estado);
    bool Select(const Bytes& data, int p1, const std::vector<int>& p2s);
};

}  // namespace Lx::Iso7816
