#include "app/LineaDeOrdenes.h"

#include <string_view>

namespace Orvanta {

namespace {

using Accion = LineaDeOrdenes::Accion;

constexpr struct {
    std::string_view larga, corta;
    Accion accion;
    const char* ayuda;
} kOpciones[] = {
    {"--diagnostico", "", Accion::Diagnostico, "decir si se puede firmar con el DNIe y, si no, qué hacer"},
    {"--help", "-h", Accion::Ayuda, "mostrar esta ayuda"},
    {"--version", "-V", Accion::Version, "mostrar la versión"},
};
constexpr size_t kColumna = 21;
constexpr size_t kMaxDocumentos = 20;  // each is a window with a helper of its own

}  // namespace

LineaDeOrdenes LeerLinea(const std::vector<std::string>& palabras) {
    LineaDeOrdenes linea;
    bool opciones = true;
    for (const std::string& palabra : palabras) {
        if (opciones && palabra == "--") {
            opciones = false;
            continue;
        }
        if (!opciones || !palabra.starts_with('-') || palabra == "-") {
            linea.documentos.push_back(palabra);
            continue;
        }
        Accion accion = Accion::Error;
        for (const auto& opcion : kOpciones)
            if (palabra == opcion.larga || palabra == opcion.corta) accion = opcion.accion;
        if (accion == Accion::Error) return {accion, {}, "No se conoce la opción \"" + palabra + "\"."};
        // The first one counts.
        if (linea.accion == Accion::Abrir) linea.accion = accion;
    }
    if (linea.documentos.size() > kMaxDocumentos)
        return {Accion::Error, {}, "Son demasiados documentos: abre veinte a la vez como mucho."};
    return linea;
}

std::string TextoDeAyuda() {
    std::string texto =
        "Uso: velmora [--] [DOCUMENTO.pdf...]\n\n"
        "Muestra documentos PDF, cada uno en su ventana, y los firma con un certificado digital.\n\n";
    for (const auto& opcion : kOpciones) {
        std::string nombre = "  " + (opcion.corta.empty() ? std::string("    ") : std::string(opcion.corta) + ", ") +
                             std::string(opcion.larga);
        nombre.resize(kColumna, ' ');
        texto += nombre + "  " + opcion.ayuda + "\n";
    }
    return texto + "\nPara firmar sin ventanas: velmora-cli --help\n";
}

}  // namespace Orvanta
