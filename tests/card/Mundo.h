// A virtual card behind the fake service, for one test.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "card/LxDnie.h"
#include "crypto/LxX509.h"
#include "tests/apoyo/pcsc/PcscFalso.h"
#include "tests/apoyo/tarjeta/TarjetaVirtual.h"

// The system store of these tests: signs with what it was given and counts how often it was asked.
struct SistemaFalso {
    std::vector<unsigned char> firma;
    std::string motivo = "sin clave.";
    std::string pin = "not asked";
    int veces = 0;
    std::function<void()> alFirmar;
};

SistemaFalso& ElSistemaFalso();

inline Lx::X509::Certificado CertificadoDe(const std::string& identidad) {
    Lx::X509::Certificado cert;
    EXPECT_TRUE(Lx::X509::Parsear(Apoyo::ClaveDe(identidad).cert, cert));
    return cert;
}

inline const Apoyo::Bytes kDatos = {'d', 'a', 't', 'o', 's'};
inline const std::string kPin = "123456";

struct Mundo {
    explicit Mundo(Apoyo::Escenario e)
        : tarjeta(e), lector(Apoyo::NombreLector(e.sinContacto)), pcsc(Apoyo::NuevoPcscFalso()) {
        ElSistemaFalso() = {};
        pcsc.lectores = {lector};
        pcsc.atr = tarjeta.Atr();
        pcsc.transmitir = [this](const auto& apdu, auto& respuesta) -> long {
            respuesta = tarjeta.Procesar(apdu);
            pcsc.fuera = tarjeta.Retirada();
            return respuesta.empty() ? (tarjeta.Retirada() ? 0x80100069L : 0x80100066L) : 0;
        };
    }

    // What must hold after anything: nothing stays open, one typed PIN cost at most one try, and a card that has seen
    // it was reset.
    void Comprobar() const {
        EXPECT_EQ(pcsc.contextos, 0);
        EXPECT_EQ(pcsc.tarjetas, 0);
        EXPECT_EQ(pcsc.desvios, "");
        EXPECT_EQ(std::count(pcsc.finales.begin(), pcsc.finales.end(), 1U) > 0, tarjeta.Verificaciones() > 0);
        EXPECT_LE(tarjeta.Verificaciones(), 2);
        EXPECT_EQ(tarjeta.TrasRechazo(), 0);
        EXPECT_GE(tarjeta.Intentos(), 2);
    }

    // What the module makes of the card, and what it says of that.
    Apoyo::Bytes Firmar(const std::string& identidad = "firma") {
        return Lx::Dnie::CDnie::Firmar(lector, CertificadoDe(identidad), kDatos, kPin, texto);
    }
    auto Listar() { return Lx::Dnie::CDnie::LeerCertificados(lector, texto); }

    Apoyo::CTarjetaVirtual tarjeta;
    std::string lector, texto;
    Apoyo::PcscFalso& pcsc;
};

// Every version of the card in both kinds of reader.
inline constexpr std::pair<int, bool> kParejas[] = {{0, false}, {0, true},  {1, false},
                                                    {1, true},  {2, false}, {2, true}};

inline std::string NombrePareja(int perfil, bool sinContacto) {
    return "v" + std::to_string(perfil + 1) + (sinContacto ? "_nfc" : "_contacto");
}
