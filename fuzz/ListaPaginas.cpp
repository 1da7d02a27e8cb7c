// Any bytes as a page list and as a signer's name: indices ascend within the document, texts stay balanced.
#include <cstdint>
#include <cstdlib>

#include "pdf/LxSintaxis.h"
#include "signer/LxListaPaginas.h"
#include "signer/PdfSello.h"

using namespace LxPdf;
using namespace LxPdfSigner::Interno;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string texto(reinterpret_cast<const char*>(data + 1), size - 1);
    const size_t paginas = data[0];
    const std::vector<size_t> indices = ParsarLista(texto, paginas);
    for (size_t i = 0; i < indices.size(); ++i) {
        if (indices[i] >= paginas || (i > 0 && indices[i] <= indices[i - 1])) abort();
    }
    const LxPdfSigner::ListaRevisada revisada = LxPdfSigner::RevisarLista(texto, paginas);
    if (paginas > 0 && revisada.cuantas != 0 && revisada.cuantas != indices.size()) abort();
    const std::string nombre = TextoPdf(texto);
    if (FinLiteral(nombre, 0) != nombre.size()) abort();
    const Sello sello = ConstruirSello(texto, texto);
    if (sello.ancho < 160 || sello.ancho > 420 || WinAnsi(texto).size() > texto.size()) abort();
    return 0;
}
