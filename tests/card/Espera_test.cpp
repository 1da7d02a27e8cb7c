// Calls of the service that don't come back, or come back late.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <memory>

#include "card/LxTarjeta.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/card/Medida.h"
#include "tests/card/Mundo.h"

using namespace Lx;

namespace {

struct Bloqueo {
    const char* caso;
    const char* funcion;   // does not return
    int cual;              // the first time, the second…
    unsigned long estado;  // of the reader
    Motivo motivo;
    double segundos;
    int ordenes;  // commands that were sent by then
};

constexpr unsigned long kSolo = 0x20, kConOtros = 0x120;  // SCARD_STATE_PRESENT, SCARD_STATE_INUSE

const Bloqueo kBloqueos[] = {
    {"Contexto", "SCardEstablishContext", 1, kSolo, Motivo::SinServicio, 5, 0},
    {"Conexion", "SCardConnect", 1, kSolo, Motivo::TarjetaMuda, 5, 0},
    {"ConexionConOtros", "SCardConnect", 1, kConOtros, Motivo::LectorOcupado, 5, 0},
    {"Transaccion", "SCardBeginTransaction", 1, kSolo, Motivo::LectorOcupado, 5, 0},
    {"Estado", "SCardStatus", 1, kConOtros, Motivo::TarjetaMuda, 5, 0},
    {"Select", "SCardTransmit", 1, kConOtros, Motivo::TarjetaMuda, 8, 1},
    {"Verify", "SCardTransmit", 4, kSolo, Motivo::TarjetaMuda, 8, 4},
};

class TarjetaLenta : public testing::TestWithParam<Bloqueo> {
  protected:
    // The next call that is to be held waits until Abrir.
    void Cerrar(const std::string& funcion, int cual) {
        puerta_ = std::make_shared<std::promise<void>>();
        liberados_ = mundo.pcsc.liberados;
        mundo.pcsc.antes = [=, abierta = puerta_->get_future().share(),
                            n = std::make_shared<int>(cual)](const std::string& f) {
            if (f == funcion && --*n == 0) abierta.wait();
        };
    }
    // Nothing stays open then, and nothing more is sent.
    void Abrir(int ordenes) {
        puerta_->set_value();
        EXPECT_TRUE(Esperar([&] { return mundo.pcsc.liberados > liberados_; }));
        EXPECT_EQ(mundo.pcsc.contextos + mundo.pcsc.tarjetas, 0);
        EXPECT_EQ(mundo.pcsc.transmisiones, ordenes);
        EXPECT_EQ(mundo.pcsc.desvios, "");
    }
    Dnie::Firmado Firmar(Control& control) {
        return Dnie::FirmarConTarjeta(mundo.lector, cert_, kDatos, kPin, {}, control);
    }

    Mundo mundo{Apoyo::EscenarioDe(2, false)};

  private:
    const X509::Certificado cert_ = CertificadoDe("firma");
    std::shared_ptr<std::promise<void>> puerta_;
    int liberados_ = 0;
};

}  // namespace

TEST_P(TarjetaLenta, SeDejaATiempoOSeCancelaEnseguida) {
    const Bloqueo& b = GetParam();
    const bool conPin = b.ordenes == 4;
    mundo.pcsc.estadoLector = b.estado;
    Cerrar(b.funcion, b.cual);
    Control control;
    Dnie::Firmado r;
    const Medida m = Medir(control, [&] { r = Firmar(control); });
    EXPECT_EQ(r.fallo.motivo, b.motivo) << r.fallo.frase;
    EXPECT_NEAR(m.palabra, 1.5, 0.5);
    EXPECT_NEAR(m.total, b.segundos + 0.75, 0.75);
    EXPECT_EQ(r.pinEnviado, conPin);
    EXPECT_EQ(control.Ver().comprometido, conPin);
    EXPECT_EQ(ElSistemaFalso().veces, 0);
    Abrir(b.ordenes);
    if (conPin) return;  // no cancelling once the key is in use
    Cerrar(b.funcion, b.cual);
    mundo.pcsc.transmisiones = 0;
    EXPECT_LT(Medir(
                  control, [&] { r = Firmar(control); }, 0.3)
                  .total,
              0.5);
    EXPECT_EQ(r.fallo.motivo, Motivo::Cancelado) << r.fallo.frase;
    Abrir(b.ordenes);
}

INSTANTIATE_TEST_SUITE_P(Fallos, TarjetaLenta, testing::ValuesIn(kBloqueos),
                         [](const auto& fila) { return fila.param.caso; });

