// With the real library and service: other programs at the reader, cards that come, go and keep silent.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <future>
#include <thread>

#include "card/Canal.h"
#include "card/LxTarjeta.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/apoyo/tarjeta/ServicioPcsc.h"
#include "tests/card/Medida.h"

using namespace Lx;
using namespace std::chrono_literals;
using Apoyo::CInsercion;
using Apoyo::CServicioPcsc;
using Apoyo::EscenarioDe;
using Dnie::CDnie;

namespace {

const Apoyo::Bytes kDatos = {'d', 'a', 't', 'o', 's'};

// The service tells of a card a moment after it has powered it.
bool EsperarTarjeta(const CInsercion& insercion, const std::string& lector) {
    bool hay = insercion.Esperar();
    for (int i = 0; hay && i < 100 && CDnie::LeerAtr(lector).empty(); ++i) std::this_thread::sleep_for(50ms);
    hay = hay && CDnie::UltimoError().empty();
    EXPECT_TRUE(hay) << lector << ": " << CDnie::UltimoError();
    return hay;
}

class OtroPrograma {
  public:
    OtroPrograma(const std::string& lector, const std::string& que) {
        const std::string listo = carpeta_ / "listo";
        tuberia_ = popen(("exec " OTRO_PROGRAMA " '" + lector + "' " + que + " " + listo).c_str(), "w");
        EXPECT_TRUE(Esperar([&] { return std::filesystem::exists(listo); }));
    }
    ~OtroPrograma() { Terminar(); }
    void Terminar() {
        if (tuberia_ == nullptr) return;
        EXPECT_EQ(pclose(std::exchange(tuberia_, nullptr)), 0);
    }

  private:
    Apoyo::CarpetaTemporal carpeta_;
    FILE* tuberia_ = nullptr;
};

class DnieServicio : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(servicio.Error(), ""); }
    [[nodiscard]] bool Insertar(Apoyo::Escenario e) {
        tarjeta = std::make_unique<CInsercion>(servicio.Puerto(0), std::move(e));
        return EsperarTarjeta(*tarjeta, lector);
    }
    Dnie::Firmado Firmar(Control& control) const {
        X509::Certificado cert;
        EXPECT_TRUE(X509::Parsear(Apoyo::ClaveDe("firma").cert, cert));
        return Dnie::FirmarConTarjeta(lector, cert, kDatos, "123456", {}, control);
    }

    CServicioPcsc servicio{{"Lector Chip Contact"}};
    const std::string lector = servicio.Lector(0);
    std::unique_ptr<CInsercion> tarjeta;
};

}  // namespace

TEST_F(DnieServicio, ElServicioSeParaAMedias) {
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    std::jthread fin;
    tarjeta->AntesDe([&](int apdu) {
        if (apdu == 4) fin = std::jthread([&] { servicio.Parar(); });
        if (apdu >= 4) std::this_thread::sleep_for(200ms);
    });
    std::string texto;
    const auto inicio = std::chrono::steady_clock::now();
    EXPECT_TRUE(CDnie::LeerCertificados(lector, texto).empty());
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, 10s);
    EXPECT_EQ(texto.rfind("la tarjeta dejo de responder (timeout); mantenga", 0), 0U) << texto;
    if (fin.joinable()) fin.join();
    Control control;
    EXPECT_EQ(Dnie::LeerTarjeta(lector, control).fallo.motivo, Motivo::SinServicio);
    EXPECT_EQ(Dnie::LeerTarjeta("", control).fallo.frase,
              "Servicio PC/SC no disponible (servicio 'Smart Card' detenido).");
}

TEST_F(DnieServicio, OtroProgramaTieneElLector) {
    ASSERT_TRUE(Insertar(EscenarioDe(1, false)));
    Control control;
    {
        OtroPrograma otro(lector, "exclusiva");
        EXPECT_EQ(Dnie::LeerTarjeta(lector, control).fallo.frase, "Lector ocupado por otra aplicacion.");
    }
    OtroPrograma otro(lector, "tener");
    Dnie::Lectura lectura;
    const Medida medida = Medir(control, [&] { lectura = Dnie::LeerTarjeta(lector, control); });
    EXPECT_EQ(lectura.fallo.motivo, Motivo::LectorOcupado) << lectura.fallo.frase;
    EXPECT_NEAR(medida.palabra, 1.5, 0.5);
    EXPECT_NEAR(medida.total, 5.75, 0.75);
    // One that lets go in time is waited for.
    Dnie::Firmado firmado;
    std::thread suelta([&] {
        std::this_thread::sleep_for(2500ms);
        otro.Terminar();
    });
    EXPECT_NEAR(Medir(control, [&] { firmado = Firmar(control); }).palabra, 1.5, 0.5);
    suelta.join();
    EXPECT_EQ(firmado.fallo.frase, "");
    EXPECT_FALSE(control.Ver().ocupado);
}

