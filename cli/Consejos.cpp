#include "cli/Consejos.h"

#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

namespace Cli {

namespace {

constexpr const char* kComprimido =
    "parte del documento está en flujos de objetos comprimidos. Puedes guardarlo sin ellos con \"qpdf "
    "--object-streams=disable original.pdf nuevo.pdf\" y firmar el nuevo; las firmas que ya tuviera se pierden.";
constexpr const char* kCifrado =
    "pide una copia sin protección o, si conoces la contraseña, guárdala con \"qpdf --decrypt --password-file=CLAVE "
    "original.pdf nuevo.pdf\" (CLAVE es un fichero con la contraseña) y firma la nueva; las firmas que ya tuviera se "
    "pierden.";
constexpr const char* kEntrada = "comprueba que el fichero existe y que tienes permiso para leerlo.";
constexpr const char* kCarpeta = "comprueba que la carpeta existe y que puedes escribir en ella, o elige otra.";
constexpr const char* kDisco =
    "comprueba que quede espacio en el disco o elige otra carpeta; no se dejó ningún fichero a medias.";

// A refusal for want of an object has this cause only where the document does compress objects.
constexpr struct {
    const char* fragmento;
    bool siComprime;
    const char* consejo;
} kConsejos[] = {
    {"el PDF esta cifrado", false, kCifrado},
    {"en un ObjStm", false, kComprimido},
    {"el catalogo del PDF no es un diccionario legible", true, kComprimido},
    {"no se localizo ninguna pagina", true, kComprimido},
    {"la pagina de referencia del PDF no es un diccionario legible", true, kComprimido},
    {"firmar perderia datos", true, kComprimido},
    {"no se pudo leer ", false, kEntrada},
    {" para escritura.", false, kCarpeta},
    {"escritura incompleta de ", false, kDisco},
};

// A stream of objects says so in its dictionary, which is never compressed itself (ISO 32000-1, 7.5.7).
[[nodiscard]] bool ComprimeObjetos(const std::string& ruta) {
    constexpr std::string_view kTipo = "/ObjStm";
    constexpr size_t kTrozo = 1 << 16;
    const std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(ruta.c_str(), "rb"), std::fclose);
    if (!f) return false;
    std::vector<char> tampon(kTrozo + kTipo.size());
    size_t guardados = 0;
    while (const size_t n = std::fread(tampon.data() + guardados, 1, kTrozo, f.get())) {
        const std::string_view vista(tampon.data(), guardados + n);
        if (vista.find(kTipo) != vista.npos) return true;
        const size_t cola = std::min(vista.size(), kTipo.size() - 1);
        vista.substr(vista.size() - cola).copy(tampon.data(), cola);
        guardados = cola;
    }
    return false;
}

}  // namespace

std::string ConsejoPara(const std::string& error, const std::string& entrada) {
    for (const auto& c : kConsejos)
        if (error.find(c.fragmento) != error.npos && (!c.siComprime || ComprimeObjetos(entrada))) return c.consejo;
    return {};
}

}  // namespace Cli
