#include "app/BarraFirmas.h"

#include <algorithm>

#include "app/AjusteTexto.h"

namespace Paleta = Orvanta::Paleta;
using Lx::Firma::FirmaAnterior;

namespace {

constexpr int kTamano = 12;
constexpr int kMargen = 10;
constexpr int kFranja = 4;
constexpr size_t kNombres = 6;  // that are told
constexpr size_t kLargo = 60;   // of a name

[[nodiscard]] std::string Enumerar(const std::vector<std::string>& nombres) {
    std::string texto;
    for (size_t i = 0; i < nombres.size(); ++i)
        texto += (i == 0 ? "" : i + 1 == nombres.size() ? " y " : ", ") + nombres[i];
    return texto;
}

[[nodiscard]] std::vector<std::string> Citados(std::vector<std::string> nombres) {
    for (std::string& nombre : nombres) nombre = Orvanta::Citado(nombre, kLargo);
    return nombres;
}

[[nodiscard]] std::string Cuantas(size_t n) {
    return n == 1 ? "1 firma" : std::to_string(n) + " firmas";
}

[[nodiscard]] std::string TextoDe(const std::vector<FirmaAnterior>& firmas, const std::vector<std::string>& aqui) {
    std::string texto = aqui.empty() ? "" : "Firmado ahora por " + Enumerar(Citados(aqui)) + ". ";
    const size_t ajenas = firmas.size() - std::min(firmas.size(), aqui.size());
    if (ajenas == 0) return texto;
    std::vector<std::string> nombres;
    for (size_t i = 0; i < ajenas; ++i) {
        if (!firmas[i].sello && firmas[i].nombre.empty()) continue;
        std::string nombre = firmas[i].sello ? "un sello de tiempo" : Orvanta::Citado(firmas[i].nombre, kLargo);
        if (std::find(nombres.begin(), nombres.end(), nombre) == nombres.end()) nombres.push_back(std::move(nombre));
    }
    if (nombres.size() > kNombres) {
        nombres.resize(kNombres - 1);
        nombres.emplace_back("otros");
    }
    texto += (aqui.empty() ? "Contiene " : "Contiene además ") + Cuantas(ajenas) + ", sin comprobar";
    return texto + (nombres.empty() ? "." : ": según el documento, de " + Enumerar(nombres) + ".");
}

}  // namespace

bool CBarraFirmas::Poner(const std::vector<FirmaAnterior>& firmas, const std::vector<std::string>& aqui) {
    const bool antes = visible;
    texto_ = TextoDe(firmas, aqui);
    visible = !texto_.empty();
    Invalidate(nullptr);
    return visible != antes;
}

void CBarraFirmas::OnPaint(Lx::CCanvas* canvas) {
    canvas->FillRect(rect, paleta_[Paleta::kPanel]);
    canvas->FillRect({rect.x, rect.y, kFranja, rect.h}, Lx::ThemeColor(Lx::ColorRole::Accent));
    const int y = rect.y + (rect.h - canvas->MeasureText(texto_, "system", kTamano, false, false).cy) / 2;
    const int ancho = rect.w - 2 * kMargen - kFranja;
    canvas->DrawText(Orvanta::Recortado(texto_, kTamano, ancho), {rect.x + kMargen + kFranja, y},
                     paleta_[Paleta::kTexto], "system", kTamano, false, false);
}

Lx::AccessibleInfo CBarraFirmas::Accessibility() const {
    Lx::AccessibleInfo info;
    info.role = Lx::AccessibleRole::Label;
    info.name = texto_;
    return info;
}

std::string CBarraFirmas::ToolTip(const Lx::Point&) const {
    return Orvanta::Cabe(texto_, kTamano, rect.w - 2 * kMargen - kFranja) ? std::string() : texto_;
}