TEST_F(DnieServicio, NadieEligeOtraCosaEntreElSelectYElVerify) {
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    OtroPrograma otro(lector, "elegir");
    tarjeta->AntesDe([](int) { std::this_thread::sleep_for(10ms); });
    for (int i = 0; i < 3; ++i) {
        Control control;
        EXPECT_EQ(Firmar(control).fallo.frase, "");
    }
    otro.Terminar();
    // Its selections lie before and after each signature, and none within.
    const std::string todo = tarjeta->Tarjeta().Transcripcion(), suya = "> 00A4040007A0000000030000";
    size_t firmas = 0;
    for (size_t p = 0; (p = todo.find("> 00200080", p)) != std::string::npos; ++firmas) {
        const size_t desde = todo.rfind("> 00A4040C", p), hasta = todo.find("> 002A9E9A", p);
        EXPECT_EQ(Apoyo::Cuenta(todo.substr(desde, hasta - desde), suya), 0U);
        p = hasta;
    }
    EXPECT_EQ(firmas, 3U);
    EXPECT_GT(Apoyo::Cuenta(todo, suya), 3U);
}

// What the directory was opened on is gone, whatever stands in the reader now: nothing reaches that.
TEST_F(DnieServicio, UnaTarjetaCambiadaNoRecibeNada) {
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    Control control;
    Pcsc::Canal canal(control);
    bool deContexto = false;
    ASSERT_EQ(canal.Conectar(lector, deContexto), 0);
    EXPECT_EQ(canal.Seguir(), 0);
    tarjeta.reset();
    std::this_thread::sleep_for(1s);
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    EXPECT_NE(canal.Seguir(), 0);
    Pcsc::Bytes respuesta;
    EXPECT_NE(canal.Transmitir({0x00, 0x20, 0x00, 0x80, 0x00}, respuesta), 0);
    EXPECT_EQ(tarjeta->Tarjeta().Apdus(), 0);
}

TEST_F(DnieServicio, UnaTarjetaMuda) {
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    std::promise<void> puerta;
    tarjeta->AntesDe([&, abierta = puerta.get_future().share()](int apdu) {
        if (apdu >= 3) abierta.wait();
    });
    Control control;
    Dnie::Diagnostico d;
    const Medida medida = Medir(control, [&] { d = Dnie::Diagnosticar(lector, control); });
    EXPECT_EQ(d.pasos[4].motivo, Motivo::TarjetaMuda) << d.pasos[4].texto;
    EXPECT_NEAR(medida.palabra, 1.5, 0.5);
    EXPECT_NEAR(medida.total, 8.75, 0.75);
    puerta.set_value();
    EXPECT_EQ(Dnie::LeerTarjeta(lector, control).certificados.size(), 3U);
}

// Card and reader in place of the service's word for it: connections change that too.
TEST_F(DnieServicio, ElVigilanteSoloCuentaTarjetas) {
    std::atomic<int> avisos{0};
    auto vigilante = std::make_unique<Dnie::Vigilante>([&] { ++avisos; });
    std::this_thread::sleep_for(300ms);
    ASSERT_TRUE(Insertar(EscenarioDe(2, false)));
    EXPECT_TRUE(Esperar([&] { return avisos == 1; }));
    Control control;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Dnie::LeerTarjeta("", control).certificados.size(), 3U);
    EXPECT_EQ(Firmar(control).fallo.frase, "");
    const OtroPrograma otro(lector, "tener");
    std::this_thread::sleep_for(2500ms);  // longer than one wait of the watcher
    EXPECT_EQ(avisos, 1);
    tarjeta.reset();
    EXPECT_TRUE(Esperar([&] { return avisos == 2; }));
    servicio.Parar();
    EXPECT_TRUE(Esperar([&] { return avisos == 3; }));
    const auto inicio = std::chrono::steady_clock::now();
    vigilante.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, 50ms);
}
