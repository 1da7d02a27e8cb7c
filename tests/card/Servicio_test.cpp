#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "card/LxDnie.h"
#include "card/LxPcsc.h"
#include "tests/apoyo/tarjeta/ServicioPcsc.h"

using namespace Lx;
using namespace std::chrono_literals;
using Apoyo::CInsercion;
using Apoyo::CServicioPcsc;
using Apoyo::EscenarioDe;
using Dnie::CDnie;

namespace {

// The service tells of a card a moment after it has powered it.
bool EsperarTarjeta(const CInsercion& insercion, const std::string& lector) {
    bool hay = insercion.Esperar();
    for (int i = 0; hay && i < 100 && CDnie::LeerAtr(lector).empty(); ++i) std::this_thread::sleep_for(50ms);
    hay = hay && CDnie::UltimoError().empty();
    EXPECT_TRUE(hay) << lector << ": " << CDnie::UltimoError();
    return hay;
}

}  // namespace

TEST(DnieServicio, ElServicioSeParaAMedias) {
    CServicioPcsc servicio({"Lector NFC PICC"});
    ASSERT_EQ(servicio.Error(), "");
    const std::string lector = servicio.Lector(0);
    CInsercion tarjeta(servicio.Puerto(0), EscenarioDe(2, true));
    ASSERT_TRUE(EsperarTarjeta(tarjeta, lector));
    std::thread fin;
    tarjeta.AntesDe([&](int apdu) {
        if (apdu == 4) fin = std::thread([&] { servicio.Parar(); });
        if (apdu >= 4) std::this_thread::sleep_for(200ms);
    });
    std::string texto;
    const auto inicio = std::chrono::steady_clock::now();
    EXPECT_TRUE(CDnie::LeerCertificados(lector, texto).empty());
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, 10s);
    EXPECT_EQ(texto.rfind("la tarjeta dejo de responder (timeout); mantenga el DNIe en el lector. (perfil", 0), 0U)
        << texto;
    if (fin.joinable()) fin.join();
    EXPECT_TRUE(CDnie::LeerCertificados(lector, texto).empty());
    EXPECT_EQ(texto, "Servicio PC/SC no disponible (servicio 'Smart Card' detenido).");
}

TEST(DnieServicio, UnLectorTomadoEnExclusivaPorOtroPrograma) {
    const CServicioPcsc servicio({"Lector Chip Contact"});
    ASSERT_EQ(servicio.Error(), "");
    const std::string lector = servicio.Lector(0);
    CInsercion tarjeta(servicio.Puerto(0), EscenarioDe(1, false));
    ASSERT_TRUE(EsperarTarjeta(tarjeta, lector));
    void* biblioteca = dlopen("libpcsclite.so.1", RTLD_NOW);
    ASSERT_NE(biblioteca, nullptr);
    const auto conectar =
        reinterpret_cast<long (*)(long, const char*, unsigned long, unsigned long, long*, unsigned long*)>(
            dlsym(biblioteca, "SCardConnect"));
    unsigned long contexto = 0, protocolo = 0;
    long otra = 0;
    ASSERT_EQ(Pcsc::EstablecerContexto(2, contexto), 0);
    ASSERT_EQ(conectar(static_cast<long>(contexto), lector.c_str(), 1, 3, &otra, &protocolo), 0);
    std::string texto;
    EXPECT_TRUE(CDnie::LeerCertificados(lector, texto).empty());
    EXPECT_EQ(texto, "Lector ocupado por otra aplicacion.");
    Pcsc::Desconectar(static_cast<unsigned long>(otra));
    Pcsc::LiberarContexto(contexto);
    EXPECT_EQ(CDnie::LeerCertificados(lector, texto).size(), 3U) << texto;
}
