#include "app/MainWindow.h"
#include "crypto/LxSecreto.h"
#include "ui/LxApp.h"

int main(int argc, char** argv) {
    Lx::PrepararProceso();
    Lx::LxApp app(argc, argv);
    app.name = "velmora";
    auto* ventana = new CMainWindow;
    if (argc >= 2) ventana->PonerDocumentoInicial(argv[1]);
    app.mainWindow = ventana;
    return app.Run();
}
