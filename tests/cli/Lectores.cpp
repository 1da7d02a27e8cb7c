#include "tests/cli/Lectores.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "card/LxDnie.h"

namespace PruebaCli {

void ConTarjeta::SetUp() {
    Cli::SetUp();
    static const Apoyo::CarpetaTemporal suyo, ajeno;
    static const std::string nombre = std::string("PRUEBA TITULAR FIR ") + kDocumento;
    static const auto titular = Apoyo::CrearIdentidad(suyo.Ruta(), {.cn = nombre});
    static const auto otra = Apoyo::CrearIdentidad(ajeno.Ruta(), {.cn = nombre, .uso = "critical,digitalSignature"});
    Apoyo::RegistrarClave("firma", {titular.certificado.der, titular.clave});
    Apoyo::RegistrarClave("otra", {otra.certificado.der, otra.clave});
    titular_ = &titular;
}

void ConTarjeta::TearDown() {
    tarjetas_.clear();
    servidor_.reset();
    Cli::TearDown();
}

Apoyo::Escenario ConTarjeta::Dnie(int perfil, bool sinContacto) {
    Apoyo::Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
    e.pin = kBueno;
    return e;
}

bool ConTarjeta::Insertar(const std::vector<std::optional<Apoyo::Escenario>>& escenarios) {
    using namespace std::chrono_literals;
    tarjetas_.clear();
    servidor_.reset();
    std::vector<std::string> nombres;
    for (const auto& e : escenarios)
        nombres.push_back((e && !e->sinContacto ? "Lector Chip Contact " : "Lector NFC PICC ") +
                          std::string(1, static_cast<char>('A' + nombres.size())));
    servidor_ = std::make_unique<Apoyo::CServicioPcsc>(nombres);
    servicio_ = std::getenv("PCSCLITE_CSOCK_NAME");
    if (!servidor_->Error().empty()) {
        ADD_FAILURE() << servidor_->Error();
        return false;
    }
    for (size_t i = 0; i < escenarios.size(); ++i)
        tarjetas_.push_back(escenarios[i] ? std::make_unique<Apoyo::CInsercion>(servidor_->Puerto(i), *escenarios[i])
                                          : nullptr);
    using Lx::Dnie::CDnie;
    (void)CDnie::ListarLectores();
    for (size_t i = 0; i < escenarios.size(); ++i) {
        if (!tarjetas_[i]) continue;
        bool hay = tarjetas_[i]->Esperar();
        for (int j = 0; hay && j < 100 && CDnie::LeerAtr(Lector(i)).empty(); ++j) std::this_thread::sleep_for(50ms);
        if (hay && CDnie::UltimoError().empty()) continue;
        ADD_FAILURE() << Lector(i) << ": " << CDnie::UltimoError();
        return false;
    }
    return true;
}

}  // namespace PruebaCli
