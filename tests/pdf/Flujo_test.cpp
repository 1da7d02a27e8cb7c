// The filters that a document's structure may have, and the values that its keys may take.
#include "pdf/PdfFlujo.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "pdf/LxSintaxis.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdf {
namespace {

using namespace std::string_literals;

std::string Comprimir(const std::string& datos) {
    uLongf n = compressBound(datos.size());
    std::string salida(n, '\0');
    EXPECT_EQ(compress(reinterpret_cast<Bytef*>(salida.data()), &n, reinterpret_cast<const Bytef*>(datos.data()),
                       datos.size()),
              Z_OK);
    salida.resize(n);
    return salida;
}

TEST(Flujo, FiltrosYPredictores) {
    const std::string png = "/Filter/FlateDecode/DecodeParms<</Predictor 15/Columns ",
                      tiff = "/Filter/Fl/DecodeParms<</Predictor 2/Columns 3";
    constexpr auto kBien = Decodificado::Bien, kMalo = Decodificado::Malo, kAjeno = Decodificado::Ajeno;
    // The dictionary, what is compressed, what comes of it.
    const Apoyo::Filas<std::string, std::string, Decodificado, std::string> filas = {
        {"/Filter /FlateDecode", "abc", kBien, "abc"},
        {"/Filter [ /Fl ] /DecodeParms [null]", "abc", kBien, "abc"},
        {"/Filter/FlateDecode/DecodeParms<</Predictor 1/Columns 9>>", "abc", kBien, "abc"},
        {"/Filter /LZWDecode", "abc", kAjeno, "/LZWDecode"},

        {png + "4>>", "\0\1\2\3\4\1\1\1\1\1\2\1\1\1\1"s, kBien, "\1\2\3\4\1\2\3\4\2\3\4\5"},
        {png + "4>>", "\2\1\2\3\4\3\12\0\0\0\3\377\0\0\0"s, kBien, "\1\2\3\4\12\6\4\4\4\5\4\4"},
        {png + "3>>", "\0\12\5\5\4\7\0\372\4\1\1\1"s, kBien, "\12\5\5\21\12\4\22\13\5"},
        {png + "2/Colors 3>>", "\1\1\2\3\1\1\1\4\1\1\1\0\0\1"s, kBien, "\1\2\3\2\3\4\2\3\4\2\3\5"},
        {png + "2/BitsPerComponent 16>>", "\1\0\1\0\1"s, kBien, "\0\1\0\2"s},
        {png + "4>>", "\2\1\2\3\4\2\1\1"s, kBien, "\1\2\3\4\2\3"},
        {png + "4>>", "\5\1\2\3\4"s, kMalo, ""},
        {png + "16777216>>", "\1\1\1"s, kBien, "\1\2"},
        {tiff + ">>", "\1\1\1\1\1\377"s, kBien, "\1\2\3\1\2\1"},
        {tiff + "/BitsPerComponent 4>>", "\1\1", kMalo, ""},
        {png + "0>>", "\1\1", kMalo, ""},
        {png + "16777217>>", "\1\1", kMalo, ""},
    };
    for (const auto& [dict, datos, como, esperado] : filas) {
        SCOPED_TRACE(dict);
        Filtros filtros;
        std::string salida;
        Decodificado r = LeerFiltros(dict, filtros);
        if (r == Decodificado::Bien) r = Decodificar(Comprimir(datos), filtros, salida);
        EXPECT_EQ(r, como);
        EXPECT_TRUE(como == kMalo || (como == kAjeno ? filtros.ajeno : salida) == esperado) << salida;
    }
}

TEST(Flujo, FinalesYLimites) {
    const std::string justo = Comprimir(std::string(kTopeFlujo, '\0')),
                      mas = Comprimir(std::string(kTopeFlujo + 1, '\0'));
    Filtros flate;
    flate.flate = true;
    const Apoyo::Filas<std::string, Filtros, Decodificado, size_t> filas = {
        {justo, flate, Decodificado::Bien, kTopeFlujo},
        {justo.substr(0, justo.size() - 1) + "x", flate, Decodificado::Malo, 0},
        {mas, flate, Decodificado::Excesivo, 0},
        {std::string(kTopeFlujo + 1, ' '), {}, Decodificado::Excesivo, 0},
    };
    for (const auto& [datos, filtros, como, bytes] : filas) {
        std::string salida;
        EXPECT_EQ(Decodificar(datos, filtros, salida), como);
        EXPECT_TRUE(como != Decodificado::Bien || salida.size() == bytes) << salida.size();
        // What is refused takes no memory of its size.
        EXPECT_LT(salida.capacity(), bytes + (5U << 20));
    }
}

TEST(Sintaxis, ReferenciasACualquierProfundidad) {
    const Apoyo::Filas<std::string_view, std::string> filas = {
        {"<</A[1 0 R 2 3 R]/B<</C 4 0 R>>>>", "1 0,2 3,4 0,"}, {"[(1 0 R)<1 0 R>%2 0 R\n3 %x\n0\rR/4 0 R]", "3 0,"},
        {"1 0 R2 1 0 RG -1 0 R 1.5 0 R 1 (x) 0 R 0 R", ""},    {"0 65536 R 4294967297 0 R", "0 65536,4294967297 0,"},
        {"99999999999999999999999 0 R", "9999999999 0,"},  // saturated
    };
    for (const auto& [valor, esperado] : filas) {
        std::string halladas;
        ParaCadaReferencia(valor, [&](uint64_t num, uint64_t gen) {
            (halladas += std::to_string(num) + " ").append(std::to_string(gen)) += ",";
        });
        EXPECT_EQ(halladas, esperado) << valor;
    }
}

TEST(Sintaxis, CadenasComoBytesYComoTexto) {
    const Apoyo::Filas<std::string, bool, std::string, std::string> filas = {
        {"(a(b)\\)\\n\\r\\t\\b\\f\\x\\8)", true, "a(b))\n\r\t\b\fx8", "a(b))\n\r\t\b\fx8"},
        {"(\\1234\\53\\7a\\400)", true, "S4+\7a\0"s, "S4+\7a\0"s},
        {"(a\\\r\nb\\\nc\\\rd\r\ne\rf\n)", true, "abcd\ne\nf\n", "abcd\ne\nf\n"},
        {"<4 1\n4a4>", true, "AJ@", "AJ@"},
        {"(a\\)", false, "a)", ""},
        {"(\\030\\037\\200\\236\\240\\241\\377)", true, "\x18\x1F\x80\x9E\xA0\xA1\xFF", "˘˜•ž€¡ÿ"},
        {"<FEFF00E120ACD83DDE00>", true, "\xFE\xFF\0\xE1\x20\xAC\xD8\x3D\xDE\0"s, "á€😀"},
        {"<FEFFD83D0041DE000042 43>", true, "\xFE\xFF\xD8\x3D\0A\xDE\0\0BC"s, "\uFFFDA\uFFFDB"},
        {"<EFBBBFC3B1>", true, "\xEF\xBB\xBFñ", "ñ"},
    };
    for (const auto& [valor, hay, bytes, texto] : filas) {
        std::string leidos;
        EXPECT_EQ(BytesDeCadena(valor, leidos), hay) << valor;
        EXPECT_EQ(leidos, bytes) << valor;
        EXPECT_EQ(Utf8DeCadena(valor), texto) << valor;
    }
}

}  // namespace
}  // namespace LxPdf
