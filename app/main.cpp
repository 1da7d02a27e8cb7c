#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "app/MainWindow.h"
#include "app/Terminacion.h"
#include "crypto/LxSecreto.h"
#include "firma/LxDiagnosticar.h"
#include "ui/LxApp.h"

namespace {

constexpr int kPorSenal = 128;

// Whether the card could sign here, for who asks for help. Needs no display.
int Diagnosticar() {
    Lx::Firma::Diagnosticar examen("");
    examen.Hacer();
    std::fputs(Lx::Firma::Informe(examen.Respuesta(), false).c_str(), stdout);
    return examen.Respuesta().tarjeta.puedeFirmar ? 0 : 1;
}

int Ejecutar(int argc, char** argv) {
    Lx::LxApp app(argc, argv);
    app.name = "velmora";
    auto* ventana = new CMainWindow;
    if (argc >= 2) ventana->PonerDocumentoInicial(argv[1]);
    app.mainWindow = ventana;
    int senal = 0;
    const CTerminacion terminacion([&senal, ventana, correo = ventana->Buzon()](int numero) {
        correo->Enviar([&senal, ventana, numero] {
            senal = numero;
            // A dialog of the desktop's, which can't be ended from here, is on the screen.
            ventana->Terminar([numero] { std::_Exit(kPorSenal + numero); });
        });
    });
    const int codigo = app.Run();
    return senal == 0 ? codigo : kPorSenal + senal;
}

}  // namespace

int main(int argc, char** argv) {
    Lx::PrepararProceso();
    if (argc == 2 && std::string_view(argv[1]) == "--diagnostico") return Diagnosticar();
    const int codigo = Ejecutar(argc, argv);
    // A thread that was left behind, with a device that doesn't answer, doesn't hold up the end.
    if (CTarea::Hilos() > 0) std::_Exit(codigo);
    return codigo;
}
