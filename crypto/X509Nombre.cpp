#include <cstdio>
#include <string_view>

#include "crypto/X509Interno.h"

namespace Lx::X509::Interno {
namespace {

using namespace std::string_view_literals;

constexpr uint8_t kOid = 0x06;
constexpr uint8_t kUniversalString = 0x1C;
constexpr uint8_t kBmpString = 0x1E;
constexpr uint8_t kSecuencia = 0x30;
constexpr uint8_t kConjunto = 0x31;

constexpr struct {
    std::string_view oid;  // content bytes
    const char* nombre;
} kTipos[] = {
    {"\x55\x04\x03"sv, "CN"},                               // 2.5.4.3
    {"\x55\x04\x04"sv, "SURNAME"},                          // 2.5.4.4
    {"\x55\x04\x05"sv, "SERIALNUMBER"},                     // 2.5.4.5
    {"\x55\x04\x06"sv, "C"},                                // 2.5.4.6
    {"\x55\x04\x07"sv, "L"},                                // 2.5.4.7
    {"\x55\x04\x08"sv, "ST"},                               // 2.5.4.8
    {"\x55\x04\x0A"sv, "O"},                                // 2.5.4.10
    {"\x55\x04\x0B"sv, "OU"},                               // 2.5.4.11
    {"\x55\x04\x0C"sv, "T"},                                // 2.5.4.12
    {"\x55\x04\x2A"sv, "GIVENNAME"},                        // 2.5.4.42
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x09\x01"sv, "E"},        // 1.2.840.113549.1.9.1
    {"\x09\x92\x26\x89\x93\xF2\x2C\x64\x01\x01"sv, "UID"},  // 0.9.2342.19200300.100.1.1
    {"\x09\x92\x26\x89\x93\xF2\x2C\x64\x01\x19"sv, "DC"},   // 0.9.2342.19200300.100.1.25
};

std::string_view Vista(const unsigned char* buf, const Der::Tlv& tlv) {
    return {reinterpret_cast<const char*>(buf) + tlv.contenido, tlv.longitud};
}

std::string NombreDeTipo(std::string_view oid) {
    for (const auto& fila : kTipos) {
        if (fila.oid == oid) return fila.nombre;
    }
    constexpr size_t kMaxBytes = 12;
    std::string nombre = "OID.";
    for (size_t i = 0; i < oid.size() && i < kMaxBytes; ++i) {
        char texto[8];
        std::snprintf(texto, sizeof texto, "%s%02X", i == 0 ? "" : ".", static_cast<unsigned char>(oid[i]));
        nombre += texto;
    }
    return nombre;
}

// Surrogate halves are written one by one, as any other unit of 16 bits.
void PonerUtf8(std::string& texto, uint32_t u) {
    const auto byte = [&texto](uint32_t valor) { texto.push_back(static_cast<char>(valor)); };
    const auto sigue = [&byte](uint32_t valor) { byte(0x80 | (valor & 0x3F)); };
    if (u < 0x80) return byte(u);
    if (u < 0x800) {
        byte(0xC0 | (u >> 6));
        return sigue(u);
    }
    if (u <= 0xFFFF) {
        byte(0xE0 | (u >> 12));
        sigue(u >> 6);
        return sigue(u);
    }
    byte(0xF0 | ((u >> 18) & 0x07));
    sigue(u >> 12);
    sigue(u >> 6);
    sigue(u);
}

std::string DeUnidades(std::string_view bytes, size_t ancho) {
    std::string texto;
    texto.reserve(bytes.size());
    for (size_t i = 0; bytes.size() - i >= ancho; i += ancho) {
        uint32_t unidad = 0;
        for (size_t j = 0; j < ancho; ++j) unidad = (unidad << 8) | static_cast<unsigned char>(bytes[i + j]);
        if (unidad != 0) PonerUtf8(texto, unidad);
    }
    return texto;
}

std::string TextoDe(uint8_t tag, std::string_view bytes) {
    if (tag == kBmpString) return DeUnidades(bytes, 2);
    if (tag == kUniversalString) return DeUnidades(bytes, 4);
    return std::string(bytes);
}

// Name ::= SEQUENCE OF SET OF SEQUENCE { type OBJECT IDENTIFIER, value ANY }
// Calls visitar(oid, value) for each attribute until it returns false.
template <typename Visita>
void Recorrer(const unsigned char* bytes, size_t size, Visita visitar) {
    Der::Lector nombre{bytes, size, 0};
    for (Der::Tlv conjunto; nombre.Leer(conjunto);) {
        if (conjunto.tag != kConjunto) continue;
        Der::Lector pares = nombre.Dentro(conjunto);
        for (Der::Tlv par; pares.Leer(par);) {
            Der::Lector campos = pares.Dentro(par);
            Der::Tlv oid;
            Der::Tlv valor;
            if (par.tag != kSecuencia || !campos.Leer(kOid, oid) || !campos.Leer(valor)) continue;
            if (!visitar(oid, valor)) return;
        }
    }
}

}  // namespace

std::vector<Rdn> ParseNombre(const unsigned char* bytes, size_t size) {
    std::vector<Rdn> rdns;
    Recorrer(bytes, size, [&](const Der::Tlv& oid, const Der::Tlv& valor) {
        rdns.push_back({NombreDeTipo(Vista(bytes, oid)), TextoDe(valor.tag, Vista(bytes, valor))});
        return true;
    });
    return rdns;
}

bool HayAtributo(const unsigned char* bytes, size_t size) {
    bool hay = false;
    Recorrer(bytes, size, [&hay](const Der::Tlv&, const Der::Tlv&) {
        hay = true;
        return false;
    });
    return hay;
}

std::string DnTexto(const std::vector<Rdn>& rdns) {
    std::string texto;
    for (const Rdn& rdn : rdns) {
        if (!texto.empty()) texto += ", ";
        texto += rdn.tipo;
        texto += '=';
        texto += rdn.valor;
    }
    return texto;
}

std::string CnDe(const std::vector<Rdn>& rdns) {
    for (const Rdn& rdn : rdns) {
        if (rdn.tipo == "CN" && !rdn.valor.empty()) return rdn.valor;
    }
    return {};
}

}  // namespace Lx::X509::Interno
