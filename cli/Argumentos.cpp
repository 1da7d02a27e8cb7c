#include "cli/Argumentos.h"

#include <getopt.h>

#include <iterator>
#include <string_view>

#include "cli/TextoTerminal.h"
#include "firma/LxAptitud.h"

namespace Cli {

namespace {

struct Opcion {
    const char* nombre;
    char corta;         // 0: none
    const char* valor;  // its name in the help; null: takes none
    unsigned ordenes;
    std::optional<std::string> Argumentos::*texto;  // where the value goes: one of these three
    std::vector<std::string> Argumentos::*lista;
    bool Argumentos::*marca;
    const char* ayuda;  // null: not shown. A line feed starts a new line of the help.
};

constexpr unsigned kConIdentidad = kFirmar | kCertificados | kCrear;
constexpr unsigned kTodas = kConIdentidad | kDiagnosticar;
using A = Argumentos;

constexpr Opcion kOpciones[] = {
    {"pkcs12", 0, "FICHERO", kConIdentidad, nullptr, &A::pkcs12, nullptr, "identidad PKCS#12 (.p12, .pfx)"},
    {"clave-desde", 0, "FICHERO", kConIdentidad, &A::claveDesde, nullptr, nullptr,
     "la contraseña es la primera línea de FICHERO, o de la\nentrada estándar si es -; sin esta opción se pide en\n"
     "el terminal, sin mostrarla"},
    {"lector", 0, "NOMBRE", kTodas, &A::lector, nullptr, nullptr,
     "el lector de tarjetas donde está el DNIe; por defecto\nse elige uno"},
    {"pin-desde", 0, "FICHERO", kConIdentidad, &A::pinDesde, nullptr, nullptr,
     "el PIN del DNIe, como --clave-desde; solo se usa para\nfirmar con él, y se envía una vez como mucho si no es\n"
     "correcto"},
    {"clave-almacen-desde", 0, "FICHERO", kConIdentidad, &A::claveAlmacenDesde, nullptr, nullptr,
     "la contraseña del almacén del sistema que tenga la\nclave, como --clave-desde; solo se usa para firmar"},
    {"certificado", 0, "CUAL", kFirmar | kCrear, &A::certificado, nullptr, nullptr,
     "el certificado: su número en la lista, su número de\nserie en hexadecimal o una parte de su nombre que solo\n"
     "él tenga; por defecto, el único utilizable (con\n--pkcs12, de ese fichero; con --lector, del DNIe)"},
    {"aunque", 0, "MOTIVO", kFirmar | kCrear, nullptr, &A::aunque, nullptr,
     "firmar con el certificado de --certificado aunque esté\ncaducado, aun_no_valido, sea de una ca o su uso sea "
     "otro\n"
     "(caducado, aun_no_valido, ca, uso); puede repetirse"},
    {"sello", 0, "PAGINAS", kFirmar, &A::sello, nullptr, nullptr,
     "dónde va el sello visible: primera (por defecto),\nultima, todas, invisible o una lista como 1,3,5-8"},
    {"nombre", 0, "TEXTO", kFirmar, &A::nombre, nullptr, nullptr,
     "nombre del firmante (por defecto, el del certificado)"},
    {"ubicacion", 0, "TEXTO", kFirmar, &A::ubicacion, nullptr, nullptr, "lugar de la firma (por defecto, Velmora)"},
    {"razon", 0, "TEXTO", kFirmar, &A::razon, nullptr, nullptr, "motivo de la firma (por defecto, Firma de documento)"},
    {"texto", 0, "TEXTO", kCrear, &A::texto, nullptr, nullptr, "la línea de texto de la página"},
    {"salida", 0, "FICHERO", kFirmar | kCrear, &A::salida, nullptr, nullptr, "fichero firmado que se escribe"},
    {"directorio", 0, "CARPETA", kFirmar, &A::directorio, nullptr, nullptr,
     "carpeta de los ficheros firmados (por defecto, la de\ncada original)"},
    {"forzar", 0, nullptr, kFirmar | kCrear, nullptr, nullptr, &A::forzar,
     "sustituir el fichero de --salida si ya existe"},
    {"json", 0, nullptr, kFirmar | kCertificados | kDiagnosticar, nullptr, nullptr, &A::json,
     "escribir el resultado en la salida estándar como un\nobjeto JSON"},
    {"detalle", 0, nullptr, kDiagnosticar, nullptr, nullptr, &A::detalle,
     "mostrar también los certificados enteros, con los datos\ndel titular, y cada paso de la firma"},
    {"help", 'h', nullptr, kTodas, nullptr, nullptr, &A::ayuda, "mostrar esta ayuda"},
    {"version", 'V', nullptr, kTodas, nullptr, nullptr, &A::version, "mostrar la versión"},
    // An exact name is never taken for the short form of a longer one: "--clave SECRETO" would open a file.
    {"clave", 0, "TEXTO", kConIdentidad, &A::clave, nullptr, nullptr, nullptr},
    {"clave-almacen", 0, "TEXTO", kConIdentidad, &A::claveAlmacen, nullptr, nullptr, nullptr},
    {"pin", 0, "TEXTO", kTodas, &A::pin, nullptr, nullptr, nullptr},
};

constexpr struct {
    std::optional<std::string> Argumentos::*valor;
    unsigned ordenes;
    const char* frase;
} kProhibidas[] = {
    {&A::clave, kTodas,
     "la contraseña no se da en la línea de órdenes, donde otros usuarios la verían: usa --clave-desde FICHERO, "
     "--clave-desde - o escríbela cuando se pida."},
    {&A::claveAlmacen, kTodas,
     "la contraseña no se da en la línea de órdenes, donde otros usuarios la verían: usa --clave-almacen-desde "
     "FICHERO, "
     "--clave-almacen-desde - o escríbela cuando se pida."},
    {&A::pin, kConIdentidad,
     "el PIN no se da en la línea de órdenes, donde otros usuarios lo verían: usa --pin-desde FICHERO, --pin-desde - o "
     "escríbelo cuando se pida."},
    {&A::pin, kDiagnosticar, "el diagnóstico nunca usa el PIN; no se da en la línea de órdenes."},
};
constexpr int kPrimera = 256;  // getopt's value of the first row, past every short option
constexpr size_t kColumnaAyuda = 30;

void Anotar(Argumentos& a, const std::string& frase) {
    if (a.error.empty()) a.error = frase;
}

struct TablaGetopt {
    std::string cortas = ":";
    std::vector<option> largas;
};

[[nodiscard]] TablaGetopt ParaGetopt(const Orden& orden) {
    TablaGetopt t;
    for (size_t i = 0; i < std::size(kOpciones); ++i) {
        const Opcion& o = kOpciones[i];
        if ((o.ordenes & orden.mascara) == 0) continue;
        const int conValor = o.valor == nullptr ? no_argument : required_argument;
        t.largas.push_back({o.nombre, conValor, nullptr, kPrimera + static_cast<int>(i)});
        if (o.corta != 0) t.cortas += o.corta;
    }
    t.largas.push_back({nullptr, 0, nullptr, 0});
    return t;
}

void Aplicar(const Opcion& o, const char* valor, Argumentos& a) {
    const std::string nombre = std::string("--") + o.nombre;
    if (o.marca != nullptr) {
        a.*o.marca = true;
    } else if (o.lista != nullptr) {
        if (*valor == '\0') Anotar(a, nombre + " necesita un valor que no esté vacío.");
        (a.*o.lista).emplace_back(valor);
    } else {
        if (a.*o.texto) Anotar(a, nombre + " se dio más de una vez.");
        a.*o.texto = valor;
    }
}

[[nodiscard]] const Opcion* PorCodigo(int codigo) {
    const auto i = static_cast<size_t>(codigo - kPrimera);
    if (codigo >= kPrimera && i < std::size(kOpciones)) return &kOpciones[i];
    for (const Opcion& o : kOpciones)
        if (o.corta != 0 && codigo == o.corta) return &o;
    return nullptr;
}

// getopt leaves in `optopt` the code of an option it knows, the letter of a short one that it doesn't, else 0.
[[nodiscard]] std::string FraseDeGetopt(int codigo, char** argv) {
    const Opcion* o = optopt >= kPrimera ? PorCodigo(optopt) : nullptr;
    if (o != nullptr && codigo == ':') return std::string("--") + o->nombre + " necesita un valor.";
    if (o != nullptr) return std::string("--") + o->nombre + " no lleva valor.";
    if (optopt != 0) return std::string("la opción -") + static_cast<char>(optopt) + " no existe.";
    const std::string_view dada = argv[optind - 1];
    return "la opción " + std::string(dada.substr(0, dada.find('='))) + " no existe o no está completa.";
}

// --- What getopt can't know

[[nodiscard]] bool EsLista(std::string_view texto) {
    return texto.find_first_not_of("0123456789,- ") == texto.npos && texto.find_first_of("123456789") != texto.npos;
}

void ComprobarAunque(Argumentos& a) {
    for (const std::string& nombre : a.aunque)
        if (Lx::Firma::MotivoDeAunque(nombre) == Lx::Motivo::Ninguno)
            Anotar(a, "--aunque \"" + nombre + "\" no vale: es caducado, aun_no_valido, ca o uso.");
    if (!a.aunque.empty() && !a.certificado) Anotar(a, "--aunque solo vale junto a --certificado.");
}

void ComprobarFirmar(Argumentos& a) {
    const std::string sello = a.sello.value_or("primera");
    if (sello != "primera" && sello != "ultima" && sello != "todas" && sello != "invisible" && !EsLista(sello))
        Anotar(a, "--sello \"" + sello + "\" no vale: es primera, ultima, todas, invisible o una lista como 1,3,5-8.");
    if (a.documentos.empty()) Anotar(a, "falta el documento PDF que se firma.");
    if (a.pkcs12.size() > 1) Anotar(a, "--pkcs12 se dio más de una vez: se firma con una sola identidad.");
    if (a.salida && a.directorio) Anotar(a, "--salida y --directorio no van juntas.");
    if (a.salida && a.documentos.size() > 1)
        Anotar(a, "--salida solo vale con un documento; con varios, usa --directorio CARPETA.");
    if (a.forzar && !a.salida) Anotar(a, "--forzar solo vale junto a --salida.");
}

void ComprobarCrear(Argumentos& a) {
    if (!a.texto) Anotar(a, "falta --texto TEXTO.");
    if (!a.salida) Anotar(a, "falta --salida FICHERO.");
    if (a.pkcs12.size() > 1) Anotar(a, "--pkcs12 se dio más de una vez: se firma con una sola identidad.");
}

void Comprobar(const Orden& orden, Argumentos& a) {
    for (const auto& p : kProhibidas)
        if (a.*p.valor && (orden.mascara & p.ordenes) != 0) a.error = p.frase;
    if (!orden.conDocumentos && !a.documentos.empty()) Anotar(a, "sobra \"" + a.documentos.front() + "\".");
    constexpr struct {
        std::optional<std::string> Argumentos::*valor;
        const char* nombre;
    } kNoVacias[] = {{&A::claveDesde, "--clave-desde"},  {&A::lector, "--lector"},
                     {&A::pinDesde, "--pin-desde"},      {&A::claveAlmacenDesde, "--clave-almacen-desde"},
                     {&A::certificado, "--certificado"}, {&A::salida, "--salida"},
                     {&A::directorio, "--directorio"}};
    for (const auto& o : kNoVacias)
        if (a.*o.valor && (a.*o.valor)->empty())
            Anotar(a, std::string(o.nombre) + " necesita un valor que no esté vacío.");
    ComprobarAunque(a);
    if (orden.mascara == kFirmar) ComprobarFirmar(a);
    if (orden.mascara == kCrear) ComprobarCrear(a);
}

[[nodiscard]] std::string FilaDeAyuda(const Opcion& o) {
    std::string izquierda = o.corta != 0 ? std::string("  -") + o.corta + ", --" : std::string("      --");
    izquierda += o.nombre;
    if (o.valor != nullptr) izquierda += std::string("=") + o.valor;
    // A name as wide as its column has the line to itself.
    std::string fila = Ancho(izquierda) < kColumnaAyuda ? Rellenar(izquierda, kColumnaAyuda)
                                                        : izquierda + "\n" + std::string(kColumnaAyuda, ' ');
    for (const char c : std::string_view(o.ayuda)) {
        fila += c;
        if (c == '\n') fila += std::string(kColumnaAyuda, ' ');
    }
    return fila + "\n";
}

}  // namespace

Argumentos Leer(const Orden& orden, int argc, char** argv) {
    const TablaGetopt t = ParaGetopt(orden);
    Argumentos a;
    opterr = 0;
    optind = 0;
    for (int c = 0; (c = getopt_long(argc, argv, t.cortas.c_str(), t.largas.data(), nullptr)) != -1;) {
        const Opcion* o = c == '?' || c == ':' ? nullptr : PorCodigo(c);
        if (o == nullptr)
            Anotar(a, FraseDeGetopt(c, argv));
        else
            Aplicar(*o, optarg, a);
    }
    a.documentos.assign(argv + optind, argv + argc);
    Comprobar(orden, a);
    return a;
}

std::string LineaDeUso(const Orden& orden) {
    return std::string("Uso: velmora-cli ") + orden.nombre + " " + orden.uso;
}

std::string Ayuda(const Orden& orden) {
    std::string texto = LineaDeUso(orden) + "\n" + orden.resumen + "\n\n";
    for (const Opcion& o : kOpciones)
        if ((o.ordenes & orden.mascara) != 0 && o.ayuda != nullptr) texto += FilaDeAyuda(o);
    return texto;
}

}  // namespace Cli
