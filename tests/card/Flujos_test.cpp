#include <gtest/gtest.h>

#include "card/LxTarjeta.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/card/Mundo.h"

using namespace Lx;
using Apoyo::Escenario;
using Dnie::CDnie;

namespace {

std::string Etiquetas(const std::vector<Dnie::CertificadoDnie>& lista) {
    std::string texto;
    for (const auto& uno : lista) {
        texto += uno.etiqueta + ";";
        EXPECT_TRUE(uno.cert.der == Apoyo::ClaveDe("firma").cert || uno.cert.der == Apoyo::ClaveDe("otra").cert);
    }
    return texto;
}

constexpr const char* kTres = "Firma Digital (DNIe);Autenticacion (DNIe);Cifrado (DNIe);";

}  // namespace

TEST(DnieFlujos, ListarYFirmarConCadaTarjetaEnCadaLector) {
    static constexpr int kApdus[] = {19, 25, 19, 16, 26, 21};
    for (size_t i = 0; i < std::size(kParejas); ++i) {
        const auto [perfil, sinContacto] = kParejas[i];
        const std::string nombre = NombrePareja(perfil, sinContacto) + ".txt";
        SCOPED_TRACE(nombre);
        Mundo lectura(Apoyo::EscenarioDe(perfil, sinContacto));
        EXPECT_EQ(Etiquetas(lectura.Listar()), kTres);
        EXPECT_EQ(lectura.texto, "DNIe " + std::to_string(perfil + 1) + ".0 RENIEC" + (sinContacto ? " (NFC)" : "") +
                                     " · 3 certificado(s) · " + std::to_string(kApdus[i]) + " APDUs");
        EXPECT_EQ(lectura.tarjeta.Transcripcion(), Apoyo::LeerFichero(LX_TRANSCRIPCIONES "listar_" + nombre));
        lectura.Comprobar();
        if (!sinContacto) {  // a name that says nothing stands for a reader with contacts
            Mundo otro(Apoyo::EscenarioDe(perfil, false));
            otro.pcsc.lectores = {"Foo USB 0"};
            EXPECT_EQ(Etiquetas(CDnie::LeerCertificados("Foo USB 0", otro.texto)), kTres);
            EXPECT_EQ(otro.tarjeta.Transcripcion(), lectura.tarjeta.Transcripcion());
        }

        Mundo mundo(Apoyo::EscenarioDe(perfil, sinContacto));
        const auto firma = mundo.Firmar();
        EXPECT_TRUE(Apoyo::VerificaOpenssl(Apoyo::ClaveDe("firma"), kDatos, firma));
        EXPECT_EQ(mundo.texto.rfind("Firmado por APDU con el PIN del DNIe (2048 bits, SHA-256 ", 0), 0U) << mundo.texto;
        EXPECT_EQ(CDnie::UltimoError(), "");
        EXPECT_EQ(ElSistemaFalso().veces, 0);
        EXPECT_EQ(mundo.tarjeta.Transcripcion(), Apoyo::LeerFichero(LX_TRANSCRIPCIONES "firmar_" + nombre));
        mundo.Comprobar();
    }
}

// Cards that answer in other ways than the plain ones give the same certificates and the same signature.
TEST(DnieFlujos, OtrasManerasDeResponder) {
    using Cambio = void (*)(Escenario&);
    const std::pair<const char*, Cambio> filas[] = {
        {"the end of a file by 6282", [](Escenario& e) { e.fin = Escenario::FinDeFichero; }},
        {"the end of a file by 6Cxx", [](Escenario& e) { e.fin = Escenario::Le6C; }},
        {"answers through GET RESPONSE", [](Escenario& e) { e.trozo61 = 100; }},
        {"SELECT wants Le", [](Escenario& e) { e.exigeLe = true; }},
        {"only the other way of reading",
         [](Escenario& e) { (e.perfil == 1 ? e.conDo : e.conBinary) = e.sinContacto; }},
        {"an unknown ATR", [](Escenario& e) { e.atr = "3B00"; }},
        {"padding after each certificate",
         [](Escenario& e) {
             for (auto& [fid, datos] : e.ficheros) datos.resize(datos.size() + 300, 0xFF);
         }},
        {"a wrapper before each certificate",
         [](Escenario& e) {
             for (auto& [fid, datos] : e.ficheros)
                 datos.insert(datos.begin(), {0x70, 0x82, static_cast<unsigned char>(datos.size() >> 8),
                                              static_cast<unsigned char>(datos.size())});
         }},
    };
    for (const auto& [perfil, sinContacto] : kParejas) {
        for (const auto& [caso, cambiar] : filas) {
            SCOPED_TRACE(NombrePareja(perfil, sinContacto) + ": " + caso);
            Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
            cambiar(e);
            Mundo lectura(e);
            EXPECT_EQ(Etiquetas(lectura.Listar()), kTres) << lectura.texto;
            lectura.Comprobar();
            Mundo firma(e);
            EXPECT_FALSE(firma.Firmar().empty()) << firma.texto;
            firma.Comprobar();
        }
    }
}

