#include "card/LxIso7816.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "crypto/LxApi.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/apoyo/pcsc/PcscFalso.h"

using namespace Lx;
using namespace Lx::Iso7816;

namespace {

std::string AHex(const Bytes& bytes) {
    return Api::BinToHex(bytes.data(), bytes.size());
}

CCard Conectada() {
    CCard tarjeta;
    tarjeta.card = 1;
    tarjeta.protocol = 2;
    return tarjeta;
}

// The fake service plays "> COMMAND" and "< ANSWER" lines; "< !CODE" fails as the service does. A command may end in
// "*": any rest. `quedan` counts the commands that did not come yet.
void Cargar(Apoyo::PcscFalso& falso, const std::string& guion, int& quedan) {
    std::vector<std::pair<std::string, std::string>> cambios;
    std::istringstream lineas(guion);
    for (std::string linea; std::getline(lineas, linea);) {
        linea.erase(std::remove(linea.begin(), linea.end(), ' '), linea.end());
        if (linea[0] == '>') cambios.emplace_back(linea.substr(1), "");
        if (linea[0] == '<') cambios.back().second = linea.substr(1);
    }
    quedan = static_cast<int>(cambios.size());
    falso.transmitir = [&falso, &quedan, cambios](const Bytes& apdu, Bytes& respuesta) -> long {
        const std::string comando = AHex(apdu);
        const auto& [patron, texto] = cambios[cambios.size() - std::max(static_cast<size_t>(quedan), size_t{1})];
        const size_t n = patron.back() == '*' ? patron.size() - 1 : std::max(patron.size(), comando.size());
        if (quedan-- <= 0 || comando.compare(0, n, patron, 0, n) != 0) falso.desvios += "> " + comando + "\n";
        if (texto[0] == '!') return static_cast<long>(std::strtoul(texto.c_str() + 1, nullptr, 16));
        respuesta = Api::HexToBin(texto);
        return 0;
    };
}

// The fake service answers READ BINARY, even and odd, from `fichero` in chunks of at most `trozo` bytes.
void Servir(Apoyo::PcscFalso& falso, const Bytes& fichero, size_t trozo, int swFinal) {
    falso.transmitir = [=](const Bytes& apdu, Bytes& respuesta) -> long {
        const size_t offset = apdu[1] == 0xB1 ? size_t{apdu[7]} << 8 | apdu[8] : size_t{apdu[2]} << 8 | apdu[3];
        const size_t n = offset < fichero.size() ? std::min(trozo, fichero.size() - offset) : 0;
        const unsigned char* inicio = fichero.data() + (n == 0 ? 0 : offset);
        respuesta.assign(inicio, inicio + n);
        const int sw = offset + n < fichero.size() ? 0x9000 : swFinal;
        respuesta.insert(respuesta.end(), {static_cast<unsigned char>(sw >> 8), static_cast<unsigned char>(sw)});
        return 0;
    };
}

}  // namespace

