// What is known of each version of the card: identifiers, how it is recognised, what is read and how it signs.
#pragma once

#include <cstddef>
#include <vector>

namespace Lx::Dnie {

using Bytes = std::vector<unsigned char>;

enum class Perfil : int { V1 = 0, V2 = 1, V3 = 2, Ninguno = 3 };

// A short byte string written as upper-case hex in the source.
struct Cadena {
    unsigned char octeto[24] = {};
    size_t longitud = 0;

    [[nodiscard]] Bytes Valor() const { return Bytes(octeto, octeto + longitud); }
};

constexpr Cadena Hex(const char* texto) {
    Cadena c;
    const auto digito = [](char d) { return d <= '9' ? d - '0' : d - 'A' + 10; };
    for (; *texto != '\0'; texto += 2) {
        c.octeto[c.longitud++] = static_cast<unsigned char>(digito(texto[0]) << 4 | digito(texto[1]));
    }
    return c;
}

inline constexpr Cadena kAtrV1 = Hex("3BDD18008131FE4580F9A0000000770100700A90008B");
inline constexpr Cadena kAtrV2 = Hex("3BDC18FF8191FE1FC38073C821136605036351000250");
inline constexpr Cadena kAtrV2Nfc = Hex("3B80800101");
inline constexpr Cadena kAtrV3NfcPref = Hex("3B8F800180738421E0");
inline constexpr Cadena kAidIasEcc = Hex("A000000077030C60000000FE00000500");
inline constexpr Cadena kAdfPki = Hex("E828BD080FD25047656E65726963");
inline constexpr Cadena kAidLegacyPki = Hex("A0000000770100700A1000F100000100");
inline constexpr Cadena kFidMf = Hex("3F00");
inline constexpr Cadena kDfPkiV1 = Hex("5015");
inline constexpr Cadena kFidSignV1 = Hex("3402");
inline constexpr Cadena kFidAuthV1 = Hex("3401");
inline constexpr Cadena kFidEncV1 = Hex("3403");
inline constexpr Cadena kFidSignV2 = Hex("001D");
inline constexpr Cadena kFidAuthV2 = Hex("001C");
inline constexpr Cadena kFidEncV2 = Hex("001B");
inline constexpr Cadena kFidSignV3 = Hex("CE82");

inline constexpr int kRefPin = 0x80;

// One way to recognise a card: every condition that is given must hold. An empty `atr` or `aid` is no condition.
struct Regla {
    Cadena atr;
    bool prefijo;  // `atr` is only how it starts
    Cadena aid;
    std::vector<int> p2s;  // for `aid`
    Perfil perfil;
};

// One selection on the way to a directory.
struct Apertura {
    enum Modo { Aid, Fid, UnaVezYAid };  // UnaVezYAid: one SELECT with Le, then as Aid
    Modo modo;
    Cadena id;
    int p1;
    std::vector<int> p2s;
    bool obligatoria = true;
};

struct Fichero {
    const char* etiqueta;
    Cadena fid;
    bool deFirma;  // holds the certificate whose key signs documents
};

// How the certificates of one version are read through one kind of reader.
struct Receta {
    std::vector<Apertura> apertura;
    int p1;  // of the files' SELECT
    std::vector<int> p2s;
    bool dosMetodos;     // a file that gives no certificate is read again by the other instruction
    bool binaryPrimero;  // READ BINARY comes first, its odd form second
    std::vector<Fichero> ficheros;
};

// In the order in which they are tried.
[[nodiscard]] const std::vector<Regla>& Reglas(bool sinContacto);
// Both want an identified card.
[[nodiscard]] const Receta& RecetaDe(Perfil perfil, bool sinContacto);
[[nodiscard]] const std::vector<Apertura>& AperturaFirma(Perfil perfil);
// The key references to try, in order.
[[nodiscard]] const std::vector<int>& ClavesFirma(Perfil perfil);
// Data of the MANAGE SECURITY ENVIRONMENT that chooses one.
[[nodiscard]] Bytes DatosMse(Perfil perfil, int clave);
[[nodiscard]] const char* Modelo(Perfil perfil);

}  // namespace Lx::Dnie
