// Any bytes as the entries of a cross-reference stream, and as the lines of a table, over objects that are really
// there.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "pdf/LxDocumento.h"

using namespace LxPdf;

namespace {

constexpr std::string_view kObjetos =
    "%PDF-1.7\n1 0 obj\n<< /Type /Catalog /Pages 2 0 R /AcroForm 4 0 R >>\nendobj\n"
    "2 0 obj\n<< /Type /Pages /Kids [3 0 R 6 0 R] /Count 1 >>\nendobj\n"
    "3 0 obj\n<< /Type /Page /Parent 2 0 R >>\nendobj\n4 0 obj\n<< /Fields [] >>\nendobj\n"
    "5 0 obj\n<< /Type /ObjStm /N 2 /First 8 /Length 40 >>\nstream\n3 0 6 20 <</Type /Page     >> <</Type/Page>>\n"
    "endstream\nendobj\n";

void Leer(const std::string& datos) {
    Fallo fallo;
    const auto doc = Documento::Abrir(AbrirMemoria(datos), fallo);
    if ((doc == nullptr) != (fallo.defecto != Defecto::Ninguno)) abort();
    // The document is what stands in it: two pages at most, never more than its objects.
    if (doc && (doc->Paginas().empty() || doc->Sitios().size() > datos.size())) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4 || size > 4096) return 0;
    const std::string resto(reinterpret_cast<const char*>(data + 4), size - 4);
    const std::string objetos(kObjetos);
    const std::string fin = "\nstartxref\n" + std::to_string(objetos.size()) + "\n%%EOF\n";
    const auto cifra = [](uint8_t b) { return std::to_string(b % 10); };
    Leer(objetos + "7 0 obj\n<< /Type /XRef /Root 1 0 R /Size 8 /W [" + cifra(data[0]) + " " + cifra(data[1]) + " " +
         cifra(data[2]) + "] /Index [" + std::to_string(data[3] % 4) + " 8] /Length " + std::to_string(resto.size()) +
         " >>\nstream\n" + resto + "\nendstream\nendobj" + fin);
    Leer(objetos + "xref\n" + resto + "\ntrailer\n<< /Root 1 0 R /Size 8 >>" + fin);
    return 0;
}
