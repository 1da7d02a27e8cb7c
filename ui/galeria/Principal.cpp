#include <cstdio>
#include <cstring>
#include <string>

#include "ui/LxApp.h"
#include "ui/galeria/Galeria.h"
#include "ui/galeria/VentanaVisor.h"

namespace {

constexpr const char* kUso =
    "Uso: lx-galeria [--oscuro] [--escritorio] [--registro] [--cerrar] [--visor] [DOCUMENTO.pdf]\n"
    "Muestra los controles en todos sus estados, y la primera página del documento.\n"
    "  --oscuro    con el tema oscuro\n"
    "  --escritorio  con el tema del escritorio\n"
    "  --registro  escribe en la salida lo que sucede\n"
    "  --visor     muestra solo el documento, en el visor\n"
    "  --cerrar    cierra la ventana un segundo después\n";

}  // namespace

int main(int argc, char** argv) {
    std::string documento;
    bool cerrar = false, visor = false, escritorio = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--registro") == 0) {
            Lx::g_anotar = true;
        } else if (std::strcmp(argv[i], "--cerrar") == 0) {
            cerrar = true;
        } else if (std::strcmp(argv[i], "--visor") == 0) {
            visor = true;
        } else if (std::strcmp(argv[i], "--escritorio") == 0) {
            escritorio = true;
        } else if (std::strcmp(argv[i], "--oscuro") == 0) {
            Lx::SetTheme(Lx::ThemeSet::Dark);
        } else if (argv[i][0] == '-') {
            const bool ayuda = std::strcmp(argv[i], "--help") == 0;
            std::fputs(kUso, ayuda ? stdout : stderr);
            return ayuda ? 0 : 2;
        } else {
            documento = argv[i];
        }
    }
    Lx::LxApp app(argc, argv);
    if (visor)
        app.mainWindow = new Lx::CVentanaVisor(documento);
    else
        app.mainWindow = new Lx::CGaleria(documento);
    if (cerrar && app.backend != nullptr) app.backend->CallLater(1000, [&app] { app.mainWindow->Close(); });
    if (escritorio && app.backend != nullptr) {
        app.backend->AskAppearance([&app](Lx::ThemeSet colores) {
            app.ChangeTheme(colores);
            Lx::Anotar("tema %s", colores == Lx::ThemeSet::Dark ? "oscuro" : "claro");
        });
    }
    return app.Run() < 0 ? 1 : 0;
}
