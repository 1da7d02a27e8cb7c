// What a Documento says of a document is what qpdf says: where each object stands, its value, the pages. Each of its
// revisions ends where it was written, and what was there then is a document that reads alike.
#include "pdf/LxDocumento.h"

#include <gtest/gtest.h>

#include <sstream>

#include "signer/LxPdfSigner.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdf {
namespace {

// "tabla:120 flujo:340": the kind and the end of each revision. Each begins where its section stands.
std::string RevisionesDe(const std::string& ruta) {
    Fallo fallo;
    const std::unique_ptr<Documento> doc = Documento::Abrir(AbrirFichero(ruta), fallo);
    if (!doc) return "defecto " + std::to_string(static_cast<int>(fallo.defecto));
    const std::string pdf = Apoyo::LeerFichero(ruta);
    std::string texto, valor;
    // A reference with another generation is null.
    const Ref pagina = doc->Paginas().front(), otra{pagina.num, static_cast<uint16_t>(pagina.gen + 1)};
    EXPECT_TRUE(doc->ValorDe(pagina, valor) && !doc->EsNulo(pagina));
    EXPECT_TRUE(!doc->ValorDe(otra, valor) && doc->EsNulo(otra));
    for (const Revision& r : doc->Revisiones()) {
        constexpr const char* kClases[] = {"tabla", "hibrida", "flujo"};
        const bool flujo = r.clase == Seccion::Flujo;
        EXPECT_EQ(pdf.substr(r.inicio + (flujo ? pdf.substr(r.inicio).find(' ') : 0), flujo ? 6 : 4),
                  flujo ? " 0 obj" : "xref");
        texto +=
            (texto.empty() ? "" : " ") + std::string(kClases[static_cast<int>(r.clase)]) + ":" + std::to_string(r.fin);
    }
    return texto;
}

// The document, and what was left of it at the end of each revision.
void Comprobar(const std::string& ruta, const std::string& revisiones) {
    EXPECT_EQ(RevisionesDe(ruta), revisiones);
    const std::string pdf = Apoyo::LeerFichero(ruta);
    std::vector<std::string> orden = {"/usr/bin/python3", "-B", COMPARAR, AYUDANTE, ruta};
    for (size_t i = 0; (i = revisiones.find(' ', i)) != std::string::npos; ++i) {
        const std::string antes = revisiones.substr(0, i), fin = antes.substr(antes.rfind(':') + 1);
        orden.push_back(ruta + fin);
        Apoyo::EscribirFichero(orden.back(), pdf.substr(0, std::stoul(fin)));
        EXPECT_EQ(RevisionesDe(orden.back()), antes);
        Apoyo::Exigir({"qpdf", "--check", orden.back()});
    }
    const Apoyo::Salida s = Apoyo::Ejecutar(orden);
    EXPECT_EQ(s.codigo, 0);
    EXPECT_EQ(Apoyo::Cuenta(s.texto, "\tigual\t"), orden.size() - 4) << s.texto << s.errores;
}

TEST(Documento, LeeLoMismoQueQpdfEnCadaRevision) {
    const Apoyo::CarpetaTemporal carpeta;
    const Apoyo::Identidad& id = Apoyo::IdentidadComun();
    std::istringstream filas(Apoyo::Exigir({"/usr/bin/python3", "-B", MAPAS, carpeta.Ruta()}));
    size_t cuantas = 0;
    for (std::string nombre, revisiones; std::getline(filas, nombre, '\t') && std::getline(filas, revisiones);) {
        SCOPED_TRACE(nombre);
        const std::string ruta = carpeta / (nombre + ".pdf");
        const bool roto = nombre.starts_with("roto");
        if (!roto) Comprobar(ruta, revisiones);
        ++cuantas;
        const bool firmar = roto || nombre == "generaciones" || nombre == "hibrida" || nombre.ends_with("cambiado") ||
                            nombre == "desplazado-tabla";
        if (!firmar) continue;
        // Signed twice on top of its own changes. What was rebuilt begins anew with the first signature.
        const bool flujo = revisiones.find("flujo:", revisiones.rfind(' ') + 1) != std::string::npos;
        if (roto) revisiones.clear();
        std::string antes = ruta;
        for (const int modo : {3, 0}) {
            const std::string salida = antes + std::to_string(modo);
            const auto r = LxPdfSigner::Firmar(antes, salida, id.certificado, id.firmar, {}, {modo, "", true});
            ASSERT_TRUE(r.firmado) << r.error;
            revisiones += (revisiones.empty() ? "" : " ") + std::string(flujo ? "flujo:" : "tabla:");
            revisiones += std::to_string(r.bytes);
            const std::string cola = Apoyo::LeerFichero(salida).substr(Apoyo::LeerFichero(antes).size());
            EXPECT_EQ(Apoyo::Cuenta(cola, "/Prev "), roto && antes == ruta ? 0U : 1U);
            antes = salida;
        }
        Comprobar(antes, revisiones);
        EXPECT_TRUE(Apoyo::PdfValido(antes, id, 2));
        const size_t paginas = std::strtoul(Apoyo::Exigir({"qpdf", "--show-npages", antes}).c_str(), nullptr, 10);
        EXPECT_EQ(Apoyo::Cuenta(Apoyo::Exigir({"pdftotext", antes, "-"}), "Firmado digitalmente por:"), paginas);
    }
    EXPECT_GT(cuantas, 20U);
}

}  // namespace
}  // namespace LxPdf
