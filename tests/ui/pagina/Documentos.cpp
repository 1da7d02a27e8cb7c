#include "tests/ui/pagina/Documentos.h"

#include <cstdio>

namespace Hojas {

std::string Documento(const std::vector<std::string>& objetos) {
    std::string pdf = "%PDF-1.7\n", tabla = "xref\n0 " + std::to_string(objetos.size() + 1) + "\n";
    tabla += "0000000000 65535 f \n";
    for (size_t i = 0; i < objetos.size(); ++i) {
        char fila[32];
        std::snprintf(fila, sizeof fila, "%010zu 00000 n \n", pdf.size());
        tabla += fila;
        pdf += std::to_string(i + 1) + " 0 obj\n" + objetos[i] + "\nendobj\n";
    }
    const std::string lugar = std::to_string(pdf.size());
    return pdf + tabla + "trailer << /Size " + std::to_string(objetos.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
           lugar + "\n%%EOF\n";
}

std::string Flujo(const std::string& contenido, const std::string& entradas) {
    return "<< /Length " + std::to_string(contenido.size()) + " " + entradas + " >>\nstream\n" + contenido +
           "\nendstream";
}

std::string ConHojas(const std::vector<Hoja>& hojas, const std::vector<std::string>& otros,
                     const std::string& catalogo) {
    std::vector<std::string> objetos{"<< /Type /Catalog /Pages 2 0 R " + catalogo + " >>", ""};
    std::string hijas;
    for (const Hoja& hoja : hojas) {
        const std::string contenido = std::to_string(objetos.size() + 2);
        hijas += std::to_string(objetos.size() + 1) + " 0 R ";
        objetos.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [" + hoja.caja + "] /Contents " + contenido +
                          " 0 R " + hoja.entradas + " >>");
        objetos.push_back(Flujo(hoja.contenido));
    }
    objetos[1] = "<< /Type /Pages /Count " + std::to_string(hojas.size()) + " /Kids [" + hijas + "] >>";
    objetos.insert(objetos.end(), otros.begin(), otros.end());
    return Documento(objetos);
}

std::string LentaYRoja() {
    constexpr int kPrimera = 7;
    constexpr int kNiveles = 12;
    std::vector<std::string> formas;
    for (int i = 0; i < kNiveles; ++i) {
        const std::string entradas = "/Type /XObject /Subtype /Form /BBox [0 0 200 100] ";
        const std::string otra = "/Resources << /XObject << /F " + std::to_string(kPrimera + i + 1) + " 0 R >> >>";
        std::string diez;
        for (int k = 0; k < 10; ++k) diez += "/F Do ";
        formas.push_back(i + 1 < kNiveles ? Flujo(diez, entradas + otra) : Flujo("0 0 200 100 re f", entradas));
    }
    const std::string recursos = "/Resources << /XObject << /F 7 0 R >> >>";
    return ConHojas({{"0 0 200 100", recursos, "/F Do"}, {"0 0 200 100", "", "1 0 0 rg 0 0 200 100 re f"}}, formas);
}

}  // namespace Hojas
