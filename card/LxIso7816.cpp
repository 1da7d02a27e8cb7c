#include "card/LxIso7816.h"

#include <string.h>

#include <algorithm>
#include <cstddef>

#include "card/LxPcsc.h"

namespace Lx::Iso7816 {

namespace {

constexpr int kMaxGetResponse = 8;
constexpr int kMaxReadBinary = 40;
constexpr int kMaxReadDo = 23;
constexpr size_t kMaxOffset = 32768;  // READ BINARY addresses 15 bits
constexpr size_t kTrozo = 255;

// Cases 2 and 4 of ISO/IEC 7816-3, 12.1: the last byte is an Le.
bool LlevaLe(const Bytes& apdu) {
    return apdu.size() == 5 || (apdu.size() > 5 && apdu.size() == size_t{6} + apdu[4]);
}

bool SiguenDatos(int sw) {
    return sw == kSwOk || sw == kSwFinDeFichero;
}

void Agregar(Bytes& destino, const Bytes& trozo, size_t desde = 0) {
    destino.insert(destino.end(), trozo.begin() + static_cast<std::ptrdiff_t>(desde), trozo.end());
}

// Length of the element that `buf` starts with, header included; 0 when it can't be told or is not all there yet.
size_t TotalTlv(const Bytes& buf) {
    if (buf.size() < 4) return 0;
    size_t pos = 1;
    if ((buf[0] & 0x1F) == 0x1F) {
        do {
            if (pos >= 5 || pos >= buf.size()) return 0;
        } while ((buf[pos++] & 0x80) != 0);
    }
    if (pos >= buf.size()) return 0;
    const unsigned primero = buf[pos++];
    size_t longitud = primero;
    if (primero >= 0x80) {
        const size_t n = primero - 0x80U;
        if (n == 0 || n > 4 || buf.size() - pos < n) return 0;
        longitud = 0;
        for (size_t i = 0; i < n; ++i) longitud = longitud << 8 | buf[pos++];
    }
    return longitud <= buf.size() - pos ? pos + longitud : 0;
}

// The content of the discretionary data object (tag 53) that `resp` starts with, as far as it is there; any other
// answer is content as it is.
Bytes ContenidoDo(const Bytes& resp) {
    if (resp.size() < 3) return {};
    if (resp[0] != 0x53) return resp;
    size_t pos = 2;
    size_t longitud = 0;
    if (resp[1] < 0x80) {
        longitud = resp[1];
    } else if (resp[1] == 0x81) {
        longitud = resp[2];
        pos = 3;
    } else if (resp[1] == 0x82 && resp.size() >= 4) {
        longitud = size_t{resp[2]} << 8 | resp[3];
        pos = 4;
    }
    longitud = std::min(longitud, resp.size() - pos);
    const auto inicio = resp.begin() + static_cast<std::ptrdiff_t>(pos);
    return Bytes(inicio, inicio + static_cast<std::ptrdiff_t>(longitud));
}

unsigned char Octeto(size_t valor) {
    return static_cast<unsigned char>(valor & 0xFF);
}

}  // namespace

Bytes CmdNoData(int cla, int ins, int p1, int p2, int le) {
    Bytes apdu;
    for (const int valor : {cla, ins, p1, p2, le}) apdu.push_back(static_cast<unsigned char>(valor));
    return apdu;
}

Bytes CmdWithData(int cla, int ins, int p1, int p2, const Bytes& data, int le, bool withLe) {
    if (data.size() > 255) return {};
    Bytes apdu = CmdNoData(cla, ins, p1, p2, static_cast<int>(data.size()));
    Agregar(apdu, data);
    if (withLe) apdu.push_back(static_cast<unsigned char>(le));
    return apdu;
}

// One APDU on the wire. Both outputs are set on true only.
bool CCard::Enviar(const Bytes& apdu, Bytes& data, int& estado) {
    if (apdus >= kMaxApdus) return false;
    ++apdus;
    Bytes respuesta;
    const long code = via ? via(apdu, respuesta) : Pcsc::Transmitir(card, protocol, apdu, respuesta);
    if (code != 0 || respuesta.size() < 2) return false;
    estado = respuesta[respuesta.size() - 2] << 8 | respuesta.back();
    respuesta.resize(respuesta.size() - 2);
    data = std::move(respuesta);
    return true;
}

Bytes CCard::Tx(const Bytes& apdu) {
    sw = kSwSinRespuesta;
    Bytes data;
    int estado = 0;
    if (card == 0 || apdu.empty() || !Enviar(apdu, data, estado)) return {};
    if (estado >> 8 == 0x6C && LlevaLe(apdu)) {
        Bytes otra = apdu;
        otra.back() = static_cast<unsigned char>(estado & 0xFF);
        if (!Enviar(otra, data, estado)) return {};
    }
    for (int i = 0; i < kMaxGetResponse && estado >> 8 == 0x61 && apdus < kMaxApdus; ++i) {
        Bytes resto;
        if (!Enviar(CmdNoData(0x00, 0xC0, 0x00, 0x00, estado & 0xFF), resto, estado)) return {};
        Agregar(data, resto);
    }
    sw = estado;
    return data;
}

bool CCard::Select(const Bytes& data, int p1, const std::vector<int>& p2s) {
    for (const int p2 : p2s) {
        for (const bool withLe : {false, true}) {
            if (SelectOnce(data, p1, p2, withLe)) return true;
        }
    }
    return false;
}

bool CCard::SelectAid(const Bytes& aid, const std::vector<int>& p2s) {
    return Select(aid, 0x04, p2s);
}

bool CCard::SelectFid(const Bytes& fid, int p1, const std::vector<int>& p2s) {
    return Select(fid, p1, p2s);
}

bool CCard::SelectOnce(const Bytes& data, int p1, int p2, bool withLe) {
    Tx(CmdWithData(0x00, 0xA4, p1, p2, data, 0x00, withLe));
    return sw == kSwOk;
}

Bytes CCard::ConsultarPin(int ref) {
    return Tx(CmdNoData(0x00, 0x20, 0x00, ref, 0x00));
}

Bytes CCard::VerifyPin(const std::string& pin, int ref) {
    Bytes digitos(pin.begin(), pin.end());
    Bytes apdu = CmdWithData(0x00, 0x20, 0x00, ref, digitos, 0x00, false);
    Bytes respuesta = Tx(apdu);
    explicit_bzero(digitos.data(), digitos.size());
    explicit_bzero(apdu.data(), apdu.size());
    return respuesta;
}

Bytes CCard::MseAt(const Bytes& data) {
    return Tx(CmdWithData(0x00, 0x22, 0x41, 0xB6, data, 0x00, false));
}

Bytes CCard::PsoCds(const Bytes& data) {
    return Tx(CmdWithData(0x00, 0x2A, 0x9E, 0x9A, data, 0x00, true));
}

Bytes CCard::ReadBinary(bool cortoTermina) {
    Bytes fichero;
    size_t total = 0;
    for (int i = 0; i < kMaxReadBinary && fichero.size() < kMaxOffset; ++i) {
        const size_t offset = fichero.size();
        const Bytes trozo = Tx(CmdNoData(0x00, 0xB0, (offset >> 8) & 0x7F, offset & 0xFF, kTrozo));
        if (!SiguenDatos(sw) || trozo.empty()) break;
        Agregar(fichero, trozo);
        if (total == 0) total = TotalTlv(fichero);
        const bool corto = trozo.size() < kTrozo && (total == 0 || cortoTermina);
        if (sw == kSwFinDeFichero || corto || (total != 0 && fichero.size() >= total)) break;
    }
    if (total != 0 && total < fichero.size()) fichero.resize(total);
    return fichero;
}

Bytes CCard::ReadDo() {
    Bytes fichero;
    for (int i = 0; i < kMaxReadDo && fichero.size() < kMaxOffset; ++i) {
        const size_t offset = fichero.size();
        const Bytes objeto = {0x54, 0x02, Octeto(offset >> 8), Octeto(offset)};
        const Bytes respuesta = Tx(CmdWithData(0x00, 0xB1, 0x00, 0x00, objeto, kTrozo, true));
        if (!SiguenDatos(sw)) break;
        const Bytes trozo = ContenidoDo(respuesta);
        Agregar(fichero, trozo);
        if (sw == kSwFinDeFichero || trozo.empty()) break;
    }
    return fichero;
}

}  // namespace Lx::Iso7816
