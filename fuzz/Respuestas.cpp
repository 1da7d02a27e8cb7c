// Any bytes as the long answers of a page program, the first one says which. What is made of them can be counted with.
#include <cstddef>
#include <cstdint>

#include "ui/platform/pdf/Answers.h"

using namespace Lx::Pdf;

namespace {

void Exigir(bool bien) {
    if (!bien) __builtin_trap();
}

void Mirar(const Target& t, int32_t hojas) {
    Exigir(t.page >= 0 && t.page < hojas && t.top <= 1e6F && CleanText(t.address) == t.address);
}

void MirarTextos(const uint8_t* data, size_t size) {
    const std::string nombre = CleanName({reinterpret_cast<const char*>(data), size});
    Exigir(!nombre.empty() && nombre.size() <= 200 && nombre[0] != '.' && nombre.find('/') == nombre.npos);
    Exigir(CleanName(nombre) == nombre);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr int32_t kHojas = 5;
    if (size == 0) return 0;
    const uint8_t cual = *data++ % 6;
    --size;
    int32_t hechas = 0, hondo = 0;
    if (cual == 0) MirarTextos(data, size);
    if (cual == 1)
        for (const Glyph& g : ReadText(data, size).glyphs) Exigir(g.code <= 0x10FFFF && g.box.left <= g.box.right);
    if (cual == 2)
        for (const Link& l : ReadLinks(data, size, kHojas)) Mirar(l.target, kHojas);
    if (cual == 3)
        for (const OutlineItem& i : ReadOutline(data, size, kHojas)) {
            Mirar(i.target, kHojas);
            Exigir(i.depth >= 0 && i.depth <= hondo);
            hondo = i.depth + 1;
        }
    if (cual == 4)
        for (const Attachment& a : ReadAttachments(data, size)) Exigir(a.bytes >= -1 && !a.name.empty());
    if (cual == 5)
        for (const Hit& h : ReadHits(data, size, 1, 3, hechas))
            Exigir(h.page >= 1 && h.page < 1 + hechas && h.first >= 0 && h.count > 0 && hechas <= 3);
    for (const PageSize& s : ReadSizes(data, size)) Exigir(s.width > 0 && s.height > 0 && s.width <= 1e6F);
    return 0;
}
