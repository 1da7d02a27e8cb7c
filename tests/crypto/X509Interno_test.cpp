#include <gtest/gtest.h>

#include <string>

#include "crypto/LxDer.h"
#include "crypto/X509Interno.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/crypto/Der.h"

namespace {

using namespace Lx;
using namespace PruebaDer;
using namespace std::string_literals;

const unsigned char* U(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

TEST(Der, Elementos) {
    const std::string largo(200, 'x');
    const Apoyo::Filas<std::string, bool, size_t, size_t> filas = {
        {"\x30", false, 0, 0},
        {"\x04\x02zz!", true, 2, 4},
        {"\x04\x80zz\0\0"s, false, 0, 0},
        {"\x04\x81\xC8" + largo, true, 3, 203},
        {"\x04\x81\xC9" + largo, false, 0, 0},
        {"\x04\x84\0\0\0\x01z"s, true, 6, 7},
        {"\x04\x84\0\0\0\x01z"s, true, 6, 7},
        {"\x04\x84\xFF\xFF\xFF\xFFz", false, 0, 0},
        {"\x04\x85\0\0\0\0\x01z"s, false, 0, 0},
        {"\xBF\x81\x82\x83\x84\x05\x01z", true, 7, 8},
        {"\xBF\x81\x82\x83\x84\x85\x05\x01z", false, 0, 0},
        {"\x1F\x81\x82", false, 0, 0},
    };
    for (const auto& [bytes, vale, contenido, fin] : filas) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        const std::string datos = "??" + bytes;  // offsets count from the start of the buffer
        size_t pos = 2;
        Der::Tlv tlv;
        ASSERT_EQ(Der::Next(U(datos), datos.size(), pos, tlv), vale);
        EXPECT_EQ(pos, fin + 2);
        if (!vale) continue;
        EXPECT_EQ(tlv.tag, static_cast<unsigned char>(bytes[0]));
        EXPECT_EQ(tlv.inicio, 2U);
        EXPECT_EQ(tlv.contenido, contenido + 2);
        EXPECT_EQ(tlv.contenido + tlv.longitud, tlv.fin);
        EXPECT_EQ(tlv.fin, fin + 2);
    }
}

int64_t Epoch(int tag, const std::string& texto) {
    const Der::Tlv tlv{static_cast<uint8_t>(tag), 0, 0, texto.size(), texto.size()};
    return X509::Interno::TiempoAEpoch(U(texto), tlv);
}

// Expected values from Python's calendar.timegm.
TEST(X509Interno, Tiempos) {
    constexpr int64_t kDe2024 = 1704103200;  // 2024-01-01 10:00:00
    const Apoyo::Filas<int, std::string, int64_t> filas = {
        {23, "491231235959Z", 2524607999},
        {23, "500101000000Z", -631152000},
        {23, "261121065300Z", 1795243980},
        {23, "xx1121065300Z", 0},
        {23, "240100000000Z", 0},
        {23, "24 1+1100000Z", kDe2024},      // blanks and a sign, as "%d"
        {23, "241x1x100000Z", kDe2024},      // a digit and something else is that digit
        {23, "2401011000-1Z", kDe2024 - 1},  // even below zero
        {23, "-10101000000Z", 915148800},    // the year -1 is 1900 - 1 + 100 by the rule for years below 50
        {24, "20250230000000Z", 1740873600},
        {24, "19000301000000Z", -2203891200},
        // The zone's sign is looked for thirteen characters before the end only.
        {24, "20240101100000+01300000000Z"s.substr(0, 27), kDe2024 - (1 * 3600 + 30 * 60)},
        {24, "20240101100000-01300000000Z"s.substr(0, 27), kDe2024 + (1 * 3600 + 30 * 60)},
        {24, "20240101100000+xx300000000Z", kDe2024 - 30 * 60},
    };
    for (const auto& [tag, texto, epoch] : filas) EXPECT_EQ(Epoch(tag, texto), epoch) << texto;
}

TEST(X509Interno, Nombres) {
    const Apoyo::Filas<std::string, std::string, std::string> filas = {
        {Rdn("\x55\x04\x06", 19, "ES") + Rdn("\x55\x04\x0A", 12, "Org"), "C=ES, O=Org", ""},
        {Rdn("\x55\x04\x03", 12, "") + Rdn("\x55\x04\x03", 12, "Uno") + Rdn("\x55\x04\x03", 12, "Dos"),
         "CN=, CN=Uno, CN=Dos", "Uno"},
        {Rdn("\x55\x04\x04", 12, "a") + Rdn("\x55\x04\x05", 12, "b") + Rdn("\x55\x04\x07", 12, "c") +
             Rdn("\x55\x04\x08", 12, "d") + Rdn("\x55\x04\x0B", 12, "e") + Rdn("\x55\x04\x0C", 12, "f") +
             Rdn("\x55\x04\x2A", 12, "g") + Rdn("\x2A\x86\x48\x86\xF7\x0D\x01\x09\x01", 22, "h") +
             Rdn("\x09\x92\x26\x89\x93\xF2\x2C\x64\x01\x01", 12, "i") +
             Rdn("\x09\x92\x26\x89\x93\xF2\x2C\x64\x01\x19", 22, "j"),
         "SURNAME=a, SERIALNUMBER=b, L=c, ST=d, OU=e, T=f, GIVENNAME=g, E=h, UID=i, DC=j", ""},
        {Rdn("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E", 12, "x"),
         "OID.01.02.03.04.05.06.07.08.09.0A.0B.0C=x", ""},
        // One SET with two attributes, and what isn't an attribute among them.
        {Elem(0x31, Sec(Elem(6, "\x55\x04\x03") + Elem(12, "A")) + Elem(4, "zz") + Sec(Elem(2, "\x01")) +
                        Sec(Elem(6, "\x55\x04\x0A")) + Sec(Elem(6, "\x55\x04\x0A") + Elem(12, "B"))),
         "CN=A, O=B", "A"},
        {Sec(Rdn("\x55\x04\x03", 12, "no")) + Rdn("\x55\x04\x03", 12, "si"), "CN=si", "si"},
        {Rdn("\x55\x04\x03", 12, "si") + "\x31\x7F", "CN=si", "si"},
    };
    for (const auto& [nombre, dn, cn] : filas) {
        SCOPED_TRACE(dn);
        const auto rdns = X509::Interno::ParseNombre(U(nombre), nombre.size());
        EXPECT_EQ(X509::Interno::DnTexto(rdns), dn);
        EXPECT_EQ(X509::Interno::CnDe(rdns), cn);
        EXPECT_EQ(X509::Interno::HayAtributo(U(nombre), nombre.size()), !rdns.empty());
    }
}

TEST(X509Interno, CadenasDeVariosBytes) {
    const Apoyo::Filas<int, std::string, std::string> filas = {
        {30, "\x00\x7F\x00\x80\x07\xFF\x08\x00\xFF\xFF"s, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {30, "\x00\x41\x00"s, "A"},
        {28, "\x00\x00\x00\x41\x00\x01\xF6\x00\x00\x00\x00\x00\x00\x00"s, "A\xF0\x9F\x98\x80"},
        {20, "\xE9", "\xE9"},
    };
    for (const auto& [tag, bytes, utf8] : filas) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        const std::string nombre = Rdn("\x55\x04\x03", tag, bytes);
        EXPECT_EQ(X509::Interno::CnDe(X509::Interno::ParseNombre(U(nombre), nombre.size())), utf8);
    }
}

}  // namespace