// A version 3.0 card that keeps the signature certificate where 2.0 had it; with an authority's certificate.
TEST(DnieFlujos, ElCertificadoDeFirmaEnElSitioAntiguo) {
    Escenario e = Apoyo::EscenarioDe(2, false);
    e.ficheros["001D"] = e.ficheros["CE82"];
    e.ficheros.erase("CE82");
    e.ficheros["001B"] = Apoyo::ClaveDe("ca").cert;
    Mundo mundo(e);
    std::string alias;
    for (const auto& uno : mundo.Listar()) alias += uno.alias + ";";
    EXPECT_EQ(alias, "Autenticacion (DNIe);Certificado CA emisor;Firma Digital (DNIe);");
}

TEST(DnieFlujos, ElAtrDecideAntesQueLasAplicaciones) {
    const Apoyo::Filas<int, bool, const char*, const char*> filas = {
        {1, true, "3B80800101", "> 00A404040EE828BD080FD25047656E65726963\n"},
        {2, true, "3B8F800180738421E0AA", "> 00A4040C10A000000077030C60000000FE00000500\n"},
        {1, true, "3B8080010100", "> 00A4040C10A000000077030C60000000FE00000500\n"},
        // The ATR of 1.0 on a card without its application: on to IAS-ECC.
        {2, false, "3BDD18008131FE4580F9A0000000770100700A90008B",
         "> 00A4040010A0000000770100700A1000F100000100\n< 6A82\n> 00A4040010A0000000770100700A1000F10000010000\n"
         "< 6A82\n> 00A4040C10A000000077030C60000000FE00000500\n"},
    };
    for (const auto& [perfil, sinContacto, atr, primero] : filas) {
        SCOPED_TRACE(atr);
        Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
        e.atr = atr;
        Mundo mundo(e);
        EXPECT_EQ(mundo.Listar().size(), 3U) << mundo.texto;
        EXPECT_EQ(mundo.tarjeta.Transcripcion().rfind(primero, 0), 0U) << mundo.tarjeta.Transcripcion();
    }
}

TEST(DnieFlujos, LasClavesSePruebanEnOrden) {
    const Apoyo::Filas<int, std::vector<int>, std::vector<std::string>> filas = {
        {0, {0x02}, {"800111830102"}},
        {1, {0x82}, {"80018A840181", "80018A840182"}},
        {2, {0x81, 0x83}, {"840182800142", "840181800142"}},
        {2, {0x83}, {"840182800142", "840181800142", "840183800142"}},
    };
    for (const auto& [perfil, claves, esperados] : filas) {
        Escenario e = Apoyo::EscenarioDe(perfil, false);
        e.claves = claves;
        Mundo mundo(e);
        EXPECT_FALSE(mundo.Firmar().empty()) << mundo.texto;
        std::vector<std::string> mse;
        const std::string& todo = mundo.tarjeta.Transcripcion();
        for (size_t p = 0; (p = todo.find("> 002241B606", p)) != std::string::npos; p += 12) {
            mse.push_back(todo.substr(p + 12, 12));
        }
        EXPECT_EQ(mse, esperados);
    }
}

