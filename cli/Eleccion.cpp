#include "cli/Eleccion.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>

#include "cli/Texto.h"
#include "crypto/LxApi.h"

namespace Cli {

namespace {

using Lx::CertStore::Entrada;
using Lx::CertStore::NombreOrigen;
using Lx::CertStore::Origen;
using Lx::X509::Certificado;

[[nodiscard]] bool EsRsa(const Certificado& cert) {
    std::vector<unsigned char> modulo, exponente;
    return Lx::X509::ClaveRsa(cert, modulo, exponente);
}

[[nodiscard]] std::string Unir(const std::vector<std::string>& partes) {
    std::string texto;
    for (const std::string& p : partes) texto += (texto.empty() ? "" : ", ") + p;
    return texto;
}

// Serial numbers compare without separators, case and leading zeros.
[[nodiscard]] std::string SerieLlana(std::string_view serie) {
    std::string llana;
    for (const char c : Lx::Api::ToLowerAscii(std::string(serie)))
        if (c != ':' && c != ' ') llana += c;
    llana.erase(0, std::min(llana.find_first_not_of('0'), llana.size()));
    return llana;
}

[[nodiscard]] std::vector<size_t> PorNumero(const Lista& lista, const std::string& cual) {
    constexpr size_t kCifras = 6;
    if (cual.size() > kCifras || cual.find_first_not_of("0123456789") != cual.npos) return {};
    size_t n = 0;
    for (const char c : cual) n = n * 10 + static_cast<size_t>(c - '0');
    return n >= 1 && n <= lista.size() ? std::vector<size_t>{n - 1} : std::vector<size_t>{};
}

[[nodiscard]] std::vector<size_t> PorSerie(const Lista& lista, const std::string& cual) {
    std::vector<size_t> hallados;
    const std::string serie = SerieLlana(cual);
    if (serie.empty() || serie.find_first_not_of("0123456789abcdef") != serie.npos) return {};
    for (size_t i = 0; i < lista.size(); ++i)
        if (SerieLlana(lista[i].cert.serial) == serie) hallados.push_back(i);
    return hallados;
}

[[nodiscard]] std::vector<size_t> PorNombre(const Lista& lista, const std::string& cual) {
    std::vector<size_t> hallados;
    const std::string parte = Lx::Api::ToLowerAscii(cual);
    for (size_t i = 0; i < lista.size(); ++i)
        if (Lx::Api::ToLowerAscii(NombreDe(lista[i].cert)).find(parte) != std::string::npos) hallados.push_back(i);
    return hallados;
}

[[nodiscard]] std::vector<size_t> Candidatos(const Lista& lista, const std::string& cual) {
    for (const auto& buscar : {PorNumero, PorSerie, PorNombre})
        if (std::vector<size_t> hallados = buscar(lista, cual); !hallados.empty()) return hallados;
    return {};
}

[[nodiscard]] std::vector<size_t> Todos(const Lista& lista) {
    std::vector<size_t> indices(lista.size());
    for (size_t i = 0; i < indices.size(); ++i) indices[i] = i;
    return indices;
}

// Those that come from there; all of them when none does.
[[nodiscard]] std::vector<size_t> DelOrigen(const Lista& lista, std::vector<size_t> indices,
                                            std::optional<Origen> pedido) {
    std::vector<size_t> suyos;
    for (const size_t i : indices)
        if (pedido && lista[i].origen == *pedido) suyos.push_back(i);
    return suyos.empty() ? indices : suyos;
}

// A card holds one key for signing and others for other ends, all under one name. The certificate for signing is read
// first and stands first in the list.
[[nodiscard]] std::vector<size_t> ElDeFirma(const Lista& lista, const std::vector<size_t>& indices) {
    const auto deTarjeta = [&lista](size_t i) { return lista[i].origen == Origen::Dnie; };
    if (indices.empty() || !std::all_of(indices.begin(), indices.end(), deTarjeta)) return indices;
    return {indices.front()};
}

int Fallo(std::string& error, std::string frase) {
    error = std::move(frase);
    return -1;
}

// The only one of `candidatos` that nothing speaks against, of the source `pedido` first.
int Unico(const Lista& lista, const std::vector<size_t>& candidatos, std::optional<Origen> pedido, int64_t ahora,
          const std::string& donde, std::string& error) {
    std::vector<size_t> buenos;
    for (const size_t i : candidatos)
        if (Impedimentos(lista[i], ahora).empty()) buenos.push_back(i);
    buenos = ElDeFirma(lista, DelOrigen(lista, buenos, pedido));
    if (buenos.size() == 1) return static_cast<int>(buenos.front());
    if (buenos.empty()) return Fallo(error, "ninguno de los certificados" + donde + " se puede utilizar.");
    return Fallo(error, "hay " + std::to_string(buenos.size()) + " certificados utilizables" + donde +
                            ": elige uno con --certificado.");
}

int ElegirUno(const Entrada& e, size_t indice, int64_t ahora, std::string& aviso, std::string& error) {
    const std::string motivos = Unir(Impedimentos(e, ahora));
    if (!e.conClave || !EsRsa(e.cert))
        return Fallo(error, "con el certificado de " + NombreDe(e.cert) + " no se puede firmar: " + motivos + ".");
    if (!motivos.empty()) aviso = "el certificado elegido no es de los habituales para firmar: " + motivos + ".";
    return static_cast<int>(indice);
}

// --- The table

constexpr size_t kColumnas = 7;
using Fila = std::array<std::string, kColumnas>;

[[nodiscard]] Fila FilaDe(const Entrada& e, size_t numero, int64_t ahora) {
    return {std::to_string(numero),      Visible(NombreDe(e.cert)),
            NombreOrigen(e.origen),      Visible(e.cert.issuerCN.empty() ? e.cert.issuerDN : e.cert.issuerCN),
            Dia(e.cert.notAfter),        e.conClave ? "sí" : "no",
            Unir(Impedimentos(e, ahora))};
}

// Texts of unlimited length must not push the other columns out of sight.
constexpr std::array<size_t, kColumnas> kMaximos = {6, 40, 24, 32, 10, 5, 60};

}  // namespace

std::string NombreDe(const Certificado& cert) {
    if (!cert.subjectCN.empty()) return cert.subjectCN;
    return cert.subjectDN.empty() ? "(sin nombre)" : cert.subjectDN;
}

std::string Dia(int64_t instante) {
    const auto t = static_cast<time_t>(instante);
    tm partes{};
    char texto[32];
    if (localtime_r(&t, &partes) == nullptr || std::strftime(texto, sizeof texto, "%d/%m/%Y", &partes) == 0) return "-";
    return texto;
}

std::vector<std::string> Impedimentos(const Entrada& e, int64_t ahora) {
    std::vector<std::string> motivos;
    if (e.cert.notAfter < ahora) motivos.emplace_back("caducado");
    if (e.cert.notBefore > ahora) motivos.emplace_back("aún no válido");
    if (e.cert.isCA) motivos.emplace_back("es de una CA");
    if (!e.conClave) motivos.emplace_back("sin clave");
    if (!EsRsa(e.cert)) motivos.emplace_back("no es RSA");
    return motivos;
}

int Elegir(const Lista& lista, const std::optional<std::string>& cual, std::optional<Origen> pedido, int64_t ahora,
           std::string& aviso, std::string& error) {
    aviso.clear();
    error.clear();
    if (lista.empty()) return Fallo(error, "no hay ningún certificado con el que firmar.");
    if (!cual) {
        const std::vector<size_t> suyos = DelOrigen(lista, Todos(lista), pedido);
        const bool todos = suyos.size() == lista.size();
        return Unico(lista, suyos, pedido, ahora, todos ? "" : " de " + std::string(NombreOrigen(*pedido)), error);
    }
    const std::vector<size_t> hallados = Candidatos(lista, *cual);
    if (hallados.empty())
        return Fallo(error, "ningún certificado tiene el número, la serie o el nombre \"" + *cual + "\".");
    if (hallados.size() == 1) return ElegirUno(lista[hallados.front()], hallados.front(), ahora, aviso, error);
    return Unico(lista, hallados, pedido, ahora, " con \"" + *cual + "\"", error);
}

std::string Tabla(const Lista& lista, int64_t ahora, size_t ancho) {
    std::vector<Fila> filas = {{"N.º", "Certificado", "Origen", "Emisor", "Vence", "Clave", "Observaciones"}};
    for (size_t i = 0; i < lista.size(); ++i) filas.push_back(FilaDe(lista[i], i + 1, ahora));
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
