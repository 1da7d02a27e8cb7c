#include "cli/Progreso.h"

#include <unistd.h>

#include <cstdlib>

#include "cli/TextoTerminal.h"

namespace Cli {

namespace {

constexpr size_t kBarra = 24;

[[nodiscard]] bool EsTerminal() {
    const char* tipo = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 && tipo != nullptr && std::string_view(tipo) != "dumb";
}

void Escribir(const std::string& texto) {
    if (write(STDERR_FILENO, texto.data(), texto.size()) < 0) return;  // a bar that can't be drawn stops nothing
}

}  // namespace

Progreso::Progreso(size_t total) : total_(total), activo_(total > 1 && EsTerminal()) {}

void Progreso::Mostrar(size_t hechos, std::string_view nombre) {
    if (!activo_) return;
    const size_t llenos = kBarra * hechos / total_;
    std::string linea = "[" + std::string(llenos, '#') + std::string(kBarra - llenos, '.') + "] ";
    linea += std::to_string(hechos) + "/" + std::to_string(total_) + "  " + Visible(nombre);
    // The last column stays free: a full line would make the terminal begin a new one.
    const size_t columnas = AnchoTerminal(STDERR_FILENO);
    Escribir("\r" + Recortar(linea, columnas > 0 ? columnas - 1 : 0) + "\x1B[K");
    dibujado_ = true;
}

void Progreso::Quitar() {
    if (dibujado_) Escribir("\r\x1B[K");
    dibujado_ = false;
}

}  // namespace Cli