// A key that wants the PIN right before its use gets it once more, and only then.
TEST(DnieFlujos, LaSegundaPasada) {
    constexpr int kMse = 0x22, kPso = 0x2A;
    const Apoyo::Filas<int, int, int, bool, int, const char*> filas = {
        // refused with 6982, so many times, PINs sent, signed, commands (0: any), what it says
        {kPso, 0, 1, true, 0, "Firmado"},
        {kPso, 1, 2, true, 0, "Firmado"},
        {kPso, 2, 2, true, 0, "Firmado"},
        {kPso, 9, 2, false, 0, "No se pudo firmar"},
        {kPso, 9, 2, false, 7, "PIN incorrecto: quedan 194 intento(s)."},  // the second VERIFY is refused: the end
        {kMse, 1, 1, true, 0, "Firmado"},
        {kMse, 9, 1, false, 0, "No se pudo firmar"},
    };
    for (const auto& [ins, veces, verificaciones, firma, apdus, texto] : filas) {
        SCOPED_TRACE(texto + std::to_string(veces));
        Escenario e = Apoyo::EscenarioDe(2, false);
        e.claves = {0x82, 0x81, 0x83};
        e.fallos = {{.ins = ins, .veces = veces, .respuesta = "6982"}};
        if (apdus != 0) e.fallos.push_back({.ins = 0x20, .desde = 4, .respuesta = "63C2"});
        Mundo mundo(e);
        EXPECT_EQ(!mundo.Firmar().empty(), firma);
        EXPECT_EQ(mundo.texto.rfind(texto, 0), 0U) << mundo.texto;
        EXPECT_EQ(mundo.tarjeta.Verificaciones(), verificaciones);
        EXPECT_TRUE(apdus == 0 || (apdus == mundo.tarjeta.Apdus() && ElSistemaFalso().veces == 0));
        mundo.Comprobar();
    }
}

TEST(DnieFlujos, LoQueNoSeMira) {
    // The answers to the selections before the directory of the key.
    for (const auto& [perfil, veces] : {std::pair{0, 4}, {2, 2}}) {
        Escenario e = Apoyo::EscenarioDe(perfil, false);
        e.fallos = {{.ins = 0xA4, .desde = 1, .veces = veces, .respuesta = "6A82", .sinGastar = true}};
        Mundo mundo(e);
        EXPECT_FALSE(mundo.Firmar().empty()) << mundo.texto;
    }
    // The signature of a key that isn't RSA.
    Mundo mundo(Apoyo::EscenarioDe(1, true));
    EXPECT_FALSE(mundo.Firmar("ec").empty());
    EXPECT_EQ(
        mundo.texto.rfind("sin comprobar, certificado no RSA: Firmado por APDU con el PIN del DNIe (2048 bits", 0), 0U);
}

TEST(DnieFlujos, ElAlmacenDelSistemaEsLoUltimo) {
    Escenario e = Apoyo::EscenarioDe(1, false);
    e.claves = {};
    Mundo mundo(e);
    ElSistemaFalso().firma = {1, 2, 3};
    ElSistemaFalso().alFirmar = [&] { EXPECT_EQ(mundo.pcsc.tarjetas + mundo.pcsc.contextos, 0); };
    EXPECT_EQ(mundo.Firmar(), (Apoyo::Bytes{1, 2, 3}));
    EXPECT_EQ(mundo.texto, "Firmado con el minidriver de Linux (24 bits, SHA-256 039058C6F2C0CB49)");
    EXPECT_EQ(ElSistemaFalso().pin, "");
    mundo.Comprobar();
    // The job is free again while the store asks its question, and what it was cancelled for meanwhile counts.
    Control control;
    ElSistemaFalso().alFirmar = [&] { EXPECT_FALSE(control.Ver().comprometido); };
    const auto pedir = [&] {
        return Dnie::FirmarConTarjeta(mundo.lector, CertificadoDe("firma"), kDatos, kPin, {}, control);
    };
    EXPECT_EQ(pedir().firma, (Apoyo::Bytes{1, 2, 3}));
    mundo.pcsc.antes = [&](const std::string& funcion) {
        if (funcion != "SCardTransmit" || !control.Ver().comprometido) return;
        EXPECT_FALSE(control.Cancelar());
    };
    EXPECT_EQ(pedir().fallo.motivo, Motivo::Cancelado);
    EXPECT_EQ(ElSistemaFalso().veces, 2);
    EXPECT_EQ(mundo.pcsc.contextos, 0);
}
