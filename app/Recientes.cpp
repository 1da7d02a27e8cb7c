#include "app/Recientes.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

#include "app/FicheroPropio.h"
#include "crypto/LxApi.h"

namespace Orvanta {

namespace {

constexpr size_t kMaxFichero = 256 * 1024;
constexpr size_t kMaxRuta = 4096;
constexpr std::string_view kCabecera = "velmora-recientes 1\n";

template <class T>
void Poner(std::string& linea, T valor) {
    char texto[64];
    linea.append(texto, std::to_chars(texto, texto + sizeof texto, valor).ptr);
    linea += ' ';
}

// The number before the next blank. False when there is none, or it isn't from `minimo` to `maximo`.
template <class T>
[[nodiscard]] bool Tomar(std::string_view& linea, T minimo, T maximo, T& valor) {
    const auto [fin, fallo] = std::from_chars(linea.data(), linea.data() + linea.size(), valor);
    const auto largo = static_cast<size_t>(fin - linea.data());
    if (fallo != std::errc() || largo >= linea.size() || linea[largo] != ' ') return false;
    linea.remove_prefix(largo + 1);
    return valor >= minimo && valor <= maximo;  // false too for what is no number
}

// page down across zoom fit turn single path, the last percent-encoded
[[nodiscard]] std::string LineaDe(const Reciente& r) {
    std::string linea;
    Poner(linea, r.lugar.page);
    Poner(linea, r.lugar.down);
    Poner(linea, r.lugar.across);
    Poner(linea, r.lugar.zoom);
    Poner(linea, static_cast<int>(r.lugar.fit));
    Poner(linea, r.lugar.turn);
    Poner(linea, int{r.lugar.single});
    return linea + Lx::Api::UrlEncode(r.ruta) + "\n";
}

[[nodiscard]] bool LeerLinea(std::string_view linea, Reciente& r) {
    constexpr int kMaxPagina = 100'000'000, kUltimoAjuste = static_cast<int>(Lx::ViewPlace::Fit::Page), kGiros = 3;
    int ajuste = 0, una = 0;
    Lx::ViewPlace& l = r.lugar;
    if (!Tomar(linea, 0, kMaxPagina, l.page) || !Tomar(linea, 0.0, 1.0, l.down) || !Tomar(linea, 0.0, 1.0, l.across) ||
        !Tomar(linea, Lx::CDocView::kMinZoom, Lx::CDocView::kMaxZoom, l.zoom) ||
        !Tomar(linea, 0, kUltimoAjuste, ajuste) || !Tomar(linea, 0, kGiros, l.turn) || !Tomar(linea, 0, 1, una))
        return false;
    l.fit = static_cast<Lx::ViewPlace::Fit>(ajuste);
    l.single = una != 0;
    r.ruta = Lx::Api::UrlDecode(std::string(linea));
    return r.ruta.starts_with('/') && r.ruta.size() < kMaxRuta && r.ruta.find('\0') == r.ruta.npos;
}

}  // namespace

Recientes::Recientes() {
    const std::string carpeta = CarpetaDeEstado();
    if (!carpeta.empty()) fichero_ = carpeta + "/recientes";
}

std::vector<Reciente> Recientes::Ver() const {
    const std::string texto = LeerPropio(fichero_, kMaxFichero);
    std::vector<Reciente> todos;
    if (!texto.starts_with(kCabecera)) return todos;
    for (size_t i = kCabecera.size(); i < texto.size() && todos.size() < kMaximo;) {
        const size_t fin = std::min(texto.find('\n', i), texto.size());
        Reciente uno;
        if (LeerLinea(std::string_view(texto).substr(i, fin - i), uno)) todos.push_back(std::move(uno));
        i = fin + 1;
    }
    return todos;
}

std::optional<Lx::ViewPlace> Recientes::LugarDe(const std::string& ruta) const {
    for (const Reciente& r : Ver())
        if (r.ruta == ruta) return r.lugar;
    return {};
}

void Recientes::Anotar(const Reciente& reciente) const {
    std::vector<Reciente> todos = Ver();
    std::erase_if(todos, [&](const Reciente& r) { return r.ruta == reciente.ruta; });
    todos.insert(todos.begin(), reciente);
    if (todos.size() > kMaximo) todos.resize(kMaximo);
    Guardar(todos);
}

void Recientes::Mover(const Reciente& reciente) const {
    std::vector<Reciente> todos = Ver();
    for (Reciente& r : todos) {
        if (r.ruta != reciente.ruta || r.lugar == reciente.lugar) continue;
        r.lugar = reciente.lugar;
        return Guardar(todos);
    }
}

void Recientes::Borrar() const {
    if (!fichero_.empty()) unlink(fichero_.c_str());
}

void Recientes::Guardar(const std::vector<Reciente>& todos) const {
    std::string texto(kCabecera);
    for (const Reciente& r : todos) texto += LineaDe(r);
    // A list that can't be kept is no reason to bother anybody.
    static_cast<void>(EscribirPropio(fichero_, texto));
}

}  // namespace Orvanta
