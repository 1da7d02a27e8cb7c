// The command line: the orders, their options and the help, all from the same tables.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Cli {

struct Argumentos {
    std::vector<std::string> pkcs12;
    std::optional<std::string> claveDesde;
    std::optional<std::string> lector;
    std::optional<std::string> pinDesde;
    std::optional<std::string> claveAlmacenDesde;
    std::optional<std::string> certificado;
    std::vector<std::string> aunque;
    std::optional<std::string> sello;
    std::optional<std::string> nombre;
    std::optional<std::string> ubicacion;
    std::optional<std::string> razon;
    std::optional<std::string> texto;
    std::optional<std::string> salida;
    std::optional<std::string> directorio;
    std::optional<std::string> clave;  // these exist only to be refused
    std::optional<std::string> pin;
    std::optional<std::string> claveAlmacen;
    bool forzar = false;
    bool json = false;
    bool detalle = false;
    bool ayuda = false;
    bool version = false;
    std::vector<std::string> documentos;
    std::string error;  // the first thing that was wrong; everything else is read all the same
};

struct Orden {
    const char* nombre;
    const char* resumen;  // one line
    const char* uso;      // what follows the order's name
    unsigned mascara;     // which options it takes
    bool conDocumentos;   // arguments that are not options are documents
    int (*ejecutar)(const Argumentos&);
    std::string (*jsonDeFallo)(const Argumentos&, const std::string&);  // the answer to a wrong use; may be null
};

// Bits of Orden::mascara.
inline constexpr unsigned kFirmar = 1;
inline constexpr unsigned kCertificados = 2;
inline constexpr unsigned kCrear = 4;
inline constexpr unsigned kDiagnosticar = 8;

// Reads what follows the order's name; argv[0] is that name. Options and documents may be mixed, "--" ends the options,
// a long option may be shortened as long as it stays unique.
[[nodiscard]] Argumentos Leer(const Orden& orden, int argc, char** argv);

[[nodiscard]] std::string LineaDeUso(const Orden& orden);
[[nodiscard]] std::string Ayuda(const Orden& orden);

}  // namespace Cli
