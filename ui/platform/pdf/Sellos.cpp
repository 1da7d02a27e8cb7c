#include "ui/platform/pdf/Sellos.h"

#include <algorithm>
#include <string_view>

namespace Lx::Pdf {
namespace {

constexpr std::string_view kWidget = "/Widget";
constexpr std::string_view kSello = "/Stamp ";
static_assert(kWidget.size() == kSello.size());

// ISO 32000-1, 7.2.2: white space and delimiters end a name.
constexpr std::string_view kEspacios("\0\t\n\f\r ", 6);
constexpr std::string_view kDelimitadores("\0\t\n\f\r ()<>[]{}/%", 16);

bool AcabaEn(std::string_view texto, size_t fin) {
    return fin >= texto.size() || kDelimitadores.find(texto[fin]) != std::string_view::npos;
}

// Whether the key stands in the text with that value: /FT /Sig.
bool Tiene(std::string_view texto, std::string_view clave, std::string_view valor) {
    for (size_t pos = texto.find(clave); pos != std::string_view::npos; pos = texto.find(clave, pos + 1)) {
        const size_t inicio = std::min(texto.find_first_not_of(kEspacios, pos + clave.size()), texto.size());
        if (texto.substr(inicio, valor.size()) == valor && AcabaEn(texto, inicio + valor.size())) return true;
    }
    return false;
}

}  // namespace

void ConservarSellos(char* datos, size_t cuantos) {
    const std::string_view texto(datos, cuantos);
    if (!Tiene(texto, "/NeedAppearances", "true")) return;
    constexpr std::string_view kFin = "endobj";
    size_t inicio = 0;
    for (size_t fin = texto.find(kFin); fin != std::string_view::npos; fin = texto.find(kFin, inicio)) {
        const std::string_view objeto = texto.substr(inicio, fin - inicio);
        if (Tiene(objeto, "/FT", "/Sig") && Tiene(objeto, "/Subtype", kWidget)) {
            const size_t widget = inicio + objeto.find(kWidget);
            std::copy(kSello.begin(), kSello.end(), datos + widget);
        }
        inicio = fin + kFin.size();
    }
}

}  // namespace Lx::Pdf
