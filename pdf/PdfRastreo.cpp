#include "pdf/PdfRastreo.h"

#include <algorithm>
#include <string>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr size_t kTrozo = 1U << 20;
constexpr size_t kSolape = 512;  // a header is shorter
constexpr std::string_view kTrailer = "trailer";

size_t Atras(std::string_view texto, size_t pos, bool cifras) {
    while (pos > 0 && (cifras ? texto[pos - 1] >= '0' && texto[pos - 1] <= '9' : EsBlanco(texto[pos - 1]))) --pos;
    return pos;
}

uint64_t Numero(std::string_view cifras) {
    uint64_t n = 0;
    for (const char c : cifras) n = n > UINT32_MAX ? n : n * 10 + static_cast<uint64_t>(c - '0');
    return n;
}

bool EnInicioDeLinea(std::string_view texto, size_t pos) {
    while (pos > 0 && (texto[pos - 1] == ' ' || texto[pos - 1] == '\t')) --pos;
    return pos == 0 || texto[pos - 1] == '\n' || texto[pos - 1] == '\r';
}

// The header whose keyword stands at `obj` of a text that begins at byte `base` of the file.
bool CabeceraEn(std::string_view texto, size_t obj, uint64_t base, Cabecera& c) {
    const size_t finGen = Atras(texto, obj, false);
    const size_t gen = Atras(texto, finGen, true);
    const size_t finNum = Atras(texto, gen, false);
    const size_t num = Atras(texto, finNum, true);
    if (gen == finGen || num == finNum || finNum == gen) return false;
    c = {Numero(texto.substr(num, finNum - num)), Numero(texto.substr(gen, finGen - gen)), base + num,
         EnInicioDeLinea(texto, num)};
    return c.num > 0;
}

}  // namespace

void Rastrear(const Fuente& fuente, const std::function<void(const Cabecera&)>& cabecera,
              const std::function<void(uint64_t)>& trailer) {
    const uint64_t total = fuente.Longitud();
    std::string texto;
    // Each piece begins kSolape bytes before the part that is searched in it.
    for (uint64_t desde = 0; desde < total; desde += kTrozo) {
        const uint64_t base = desde - std::min<uint64_t>(desde, kSolape);
        const auto ini = static_cast<size_t>(desde - base);
        const auto fin = static_cast<size_t>(std::min<uint64_t>(kTrozo, total - desde)) + ini;
        texto.resize(static_cast<size_t>(std::min<uint64_t>(fin + kTrailer.size(), total - base)));
        if (!fuente.Leer(base, texto.size(), texto.data())) return;
        const std::string_view vista(texto);
        for (size_t pos = BuscarObj(vista, ini); pos < fin; pos = BuscarObj(vista, pos + 3)) {
            Cabecera c;
            if (CabeceraEn(vista, pos, base, c)) cabecera(c);
        }
        for (size_t pos = vista.find(kTrailer, ini); pos < fin; pos = vista.find(kTrailer, pos + 1)) {
            trailer(base + pos + kTrailer.size());
        }
    }
}

uint64_t UltimoFin(const Fuente& fuente) {
    const uint64_t total = fuente.Longitud();
    std::string texto(static_cast<size_t>(std::min<uint64_t>(total, kTrozo)), '\0');
    if (!fuente.Leer(total - texto.size(), texto.size(), texto.data())) return total;
    const size_t pos = texto.rfind("%%EOF");
    return pos == std::string::npos ? total : total - texto.size() + pos;
}

}  // namespace LxPdf
