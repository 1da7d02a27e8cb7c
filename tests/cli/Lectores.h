// The program beside a real card service with readers and cards of the test's own.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/apoyo/tarjeta/ServicioPcsc.h"
#include "tests/cli/Entorno.h"

namespace PruebaCli {

class ConTarjeta : public Cli {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the service with a reader per scenario and puts its card in; no scenario, no card. False: a failure told.
    [[nodiscard]] bool Insertar(const std::vector<std::optional<Apoyo::Escenario>>& escenarios);
    // A card whose signature certificate is the holder's, another of the same holder's for other ends, with the PIN
    // kBueno.
    [[nodiscard]] static Apoyo::Escenario Dnie(int perfil = 2, bool sinContacto = true);
    [[nodiscard]] std::string Lector(size_t i = 0) const { return servidor_->Lector(i); }
    [[nodiscard]] const Apoyo::CTarjetaVirtual& Tarjeta(size_t i = 0) const { return tarjetas_[i]->Tarjeta(); }
    void AntesDe(std::function<void(int apdu)> aviso) { tarjetas_[0]->AntesDe(std::move(aviso)); }

    // Takes the first card out, or puts another one in.
    void Retirar() { tarjetas_[0].reset(); }
    void Meter(const Apoyo::Escenario& escenario) {
        tarjetas_[0] = std::make_unique<Apoyo::CInsercion>(servidor_->Puerto(0), escenario);
    }

    static constexpr const char* kBueno = "74108529";
    static constexpr const char* kMalo = "96307418";
    static constexpr const char* kDocumento = "40302010";  // number of the holder's document, part of the name
    const Apoyo::Identidad* titular_ = nullptr;

  private:
    std::unique_ptr<Apoyo::CServicioPcsc> servidor_;
    std::vector<std::unique_ptr<Apoyo::CInsercion>> tarjetas_;
};

}  // namespace PruebaCli
