#include "app/Preferencias.h"

#include "app/FicheroPropio.h"

namespace Orvanta {

namespace {

constexpr size_t kMaximo = 4096;

constexpr struct {
    Tema tema;
    const char* linea;
} kTemas[] = {{Tema::Claro, "tema=claro\n"}, {Tema::Oscuro, "tema=oscuro\n"}};
constexpr const char* kSinRecientes = "recientes=no\n";

[[nodiscard]] std::string Fichero() {
    const std::string carpeta = CarpetaDeConfiguracion();
    return carpeta.empty() ? carpeta : carpeta + "/preferencias";
}

}  // namespace

Preferencias LeerPreferencias() {
    const std::string texto = "\n" + LeerPropio(Fichero(), kMaximo);
    const auto tiene = [&texto](const char* linea) { return texto.find(std::string("\n") + linea) != texto.npos; };
    Preferencias p;
    for (const auto& fila : kTemas)
        if (tiene(fila.linea)) p.tema = fila.tema;
    p.recientes = !tiene(kSinRecientes);
    return p;
}

bool GuardarPreferencias(const Preferencias& preferencias) {
    std::string texto;
    for (const auto& fila : kTemas)
        if (preferencias.tema == fila.tema) texto += fila.linea;
    if (!preferencias.recientes) texto += kSinRecientes;
    return EscribirPropio(Fichero(), texto);
}

}  // namespace Orvanta
