// ayudante_pdf FILE: what a Documento says of a document, a line for each fact: whether it was rebuilt, its pages,
// trailer and objects. Texts are in hexadecimal.
#include <cstdio>

#include "crypto/LxApi.h"
#include "pdf/LxDocumento.h"

namespace {

std::string Hex(std::string_view texto) {
    return Lx::Api::BinToHex(reinterpret_cast<const unsigned char*>(texto.data()), texto.size());
}

void Contar(const LxPdf::Documento& doc) {
    if (doc.Rarezas().reconstruido) puts("reconstruido");
    for (const LxPdf::Ref pagina : doc.Paginas()) printf("pagina %u %u\n", pagina.num, pagina.gen);
    printf("trailer %s\n", Hex(doc.Trailer()).c_str());
    for (const LxPdf::Documento::Sitio& s : doc.Sitios()) {
        std::string valor;
        const bool leido = doc.ValorDe(s.ref, valor);
        printf("objeto %u %u %u %llu %s\n", s.ref.num, s.ref.gen, s.contenedor, static_cast<unsigned long long>(s.pos),
               leido ? Hex(valor).c_str() : "ilegible");
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::unique_ptr<LxPdf::Fuente> fuente = argc == 2 ? LxPdf::AbrirFichero(argv[1]) : nullptr;
    if (!fuente) return 2;
    LxPdf::Fallo fallo;
    const std::unique_ptr<LxPdf::Documento> doc = LxPdf::Documento::Abrir(std::move(fuente), fallo);
    if (!doc) {
        printf("rechazado %d %u %s\n", static_cast<int>(fallo.defecto), fallo.numero, fallo.nombre.c_str());
        return 1;
    }
    Contar(*doc);
    return 0;
}
