#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "signer/PdfSello.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace LxPdfSigner::Interno;
using std::string_literals::operator""s;

std::string Repite(const char* parte, int veces) {
    std::string texto;
    while (veces-- > 0) texto += parte;
    return texto;
}

TEST(Sello, ListaDePaginas) {
    const Apoyo::Filas<std::string, size_t, std::vector<size_t>> casos = {
        {"1, 3, 5-8", 7, {0, 2, 4, 5, 6}},
        {"0, 2", 10, {1}},
        {"3-5,1-4,2", 10, {0, 1, 2, 3, 4}},
        {"9-15", 10, {8, 9}},
        {"5 -8", 10, {4, 7}},
        {"a2b3c", 10, {1, 2}},
        {"18446744073709551617", 10, {}},  // 2^64 + 1 isn't page 1
        {"9-99999999999999999999999", 10, {8, 9}},
        {"2\0003"s, 10, {1, 2}},
    };
    for (const auto& [lista, paginas, indices] : casos) EXPECT_EQ(ParsarLista(lista, paginas), indices) << lista;
    // 125,000 ranges of 100,000 pages: 12.5 thousand million marks if each were walked.
    EXPECT_EQ(ParsarLista(Repite("1-100000,", 125000), 100000).size(), 100000U);
}

TEST(Sello, CadenasDePdf) {
    const Apoyo::Filas<std::string, std::string> casos = {
        {"Ana (S.A.) \\", "(Ana \\(S.A.\\) \\\\)"},
        {"Núñez", "<FEFF004E00FA00F10065007A>"},
        {"\U0010FFFF", "<FEFFDBFFDFFF>"},
        {"a\xE2\x82", "<FEFF0061>"},                     // cut short
        {"\xE2\x41", "<FEFFFFFD0041>"},                  // not gone on with
        {"\x80z", "<FEFFFFFD007A>"},                     // starts nothing
        {"\xC0\xAF", "<FEFFFFFDFFFD>"},                  // overlong "/"
        {"\xED\xA0\xBD", "<FEFFFFFDFFFDFFFD>"},          // surrogate
        {"\xF4\x90\x80\x80", "<FEFFFFFDFFFDFFFDFFFD>"},  // U+110000
    };
    for (const auto& [texto, esperado] : casos) EXPECT_EQ(TextoPdf(texto), esperado) << texto;
    EXPECT_EQ(TextoPdfUtf16("Lima"), "<FEFF004C0069006D0061>");
}

TEST(Sello, WinAnsiComoCp1252) {
    std::string todos;  // but DEL and what the code page leaves free
    for (int byte = 0x20; byte < 0x100; ++byte)
        if (!std::strchr("\x7F\x81\x8D\x8F\x90\x9D", byte)) todos += static_cast<char>(byte);
    EXPECT_EQ(WinAnsi(Apoyo::Exigir({"iconv", "-f", "CP1252", "-t", "UTF-8"}, todos)), todos);
}

TEST(Sello, WinAnsiDeLoQueNoTiene) {
    const Apoyo::Filas<std::string, std::string> casos = {
        {"\u0100\u4E2D\U0001F600", "???"}, {"\u0081\u009F\u0080", "???"}, {"\x01\x7F\x1B\0"s, "????"},
        {"a\r\nb\tc", "a  b c"},           {"a\xE2\x82", "a?"},           {"\xED\xA0\x80", "???"},
    };
    for (const auto& [utf8, esperado] : casos) EXPECT_EQ(WinAnsi(utf8), esperado) << utf8;
}

TEST(Sello, Fechas) {
    EXPECT_THAT(PdfFechaDesdeUtc("26111517050"), testing::MatchesRegex("D:20[0-9]{12}\\+00'00'"));
    EXPECT_EQ(FechaLegible("26111517050"), "26111517050");
}

TEST(Sello, AnchoPorBytes) {
    // The date line is 111.6 wide, so every name up to 151 points gives the least width.
    const Apoyo::Filas<const char*, int, double> casos = {
        {"Ana", 1, 160}, {"-", 73, 163}, {"l", 81, 163}, {"W", 31, 205},
        {"f", 61, 168},  {"B", 31, 168}, {"7", 37, 165}, {"\u00F1", 20, 169},  // two bytes, 4 each
        {"M", 65, 419},  {"M", 66, 420},
    };
    for (const auto& [parte, veces, ancho] : casos)
        EXPECT_EQ(ConstruirSello(Repite(parte, veces), "261115170509Z").ancho, ancho) << parte;
}

TEST(Sello, Rectangulo) {
    const Apoyo::Filas<double, size_t, double, const char*> casos = {
        {205, 4, 842, "[50 184 255 216]"},   {160, 0, 92, "[50 40 210 72]"},
        {160, 0, 91.9, "[0 0 0 0]"},         {160, 21, 842, "[0 0 0 0]"},
        {160.5, 0, 842, "[50 40 210.5 72]"}, {792.123456, 0, 842, "[50 40 842.123 72]"},
    };
    for (const auto& [ancho, hueco, alto, rect] : casos) EXPECT_EQ(RectSello(ancho, hueco, alto), rect) << rect;
}

TEST(Sello, AltoDePagina) {
    const Apoyo::Filas<const char*, double> casos = {
        {"/Type /Page /MediaBox [0 0 595 200]", 200},
        {"/MediaBox [0 792.5 612 0]", 792.5},  // corners in the other order
        {"/Type /Page", 842},
        {"/MediaBox 12 0 R", 842},
    };
    for (const auto& [dict, alto] : casos) EXPECT_EQ(AltoPagina(dict), alto) << dict;
}

}  // namespace
