#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using namespace std::string_literals;

std::string Texto(const std::vector<unsigned char>& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(Codecs, Hexadecimal) {
    const Apoyo::Filas<std::string, std::string> filas = {
        {"", ""},        {"00AB", "\0\xAB"s}, {"0a:Bc", "\n\xBC"},  {"0A 1B", "\n\x1B"}, {"_0_A_1_b_", "\n\x1B"},
        {"abc", "\xAB"}, {"a", ""},           {"0G", ""},           {"0A\n1B", ""},      {"0A\t1B", ""},
        {"0A1B-", ""},   {"0A1B\xC3", ""},    {"ffFF", "\xFF\xFF"}, {"0A\0"s, ""},       {"@A", ""},
        {"0A1g", ""},    {"/0", ""},
    };
    for (const auto& [texto, bytes] : filas) EXPECT_EQ(Texto(HexToBin(texto)), bytes) << texto;
    EXPECT_EQ(BinToHex("\0\xAB\x9F", 3), "00AB9F");
}

// The first rows are the vectors of RFC 4648, 10.
TEST(Codecs, Base64) {
    enum Forma { Exacta, Laxa, Mala };
    // The bytes are what is then in a string that said "antes".
    const Apoyo::Filas<std::string, Forma, std::string> filas = {
        {"", Exacta, ""},
        {"Zm9v", Exacta, "foo"},
        {"Zm9vYg==", Exacta, "foob"},
        {"+/+/AA==", Exacta, "\xFB\xFF\xBF\0"s},
        {" \r\n\t", Laxa, ""},
        {" Q Q\n=\r=\t", Laxa, "A"},
        {"QUJDQUI=", Laxa, "ABCAB"},
        {"QUJDQQ=A", Mala, "ABC"},
        {"QUI=QUJD", Mala, ""},
        {"=QQQ", Mala, ""},
        {"QUJDQ-JD", Mala, "ABC"},
        {"QU\vJ", Mala, ""},
        {"QUJ\0"s, Mala, ""},
    };
    for (const auto& [texto, forma, bytes] : filas) {
        SCOPED_TRACE(texto);
        if (forma == Exacta) {
            EXPECT_EQ(Base64Encode(bytes), texto);
        }
        std::string out = "antes";
        EXPECT_EQ(Base64Decode(texto, out), forma != Mala);
        EXPECT_EQ(out, bytes);
    }
}

TEST(Codecs, Url) {
    EXPECT_EQ(UrlEncode("a b+c"), "a%20b%2Bc");
    EXPECT_EQ(UrlEncode("AZaz09-._~/\xC3\xB1\0"s), "AZaz09-._~%2F%C3%B1%00");
    const Apoyo::Filas<std::string, std::string> filas = {{"a+b%2", "a b%2"},     {"%", "%"},         {"%4", "%4"},
                                                          {"%41", "A"},           {"%4a%4A", "JJ"},   {"%4G", "%4G"},
                                                          {"%%41", "%A"},         {"%G1x", "%G1x"},   {"%2B+", "+ "},
                                                          {"%C3%B1", "\xC3\xB1"}, {"x%00y", "x\0y"s}, {"%4%41", "%4A"}};
    for (const auto& [url, claro] : filas) EXPECT_EQ(UrlDecode(url), claro) << url;
}

TEST(Codecs, MinusculasSoloAscii) {
    EXPECT_EQ(ToLowerAscii("@AZ[`az{\xC3\x91"), "@az[`az{\xC3\x91");
}

}  // namespace
