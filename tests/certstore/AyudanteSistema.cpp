// ayudante_sistema [--softokn FOLDER] [--p12 FILE] [--antes COMMAND] [--cancelado 1] listar | firmar NAME INPUT OUTPUT
// Prints what the store says, the reason of its failure and each certificate, or the questions for passwords and how
// signing ended. The first line of standard input is the PKCS#12 password and the card's PIN, each later one answers a
// question; a question without a line is refused, and before one that is answered "cancelar" the job is cancelled.
#include <dlfcn.h>
#include <p11-kit/pkcs11.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"
#include "signer/LxPdfSigner.h"

using namespace Lx::CertStore;

// The configuration of the test's own stands in the home folder, and p11-kit reads nothing there for root, which tests
// may run as. It finds this function before the C library's.
extern "C" uid_t getuid() {
    return 1000;
}

namespace {

// Another user of softokn in this process, who has it going with a database of its own.
class OtroUsuario {
  public:
    explicit OtroUsuario(const std::string& carpeta) {
        void* b = dlopen("libsoftokn3.so", RTLD_NOW);
        const auto dar = reinterpret_cast<CK_C_GetFunctionList>(b == nullptr ? nullptr : dlsym(b, "C_GetFunctionList"));
        std::string parametros = "configdir='sql:" + carpeta + "' flags=readOnly";
        struct {
            void* cerrojos[4] = {};
            CK_FLAGS indicadores = CKF_OS_LOCKING_OK;
            char* parametros;
            void* reservado = nullptr;
        } inicio;
        inicio.parametros = parametros.data();
        if (dar == nullptr || dar(&f_) != CKR_OK || f_->C_Initialize(&inicio) != CKR_OK) f_ = nullptr;
        if (f_ != nullptr) f_->C_OpenSession(2, CKF_SERIAL_SESSION, nullptr, nullptr, &sesion_);
    }
    [[nodiscard]] const char* Estado() const {
        CK_SESSION_INFO sesion = {};
        CK_SLOT_INFO ranura = {};
        if (f_ == nullptr || f_->C_GetSessionInfo(sesion_, &sesion) != CKR_OK) return "otro: roto";
        for (CK_SLOT_ID i = 4; i <= 100; ++i)
            if (f_->C_GetSlotInfo(i, &ranura) == CKR_OK && (ranura.flags & CKF_TOKEN_PRESENT) != 0)
                return "otro: con una ranura de mas";
        return "otro: sigue";
    }

  private:
    CK_FUNCTION_LIST* f_ = nullptr;
    CK_SESSION_HANDLE sesion_ = 0;
};

bool Contestar(Lx::Control& control, const std::string& almacen, int intento, bool ultimo, std::string& clave) {
    const Lx::Control::Estado estado = control.Ver();
    const bool espera = estado.etapa == Lx::Etapa::Persona && !estado.comprometido;
    std::cout << "pregunta " << almacen << " " << intento << (ultimo ? " ultimo" : "") << (espera ? "\n" : " mal\n");
    if (!std::getline(std::cin, clave)) return false;
    return clave != "cancelar" || (control.Cancelar() && std::getline(std::cin, clave));
}

std::string Firmar(const Contexto& ctx, const std::vector<Entrada>& lista, const std::vector<std::string>& args) {
    for (const Entrada& e : lista) {
        if (e.cert.subjectCN != args[1]) continue;
        Lx::Control control;
        FirmaHecha hecha;
        const auto firmar = [&](const std::vector<unsigned char>& datos, std::string&) {
            hecha = FirmarCon(
                e, ctx, datos, [&control](auto&&... que) { return Contestar(control, que...); }, control);
            return hecha.firma;
        };
        const LxPdfSigner::Resultado r = LxPdfSigner::Firmar(args[2], args[3], e.cert, firmar, {}, {});
        const bool comprometido = control.Ver().comprometido;
        if (r.firmado) return comprometido ? "firmado" : "firmado sin comprometerse";
        const bool ajena = hecha.fallo.motivo == Lx::Motivo::ClaveAjena;  // its key did sign
        return std::string(NombreDe(hecha.fallo.motivo)) + ": " + hecha.fallo.frase +
               (comprometido == ajena ? "" : " comprometido");
    }
    return "no esta en la lista";
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    std::map<std::string, std::string> opciones;
    for (; args.size() > 2 && args[0].starts_with("--"); args.erase(args.begin(), args.begin() + 2))
        opciones[args[0]] = args[1];
    const bool conOtro = opciones.count("--softokn") != 0;
    const OtroUsuario otro(opciones["--softokn"]);
    Contexto ctx;
    ctx.rutaPkcs12 = opciones["--p12"];
    std::getline(std::cin, ctx.clavePkcs12);
    ctx.pin = ctx.clavePkcs12;
    Lx::Control control;
    if (!opciones["--cancelado"].empty()) control.Cancelar();
    const Listado l = ListarFuentes(ctx, control);
    if (args.at(0) == "listar") {
        const FuenteListada& almacen = *l.De(Origen::Sistema);
        std::cout << almacen.texto.substr(almacen.texto.find(": ") + 2) << "\n" << NombreDe(almacen.fallo.motivo);
        for (const Entrada& e : l.entradas) std::cout << e.etiqueta << (e.conClave ? " con clave\n" : "\n");
    }
    if (!opciones["--antes"].empty() && std::system(opciones["--antes"].c_str()) != 0) return EXIT_FAILURE;
    if (args.at(0) == "firmar") std::cout << Firmar(ctx, l.entradas, args) << "\n";
    if (conOtro) std::cout << otro.Estado() << "\n";
    return EXIT_SUCCESS;
}
