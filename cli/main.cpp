#include <signal.h>

#include <new>
#include <string_view>

#include "cli/Argumentos.h"
#include "cli/Ordenes.h"
#include "cli/TextoTerminal.h"
#include "crypto/LxSecreto.h"

namespace {

using Cli::Argumentos;
using Cli::Orden;

constexpr Orden kOrdenes[] = {
    {"firmar", "Firma documentos PDF y deja cada copia firmada junto al original, que no cambia.", "[OPCIÓN]... PDF...",
     Cli::kFirmar, true, Cli::OrdenFirmar, Cli::JsonDeFalloFirmar},
    {"certificados", "Muestra los certificados con los que se puede firmar.", "[--pkcs12=FICHERO]... [OPCIÓN]...",
     Cli::kCertificados, false, Cli::OrdenCertificados, Cli::JsonDeFalloCertificados},
    {"crear", "Crea un PDF firmado de una página con una línea de texto.", "--texto=TEXTO --salida=FICHERO [OPCIÓN]...",
     Cli::kCrear, false, Cli::OrdenCrear, nullptr},
    {"diagnosticar", "Dice si se puede firmar con el DNIe y, si no, qué hacer. No usa el PIN.",
     "[--lector=NOMBRE] [OPCIÓN]...", Cli::kDiagnosticar, false, Cli::OrdenDiagnosticar, Cli::JsonDeFalloDiagnosticar},
};

constexpr const char* kEstados =
    "\nEl estado de salida es 0 si todo se firmó, 1 si algo no, 2 si se usó mal y 3 si no hay\n"
    "certificado utilizable, la contraseña no es correcta o falta el PIN.\n";
constexpr const char* kEstadosDiagnostico =
    "\nEl estado de salida es 0 si se podría firmar con la tarjeta, 1 si no y 2 si se usó mal.\n";
constexpr const char* kVersion = "velmora-cli (Velmora) " VELMORA_VERSION "\n";

int Escribir(std::string_view texto) {
    return Cli::EscribirSalida(texto) ? Cli::kBien : Cli::kAlgoFallo;
}

std::string AyudaGeneral() {
    std::string texto =
        "Uso: velmora-cli ORDEN [OPCIÓN]...\nFirma documentos PDF con certificado digital (PAdES).\n\nÓrdenes:\n";
    for (const Orden& o : kOrdenes) texto += "  " + Cli::Rellenar(o.nombre, 14) + o.resumen + "\n";
    texto += "\n  -h, --help      mostrar esta ayuda; la de una orden: velmora-cli ORDEN --help\n";
    return texto + "  -V, --version   mostrar la versión\n" + kEstados;
}

int MalUso(const std::string& frase) {
    Cli::DecirError(frase);
    Cli::Decir("Uso: velmora-cli ORDEN [OPCIÓN]...");
    Cli::Decir("Las órdenes son firmar, certificados, crear y diagnosticar; prueba \"velmora-cli --help\".");
    return Cli::kMalUso;
}

int MalUsoDe(const Orden& orden, const Argumentos& a) {
    Cli::DecirError(a.error);
    Cli::Decir(Cli::LineaDeUso(orden));
    Cli::Decir(std::string("Prueba \"velmora-cli ") + orden.nombre + " --help\".");
    if (a.json && orden.jsonDeFallo != nullptr) static_cast<void>(Cli::EscribirSalida(orden.jsonDeFallo(a, a.error)));
    return Cli::kMalUso;
}

int Ejecutar(const Orden& orden, int argc, char** argv) {
    const Argumentos a = Cli::Leer(orden, argc, argv);
    if (a.ayuda) {
        const bool diagnostico = orden.mascara == Cli::kDiagnosticar;
        return Escribir(Cli::Ayuda(orden) + (diagnostico ? kEstadosDiagnostico : kEstados));
    }
    if (a.version) return Escribir(kVersion);
    return a.error.empty() ? orden.ejecutar(a) : MalUsoDe(orden, a);
}

int Despachar(int argc, char** argv) {
    if (argc < 2) return MalUso("falta la orden.");
    const std::string_view primero = argv[1];
    if (primero == "--help" || primero == "-h") return Escribir(AyudaGeneral());
    if (primero == "--version" || primero == "-V") return Escribir(kVersion);
    for (const Orden& o : kOrdenes)
        if (primero == o.nombre) return Ejecutar(o, argc - 1, argv + 1);
    const char* que = primero.substr(0, 1) == "-" ? "antes de la orden no puede ir " : "no existe la orden ";
    return MalUso(que + ("\"" + std::string(primero) + "\"."));
}

}  // namespace

int main(int argc, char** argv) {
    Lx::PrepararProceso();
    const Lx::NoVolcable cerrado;
    signal(SIGPIPE, SIG_IGN);  // a reader that left shows as a failed write
    try {
        return Despachar(argc, argv);
    } catch (const std::bad_alloc&) {
        Cli::DecirError("no hay memoria suficiente.");
        return Cli::kAlgoFallo;
    }
}
