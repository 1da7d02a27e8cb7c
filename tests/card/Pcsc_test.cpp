#include "card/LxPcsc.h"

#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/apoyo/pcsc/PcscFalso.h"

using namespace Lx;
using Apoyo::NuevoPcscFalso;

TEST(Pcsc, ClasificaElLectorPorSuNombreYPrefiereElContacto) {
    using Nombres = std::vector<std::string>;
    const Nombres tipos[] = {
        {"Foo USB", ""},
        {"Dual Reader PICC", "contactless and contact", "Lector NFC", "CONTACT LESS", "wireless", "Proximity"},
        {"Smart Card Reader", "Lector ICC", "SAM 0", "EMV", "Smartcard", "Chip"},
    };
    for (int tipo = 0; tipo < 3; ++tipo)
        for (const std::string& nombre : tipos[tipo]) EXPECT_EQ(Pcsc::DetectarTipo(nombre), tipo) << nombre;
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless", "Foo", "contact", "chip"}), 2);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless", "Foo"}), 1);
    EXPECT_EQ(Pcsc::PriorizarLector(Nombres{"contactless"}), 0);
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