TEST(Iso7816, ComandosYSusRespuestasDeTransporte) {
    const auto mse = [](CCard& c) { return c.MseAt({0x84, 0x01, 0x82}); };
    const auto leer = [](CCard& c) { return c.Tx(CmdNoData(0, 0xB0, 0, 0, 0xFF)); };
    const auto firmar = [](CCard& c) { return c.PsoCds({0x30}); };
    const auto elegir = [](CCard& c) { return c.SelectAid({0xA0, 0x01}, {0x0C, 0x04}) ? Bytes{1} : Bytes{}; };
    const auto sinP2 = [](CCard& c) { return c.SelectFid({0x3F, 0x00}, 0, {}) ? Bytes{1} : Bytes{}; };
    const std::string cadena = "> 00 2A 9E 9A 01 30 00\n< AA 6120\n> 00 C0 00 00 20\n< ";
    std::string nueve = "> 00 2A 9E 9A 01 30 00\n< 6101\n";
    for (int i = 1; i <= 8; ++i) nueve += "> 00C0000001\n< 0" + std::to_string(i) + " 6101\n";
    const Apoyo::Filas<const char*, std::function<Bytes(CCard&)>, std::string, const char*, int> filas = {
        {"6Cxx is answered with its length", leer, "> 00 B0 00 00 FF\n< 6C02\n> 00 B0 00 00 02\n< AABB 9000\n", "AABB",
         0x9000},
        {"only once", leer, "> 00 B0 00 00 FF\n< 6C02\n> 00 B0 00 00 02\n< 6C03\n", "", 0x6C03},
        {"not without Le: the last byte is a digit of the PIN", [](CCard& c) { return c.VerifyPin("1234", 0x80); },
         "> 00 20 00 80 04 31323334\n< 6C05\n", "", 0x6C05},
        {"nor in MSE", mse, "> 00 22 41 B6 03 840182\n< 6C05\n", "", 0x6C05},
        {"the resend fails", leer, "> 00 B0 00 00 FF\n< 6C02\n> 00 B0 00 00 02\n< !80100069\n", "", -1},
        {"61xx joins the parts", firmar, cadena + "BB 6101\n> 00 C0 00 00 01\n< CC 9000\n", "AABBCC", 0x9000},
        {"the ninth 61xx is the caller's", firmar, nueve, "0102030405060708", 0x6101},
        {"a lost GET RESPONSE", firmar, cadena + "!80100069\n", "", -1},
        {"6Cxx after GET RESPONSE isn't followed", firmar, cadena + "6C10\n", "AA", 0x6C10},
        {"half a status word", [](CCard& c) { return c.ConsultarPin(0x80); }, "> 00 20 00 80 00\n< 90\n", "", -1},
        {"each P2 without and with Le", elegir,
         "> 00A4040C02A001\n< 6A86\n> 00A4040C02A00100\n< 6A86\n> 00A4040402A001\n< 6700\n> 00A4040402A00100\n"
         "< 6F00 9000\n",
         "01", 0x9000},
        {"no P2", sinP2, "", "", -1},
        {"data that no short command can carry", [](CCard& c) { return c.MseAt(Bytes(256)); }, "", "", -1},
    };
    for (const auto& [caso, hacer, guion, datos, sw] : filas) {
        SCOPED_TRACE(caso);
        auto& falso = Apoyo::NuevoPcscFalso();
        int quedan = 0;
        if (!guion.empty()) Cargar(falso, guion, quedan);
        CCard tarjeta = Conectada();
        EXPECT_EQ(AHex(hacer(tarjeta)), datos);
        EXPECT_EQ(tarjeta.sw, sw);
        EXPECT_EQ(falso.desvios, "");
        EXPECT_EQ(quedan, 0);
    }
}

TEST(Iso7816, CientoCincuentaComandosYNiUnoMas) {
    auto& falso = Apoyo::NuevoPcscFalso();
    int enviados = 0;
    Bytes siguiente = {0x90, 0x00};
    falso.transmitir = [&](const Bytes&, Bytes& respuesta) -> long {
        ++enviados;
        respuesta = siguiente;
        return 0;
    };
    CCard tarjeta = Conectada();
    for (int i = 0; i < 149; ++i) tarjeta.ConsultarPin(0x80);
    siguiente = {0xAA, 0x61, 0x05};  // the 150th: what came stays, and so does its status word
    EXPECT_EQ(tarjeta.ConsultarPin(0x80), Bytes{0xAA});
    EXPECT_EQ(tarjeta.sw, 0x6105);
    EXPECT_TRUE(tarjeta.ConsultarPin(0x80).empty());
    EXPECT_EQ(tarjeta.sw, -1);
    EXPECT_EQ(enviados, 150);
    EXPECT_EQ(tarjeta.apdus, 150);
}

