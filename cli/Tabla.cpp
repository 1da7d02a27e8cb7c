#include "cli/Tabla.h"

#include <algorithm>
#include <array>

#include "cli/TextoTerminal.h"

namespace Cli {

namespace {

constexpr size_t kColumnas = 7;
using Fila = std::array<std::string, kColumnas>;

[[nodiscard]] Fila FilaDe(const Lx::CertStore::Entrada& e, const Lx::Firma::Aptitud& aptitud, size_t numero) {
    return {std::to_string(numero),
            Visible(Lx::Firma::NombreDe(e.cert)),
            Lx::CertStore::NombreOrigen(e.origen),
            Visible(e.cert.issuerCN.empty() ? e.cert.issuerDN : e.cert.issuerCN),
            Lx::Firma::Dia(e.cert.notAfter),
            e.conClave ? "sí" : "no",
            EnBreve(aptitud)};
}

// Texts of unlimited length must not push the other columns out of sight.
constexpr std::array<size_t, kColumnas> kMaximos = {6, 40, 24, 32, 10, 5, 60};

}  // namespace

std::string Tabla(const Lx::Firma::Certificados& certificados, size_t ancho) {
    const auto& entradas = certificados.listado.entradas;
    std::vector<Fila> filas = {{"N.º", "Certificado", "Origen", "Emisor", "Vence", "Clave", "Observaciones"}};
    for (size_t i = 0; i < entradas.size(); ++i) filas.push_back(FilaDe(entradas[i], certificados.aptitudes[i], i + 1));
    std::array<size_t, kColumnas> anchos{};
    for (const Fila& f : filas)
        for (size_t c = 0; c < kColumnas; ++c) anchos[c] = std::max(anchos[c], std::min(Ancho(f[c]), kMaximos[c]));
    std::string texto;
    for (const Fila& f : filas) {
        std::string linea;
        for (size_t c = 0; c < kColumnas; ++c) linea += Rellenar(Recortar(f[c], anchos[c]), anchos[c]) + "  ";
        linea.erase(linea.find_last_not_of(' ') + 1);
        texto += (ancho == 0 ? linea : Recortar(linea, ancho)) + "\n";
    }
    return texto;
}

}  // namespace Cli
