#include <gtest/gtest.h>

#include <functional>

#include "card/LxTarjeta.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/card/Mundo.h"

using namespace Lx;
using Apoyo::Escenario;
using Dnie::CDnie;

TEST(DnieDiagnostico, LosPasosDeUnaFirmaSinPin) {
    const std::string abierto = "· DF firma abierto\n· PIN ref 80=63C3\n", mse = "· MSE de firma OK\n",
                      pso = "· PSO: seguridad no satisficha, hace falta PIN o CAN (6982) (correcto: pide el PIN)\n";
    const Apoyo::Filas<std::function<void(Escenario&)>, std::string> filas = {
        {[](auto&) {}, abierto + mse + pso},
        {[](auto& e) { e.intentos = 0; }, "· DF firma abierto\n· PIN ref 80=6983 (PIN bloqueado)\n" + mse + pso},
        {[](auto& e) { e.claves.clear(); }, abierto + "· MSE de firma: referencia de datos no encontrada (6A88)\n"},
        {[](auto& e) { e.fallos = {{.ins = 0x2A, .respuesta = "6D00"}}; },
         abierto + mse + "· PSO: instruccion no soportada (6D00)\n"},
        {[](auto& e) { e.fallos = {{.respuesta = "6E00"}}; },
         "· Tarjeta no identificada como DNIe. comando no soportado por la tarjeta. SW=6E00\n"},
        {[](auto& e) { e.fallos = {{.ins = 0xA4, .desde = 1, .respuesta = "6A82"}}; },
         "· DF firma: SW=6A82: no se pudo abrir el DF de firma. SW=6A82\n"},
    };
    for (const auto& [cambiar, esperado] : filas) {
        Escenario e = Apoyo::EscenarioDe(2, false);
        cambiar(e);
        Mundo mundo(e);
        std::string informe;
        EXPECT_EQ(CDnie::DiagnosticarFirma(mundo.lector, informe), esperado == abierto + mse + pso);
        EXPECT_EQ(informe, esperado);
        EXPECT_EQ(mundo.tarjeta.Verificaciones(), 0);
    }
}

TEST(DnieDiagnostico, LosIntentosDeVerdad) {
    const Apoyo::Filas<const char*, int> filas = {
        {"63C3", 3},  {"63CF", 15}, {"63C0", 0},  {"6983", 0}, {"63BF", -1},
        {"63D0", -1}, {"63FF", -1}, {"9000", -1}, {"", -1},
    };
    for (const auto& [respuesta, esperados] : filas) {
        SCOPED_TRACE(respuesta);
        Escenario e = Apoyo::EscenarioDe(0, true);
        e.fallos = {{.ins = 0x20, .respuesta = respuesta}};
        Mundo mundo(e);
        int intentos = 99;
        std::string mensaje;
        EXPECT_EQ(CDnie::IntentosPin(mundo.lector, intentos, mensaje), esperados >= 0);
        EXPECT_EQ(intentos, esperados);
        EXPECT_EQ(mensaje.empty(), esperados >= 0);
        EXPECT_EQ(mundo.tarjeta.Verificaciones(), 0);
        EXPECT_EQ(mundo.pcsc.tarjetas, 0);
    }
}

// A card without its certificate for signing, or with one that can't be used, isn't passed as good.
TEST(DnieDiagnostico, ElCertificadoDeFirmaHaDeEstar) {
    using Cambio = std::function<void(Escenario&)>;
    for (const auto& [cambiar, texto, motivo] : Apoyo::Filas<Cambio, std::string, Motivo>{
             {[](auto&) {}, "· 3 certificado(s) · 26 APDUs", Motivo::Ninguno},
             {[](auto& e) { e.ficheros.erase("CE82"); }, "29 APDUs, sin el de firma, que no se pudo leer.",
              Motivo::FirmaNoLeida},
             {[](auto& e) { e.ficheros["CE82"] = Apoyo::ClaveDe("ec").cert; }, "ninguno para firmar con RSA.",
              Motivo::ClaveNoRsa},
             {[](auto& e) { e.ficheros["CE82"] = Apoyo::ClaveDe("ca").cert; }, "ninguno para firmar con RSA.",
              Motivo::ClaveNoRsa}}) {
        Escenario e = Apoyo::EscenarioDe(2, false);
        cambiar(e);
        Mundo mundo(e);
        Control control;
        const auto d = Dnie::Diagnosticar("", control);
        EXPECT_EQ(d.pasos[4].motivo, motivo);
        EXPECT_NE(d.pasos[4].texto.find(texto), texto.npos) << d.pasos[4].texto;
        EXPECT_EQ(d.puedeFirmar, motivo == Motivo::Ninguno);
        EXPECT_EQ(mundo.pcsc.ambitos.size(), 1U);  // one connection
        mundo.Comprobar();
    }
}

// What the command line's tests of the doctor can't bring about with a real service.
TEST(DnieDiagnostico, UnLectorQueNoConecta) {
    Mundo mundo(Apoyo::EscenarioDe(1, true));
    mundo.pcsc.lectores = {"nfc vacio", mundo.lector};
    EXPECT_EQ(CDnie::Diagnosticar("").lector, "nfc vacio");
    for (const auto& [code, consejo] : Apoyo::Filas<unsigned long, std::string>{{0x8010000B, "Cierra el otro programa"},
                                                                                {0x8010002F, "Espera unos segundos"}}) {
        mundo.pcsc.codigos["SCardConnect"] = code;
        const auto d = CDnie::Diagnosticar(mundo.lector);
        EXPECT_EQ(d.pasos[2].consejo.rfind(consejo, 0), 0U) << d.pasos[2].consejo;
        EXPECT_TRUE(d.pasos[1].ok && d.pasos[2].probado && !d.pasos[2].ok && !d.pasos[3].probado && !d.puedeFirmar);
    }
}