TEST(Iso7816, LeeFicheros) {
    const Bytes cert = {0x30, 0x82, 0x05, 0x10};  // 1300 bytes in all
    const Bytes enorme = {0x30, 0x84, 0x7F, 0xFF, 0xFF, 0xFF}, sinFin = {0x7F, 0x81, 0x81, 0x81, 0x81, 0x81, 0x01};
    enum Modo { Binario, Corto, Impar };
    const Apoyo::Filas<const char*, Bytes, size_t, size_t, int, Modo, size_t, int> filas = {
        // case, first bytes, size, largest chunk, last status word, way, bytes read, commands
        {"stops at the end of the element", cert, 4000, 255, 0x9000, Binario, 1300, 6},
        {"the same by a file that ends there", cert, 1300, 255, 0x9000, Corto, 1300, 6},
        {"6282 ends it", cert, 600, 255, 0x6282, Binario, 600, 3},
        {"6282 ends it though the element goes on", cert, 510, 255, 0x6282, Binario, 510, 2},
        {"a short chunk before the end is known", cert, 4000, 200, 0x9000, Binario, 200, 1},
        {"an element in the first chunk", {0x04, 0x05}, 300, 255, 0x9000, Binario, 7, 1},
        {"four bytes of length", {0x30, 0x84, 0x00, 0x00, 0x01, 0x00}, 600, 255, 0x9000, Binario, 262, 2},
        {"five are none", {0x30, 0x85, 0x00, 0x00, 0x00, 0x01, 0x00}, 600, 255, 0x9000, Binario, 600, 3},
        {"indefinite length", {0x30, 0x80}, 600, 255, 0x9000, Binario, 600, 3},
        {"a long tag", {0x7F, 0x81, 0x01, 0x03}, 300, 255, 0x9000, Binario, 7, 1},
        {"a tag that never ends", sinFin, 300, 255, 0x9000, Binario, 300, 2},
        {"forty requests", enorme, 40000, 255, 0x9000, Binario, 10200, 40},
        {"odd: to the end", cert, 600, 200, 0x9000, Impar, 600, 4},
        {"odd: twenty-three requests", cert, 40000, 255, 0x9000, Impar, 5865, 23},
        {"odd: 6282", cert, 300, 255, 0x6282, Impar, 300, 2},
    };
    for (const auto& [caso, cabecera, total, trozo, sw, modo, leidos, apdus] : filas) {
        SCOPED_TRACE(caso);
        Bytes fichero = cabecera;
        while (fichero.size() < total) fichero.push_back(static_cast<unsigned char>(fichero.size() * 7));
        Servir(Apoyo::NuevoPcscFalso(), fichero, trozo, sw);
        CCard tarjeta = Conectada();
        const Bytes leido = modo == Impar ? tarjeta.ReadDo() : tarjeta.ReadBinary(modo == Corto);
        EXPECT_EQ(leido, Bytes(fichero.data(), fichero.data() + leidos));
        EXPECT_EQ(tarjeta.apdus, apdus);
    }
}

TEST(Iso7816, AbreElObjetoDeDatosDeLaLecturaImpar) {
    // The answer, a blank, and what is made of it.
    for (const std::string fila :
         {"5303AABBCC AABBCC", "538103AABBCC AABBCC", "53820003AABBCC AABBCC", "5302AABBCC AABB", "537FAABB AABB",
          "5382FFFFAA AA", "5383000001AA ", "5380AA ", "538200 ", "AABBCCDD AABBCCDD", "AABB ", " "}) {
        SCOPED_TRACE(fila);
        const size_t n = fila.find(' ');
        auto& falso = Apoyo::NuevoPcscFalso();
        int quedan = 0;
        Cargar(falso, "> 00B10000045402*\n< " + fila.substr(0, n) + "6282\n", quedan);
        CCard tarjeta = Conectada();
        EXPECT_EQ(AHex(tarjeta.ReadDo()), fila.substr(n + 1));
        EXPECT_EQ(quedan, 0);
    }
}