// Each command takes a second and a half, the job over eight: it is a slow card, not a mute one. The thread takes no
// signal away from those that wait for one.
TEST_F(TarjetaLenta, LaQueContestaNoSeDeja) {
    mundo.pcsc.antes = [](const std::string& f) {
        sigset_t bloqueadas;
        pthread_sigmask(SIG_SETMASK, nullptr, &bloqueadas);
        EXPECT_EQ(sigismember(&bloqueadas, SIGINT), 1);
        if (f == "SCardTransmit") std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    };
    Control control;
    Dnie::Firmado r;
    EXPECT_GT(Medir(control, [&] { r = Firmar(control); }).total, 8.5);
    EXPECT_EQ(r.fallo.frase, "");
    mundo.Comprobar();
}

// What was signed stays signed; the store is not asked while the card isn't free for it.
TEST_F(TarjetaLenta, ElFinalNoLlega) {
    Cerrar("SCardEndTransaction", 1);
    Control control;
    Dnie::Firmado r;
    EXPECT_NEAR(Medir(control, [&] { r = Firmar(control); }).total, 5.75, 0.75);
    EXPECT_EQ(r.firma.size(), 256U);
    Abrir(6);
    mundo.tarjeta.Reiniciar();
    control.Soltar();
    const int antes = mundo.pcsc.transmisiones;
    mundo.pcsc.transmitir = [orden = mundo.pcsc.transmitir](const auto& apdu, auto& respuesta) -> long {
        respuesta = {0x6A, 0x88};
        return apdu[1] == 0x22 ? 0 : orden(apdu, respuesta);
    };
    Cerrar("SCardEndTransaction", 1);
    EXPECT_GT(Medir(control, [&] { r = Firmar(control); }).total, 5.0);
    EXPECT_EQ(r.fallo.motivo, Motivo::TarjetaMuda) << r.fallo.frase;
    EXPECT_EQ(ElSistemaFalso().veces, 0);
    Abrir(antes + 7);
}

// A driver's own time-outs are no answers.
TEST_F(TarjetaLenta, LosErroresNoSonRespuestas) {
    mundo.pcsc.transmitir = [](const auto&, auto&) -> long {
        std::this_thread::sleep_for(std::chrono::milliseconds(3000));
        return 0x8010002FL;
    };
    Control control;
    Dnie::Lectura r;
    EXPECT_NEAR(Medir(control, [&] { r = Dnie::LeerTarjeta("", control); }).total, 8.75, 0.75);
    EXPECT_EQ(r.fallo.motivo, Motivo::TarjetaMuda) << r.fallo.frase;
    EXPECT_TRUE(Esperar([&] { return mundo.pcsc.liberados == 1; }));
    EXPECT_EQ(mundo.pcsc.transmisiones, 3);
}

TEST_F(TarjetaLenta, LoLeidoAMediasNoCuenta) {
    Cerrar("SCardTransmit", 15);
    Control control;
    Dnie::Lectura r;
    const auto leer = [&] { r = Dnie::LeerTarjeta("", control); };
    EXPECT_LT(Medir(control, leer, 0.3).total, 0.5);
    EXPECT_EQ(r.fallo.motivo, Motivo::Cancelado);
    EXPECT_TRUE(r.certificados.empty());
    Abrir(15);
}

TEST_F(TarjetaLenta, ElVigilanteNoEsperaAlServicio) {
    Cerrar("SCardGetStatusChange", 2);
    std::atomic<int> avisos{0};
    auto vigilante = std::make_unique<Dnie::Vigilante>([&] { ++avisos; });
    EXPECT_TRUE(Esperar([&] { return mundo.pcsc.contextos == 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    mundo.pcsc.estadoLector = 0x10;
    const auto inicio = std::chrono::steady_clock::now();
    vigilante.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::milliseconds(50));
    Abrir(0);
    EXPECT_EQ(avisos, 0);
}

// A card that another one takes the place of between two looks counts.
TEST_F(TarjetaLenta, ElVigilanteVeElCambio) {
    std::atomic<int> avisos{0};
    {
        const Dnie::Vigilante vigilante([&] { ++avisos; });
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        EXPECT_EQ(avisos, 0);
        mundo.pcsc.estadoLector = 0x20020;
        EXPECT_TRUE(Esperar([&] { return avisos == 1; }));
    }
    EXPECT_TRUE(Esperar([&] { return mundo.pcsc.liberados == 1; }));
}

// The program ends, and cleanly, with a thread in the service for good; with a watcher there too.
TEST_F(TarjetaLenta, ElProgramaTerminaConUnHiloDejado) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            Cerrar("SCardTransmit", 2);
            Control control;
            std::thread fin([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                control.Cancelar();
            });
            const Dnie::Vigilante vigilante([] {});
            (void)Firmar(control);
            fin.join();
            std::exit(control.Ver().cancelado ? 0 : 3);
        },
        testing::ExitedWithCode(0), "");
}
