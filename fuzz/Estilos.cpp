// Any text as a style sheet: parsing, the typed look-ups, and what its own writing reads as.
#include <cstdlib>

#include "ui/LxStyle.h"

namespace {

void Exigir(bool condicion) {
    if (!condicion) std::abort();
}

// Alpha is written with two decimals, and scaled back by truncation.
bool MismoColor(const Lx::Color& a, const Lx::Color& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b && std::abs(a.a - b.a) <= 3;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string texto(reinterpret_cast<const char*>(data), size);
    const auto hoja = Lx::CStyleSheet::Parse(texto);
    const auto vuelta = Lx::CStyleSheet::Parse(hoja.ToCSS());
    const Lx::StyleValue nada = std::string("\n");
    for (const char* clave : {"color", "background-color", "border-width", "border-radius", "font-family", "a", ""}) {
        if (!hoja.HasProperty(clave)) continue;
        const Lx::StyleValue valor = hoja.GetProperty(clave, nada);
        // A string may read as anything when it is written without its quotes.
        if (valor.index() == 0) Exigir(MismoColor(std::get<0>(valor), vuelta.GetColor(clave, {1, 2, 3, 4})));
        if (valor.index() == 1) Exigir(vuelta.GetProperty(clave, nada) == valor);
        if (valor.index() == 4) Exigir(vuelta.GetProperty(clave, nada) == valor);
        Exigir(vuelta.HasProperty(clave));
        static_cast<void>(hoja.GetColor(clave, {}));
    }
    static_cast<void>(Lx::CStyleSheet::ParseColor(texto));
    static_cast<void>(Lx::CStyleSheet::ParseFloat(texto));
    return 0;
}
