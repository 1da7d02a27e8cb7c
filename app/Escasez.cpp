#include "app/Escasez.h"

#include <charconv>
#include <fstream>
#include <string>

namespace Orvanta {

namespace {

constexpr const char* kPresion = "/proc/pressure/memory";
constexpr unsigned kPeriodo = 10'000;  // ms
constexpr double kMucha = 10;          // per cent of the time

}  // namespace

bool FaltaMemoria(std::string_view presion) {
    constexpr std::string_view kPrincipio = "some avg10=";
    if (!presion.starts_with(kPrincipio)) return false;
    double parte = 0;
    const char* desde = presion.data() + kPrincipio.size();
    const auto [hasta, fallo] = std::from_chars(desde, presion.data() + presion.size(), parte);
    return fallo == std::errc() && hasta != desde && parte >= kMucha;
}

void VigilarMemoria(const std::shared_ptr<Correo>& correo, const std::function<void()>& alFaltar) {
    // By `correo`, which outlives what it still owes.
    correo->Luego(kPeriodo, [correo = std::weak_ptr(correo), alFaltar] {
        std::string linea;
        std::ifstream presion(kPresion);
        std::getline(presion, linea);
        if (FaltaMemoria(linea)) alFaltar();
        if (const auto abierto = correo.lock()) VigilarMemoria(abierto, alFaltar);
    });
}

}  // namespace Orvanta
