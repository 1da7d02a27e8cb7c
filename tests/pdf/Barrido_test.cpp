#include "pdf/LxSintaxis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "pdf/LxBarrido.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdf {
namespace {

using namespace testing;

std::string Repetir(std::string_view texto, size_t veces) {
    std::string todo;
    for (size_t i = 0; i < veces; ++i) todo += texto;
    return todo;
}

TEST(Sintaxis, UnValorAcabaDondeEmpiezaElSiguiente) {
    // What is skipped from the start.
    const Apoyo::Filas<std::string_view, std::string_view> filas = {
        {"<</A<</B 1>>/C[<<>>]>> 2", "<</A<</B 1>>/C[<<>>]>>"},
        {"<< /S (a\\)>>) >>z", "<< /S (a\\)>>) >>"},
        {"<< /H <3E3E> >>z", "<< /H <3E3E> >>"},
        {"<< /A 1 > z", "<< /A 1 >"},
        {"[1 [2 (])] 3]4", "[1 [2 (])] 3]"},
        {"/Name/Otro", "/Name"},
        {"12 %c\n 0 \t R]", "12 %c\n 0 \t R"},
        {"12 0 RG", "12"},
        {" \n% nota\r  -3.5 7", " \n% nota\r  -3.5"},
        {">x", ">"},
        {"(abc\\", "(abc\\"},
        {"", ""},
    };
    for (const auto& [texto, valor] : filas) EXPECT_EQ(texto.substr(0, FinLiteral(texto, 0)), valor) << texto;
}

TEST(Sintaxis, ClavesSoloDelPrimerNivelYPorNombreEntero) {
    const std::string dict =
        " /A<</K 1>> 7 /Kids [1 0 R] (suelto /K 2) /KK 3 /K%c /K 9\n 4 /V(/W 1) /W 2 /K 5 /Ref 8 0 R /Gen 8 1 R /Cero "
        "0 0 R /Ultima";
    const Apoyo::Filas<const char*, std::string_view> filas = {{"K", "4"},      {"Kids", "[1 0 R]"}, {"KK", "3"},
                                                               {"V", "(/W 1)"}, {"W", "2"},          {"A", "<</K 1>>"},
                                                               {"a", ""},       {"Ultima", ""},      {"Ref", "8 0 R"}};
    for (const auto& [clave, valor] : filas) EXPECT_EQ(ValorDe(dict, clave), valor) << clave;
    long num = 0;
    EXPECT_TRUE(RefDe(dict, "Ref", num));
    EXPECT_EQ(num, 8);
    for (const char* clave : {"Gen", "Cero", "K", "Kids", "Nada"}) EXPECT_FALSE(RefDe(dict, clave, num)) << clave;
}

TEST(Sintaxis, LosNumerosSeSaturan) {
    const Apoyo::Filas<std::string_view, bool, long> filas = {
        {"%c\n42x", true, 42}, {"-5", true, -5}, {"99999999999999999999999", true, LONG_MAX}, {"-", false, 0}};
    for (const auto& [texto, hay, esperado] : filas) {
        size_t pos = 0;
        long valor = 0;
        EXPECT_EQ(LeerEntero(texto, pos, valor), hay) << texto;
        EXPECT_EQ(valor, esperado) << texto;
    }
    double v[4];
    ASSERT_TRUE(RectDe("/Rect [ -1.5 +2 .25\n4. 9 ]", "Rect", v));
    EXPECT_THAT(v, ElementsAre(-1.5, 2, 0.25, 4));
    for (const char* dict : {"/Rect [1 2 3]", "/Rect 1 2 3 4", "/Rect [1 2 x 4]"})
        EXPECT_FALSE(RectDe(dict, "Rect", v));
}

TEST(Barrido, LosObjetosSeEncuentranPorSuCabecera) {
    const Apoyo::Filas<std::string, std::vector<std::pair<long, size_t>>> filas = {
        {"%PDF\n3 0 obj null endobj12 0 obj 1 endobj", {{3, 5}, {12, 24}}},
        {"/N7 0 obj", {}},
        {"7 0 obj 7 1 obj", {{7, 8}}},  // the later one wins, whatever the generation
        {"2147483648 0 obj 2147483649 0 obj 99999999999999999999 0 obj", {{2147483648, 0}}},
    };
    for (const auto& [texto, objetos] : filas) {
        const Barrido barrido(texto);
        const decltype(objetos) hallados(barrido.Objetos().begin(), barrido.Objetos().end());
        EXPECT_EQ(hallados, objetos) << texto;
    }
    // The keyword is searched sixteen bytes at a time: every place of it within a block, and across two.
    for (size_t n = 0; n < 70 * 20; ++n) {
        const std::string texto = std::string(n / 20, 'o') + " 5 0 obj" + std::string(n % 20, 'b');
        EXPECT_EQ(Barrido(texto).Objetos().count(5), 1U) << n;
    }
}

TEST(Barrido, PaginasEnOrdenCadaUnaUnaVezYSinVueltas) {
    const std::string datos =
        "1 0 obj<</Type/Pages/Kids[5 0 R 3 0 R %c\n 4 0 R 9 0 R 5 0 R]>>endobj "
        "3 0 obj<</Type/Page>>endobj 5 0 obj<</Type /Page >>endobj "
        "4 0 obj<</Type/Pages/Kids 8 0 R>>endobj 8 0 obj [ 6 0 R 1 0 R ] endobj 6 0 obj<</Type/Page/Kids"
        "[7 0 R]>>endobj 7 0 obj<</Type/Page>>endobj";
    EXPECT_THAT(Barrido(datos).PaginasDesde(1), ElementsAre(Ref{5, 0}, Ref{3, 0}, Ref{6, 0}));

    std::string hondo;
    for (int n = 1; n <= 40; ++n) {
        const std::string hoja = std::to_string(100 + n) + " 0 ", sigue = std::to_string(n + 1) + " 0 R]>>endobj ";
        hondo += std::to_string(n) + " 0 obj<</Kids[" + hoja + "R " + sigue + hoja + "obj<</Type/Page>>endobj ";
    }
    EXPECT_EQ(Barrido(hondo).PaginasDesde(1).size(), 32U) << "levels 1 to 32 below the root";
}

TEST(Barrido, CamposYSellosDeFirma) {
    const std::string datos =
        "1 0 obj<</FT/Sig/T(Signature1)/P 10 0 R/Rect[0 0 5 5]>>endobj "
        "2 0 obj<</FT /Sig /T <FEFF0041> /Kids[3 0 R 4 0 R]>>endobj "
        "3 0 obj<</Subtype/Widget/Parent 2 0 R/P 10 0 R/Rect[0 0 5 5]>>endobj "
        "4 0 obj<</Subtype/Widget/Parent 2 0 R/P 11 0 R/Rect[5 5 5 9]>>endobj "  // no width
        "5 0 obj<</Subtype/Widget/Parent 6 0 R/P 11 0 R/Rect[0 0 5 5]>>endobj "  // a text field's
        "6 0 obj<</FT/Tx/T(Signature2)>>endobj "
        "7 0 obj<</FT/Sig/T(Signature3)/P 11 0 R/Rect[0 0 0 0]>>endobj "
        "8 0 obj<</FT/Sig/T()/Rect[0 0 5 5]>>endobj";  // on no page
    Campos campos;
    Fallo fallo;
    ASSERT_TRUE(Barrido(datos).LeerCampos({}, campos, fallo));
    EXPECT_THAT(campos.nombres, UnorderedElementsAre("Signature1", "<FEFF0041>", "Signature3", ""));
    EXPECT_THAT(campos.sellos, ElementsAre(Pair(10, 2U)));
    EXPECT_EQ(NombreCampoLibre(campos.nombres), "Signature2");
}

// Shapes that make a careless reader work for hours or overflow its stack.
TEST(Barrido, FormasHostilesAcabanPronto) {
    std::string solapados;
    for (int n = 1; n <= 60000; ++n) solapados += std::to_string(n) + " 0 obj<<";
    std::string cerrados = solapados + Repetir(">>", 60000);
    for (const std::string& texto :
         {Repetir("[", 1 << 20), Repetir("<<", 1 << 19), "1 0 obj" + Repetir("<<[", 1 << 18),
          Repetir("1 0 obj ", 1 << 17), "1 0 obj" + std::string(1 << 20, ' ') + "obj", solapados, cerrados}) {
        Barrido barrido(texto);
        Campos campos;
        Fallo fallo;
        EXPECT_LE(FinLiteral(texto, 0), texto.size());
        static_cast<void>(barrido.LeerCampos({}, campos, fallo));
        static_cast<void>(barrido.PaginasDesde(1));
    }
}

}  // namespace
}  // namespace LxPdf
