#include "card/LxPcsc.h"

#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/apoyo/pcsc/PcscFalso.h"

using namespace Lx;
using Apoyo::NuevoPcscFalso;

TEST(Pcsc, ClasificaElLectorPorSuNombreYPrefiereElContacto) {
    const Apoyo::Filas<const char*, int> tipos = {{"ACS ACR1252 Dual Reader PICC 0", 1},
                                                  {"Generic Smart Card Reader", 2},
                                                  {"Foo USB", 0},
                                                  {"contactless and contact", 1},
                                                  {"Lector NFC", 1},
                                                  {"Lector ICC", 2},
                                                  {"CONTACT LESS", 1},
                                                  {"SAM 0", 2},
                                                  {"EMV", 2},
                                                  {"Smartcard", 2},
                                                  {"wireless", 1},
                                                  {"Proximity", 1},
                                                  {"Chip", 2},
                                                  {"", 0}};
    for (const auto& [nombre, tipo] : tipos) EXPECT_EQ(Pcsc::DetectarTipo(nombre), tipo) << nombre;
    using Nombres = std::vector<std::string>;
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless", "Foo", "contact"}), 2);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless", "Foo"}), 1);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless"}), 0);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"Foo", "contact", "chip"}), 1);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{}), -1);
}

TEST(Pcsc, LosCodigosSalenConSigno) {
    auto& falso = NuevoPcscFalso();
    unsigned long contexto = 7, tarjeta = 7;
    unsigned protocolo = 7;
    std::vector<std::string> lectores = {"queda"};
    EXPECT_EQ(Pcsc::ListarLectores(1, lectores), static_cast<int>(0x8010002E));
    EXPECT_TRUE(lectores.empty());
    falso.codigos["SCardConnect"] = 0x8010000B;
    EXPECT_EQ(Pcsc::Conectar(0x7A5C0001, "x", tarjeta, protocolo), static_cast<int>(0x8010000B));
    EXPECT_EQ(tarjeta + protocolo, 0U);
    falso.codigos["SCardEstablishContext"] = 0x8010001D;
    EXPECT_EQ(Pcsc::EstablecerContexto(2, contexto), static_cast<int>(0x8010001D));
    EXPECT_EQ(contexto, 0U);
    EXPECT_EQ(falso.ambitos, (std::vector<unsigned long>{2, 0}));  // the system's, then the user's
    Apoyo::Bytes respuesta = {1};
    EXPECT_EQ(Pcsc::Transmitir(1, 2, {}, respuesta), static_cast<int>(0x8010001D));
    EXPECT_TRUE(respuesta.empty());
}

TEST(Pcsc, LongitudesQueMienten) {
    auto& falso = NuevoPcscFalso();
    falso.lectores = {"uno", "dos"};
    std::vector<std::string> lectores;
    for (const unsigned long longitud : {1UL, 9UL, 100UL, 1UL << 40}) {
        falso.longitudLista = longitud;
        EXPECT_EQ(Pcsc::ListarLectores(1, lectores), 0);
        EXPECT_TRUE(longitud == 1 || lectores == falso.lectores) << longitud;
    }
    falso.atr.assign(40, 0x3B);
    std::string atr;
    unsigned protocolo = 0;
    for (const long longitud : {-1L, 36L, 40L, 1L << 40}) {
        falso.longitudAtr = longitud;
        EXPECT_EQ(Pcsc::Estado(1, atr, protocolo), 0);
        EXPECT_EQ(atr.size(), 72U);
    }
}
