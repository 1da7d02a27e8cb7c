#include <cstdio>
#include <cstring>
#include <string>

#include "ui/LxApp.h"
#include "ui/galeria/Galeria.h"

namespace {

constexpr const char* kUso =
    "Uso: lx-galeria [--registro] [DOCUMENTO.pdf]\n"
    "Muestra los controles en todos sus estados, y la primera página del documento.\n"
    "  --registro  escribe en la salida lo que sucede\n";

}  // namespace

int main(int argc, char** argv) {
    std::string documento;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--registro") == 0) {
            Lx::g_anotar = true;
        } else if (std::strcmp(argv[i], "--help") == 0 || argv[i][0] == '-') {
            std::fputs(kUso, argv[i][1] == '-' && argv[i][2] == 'h' ? stdout : stderr);
            return std::strcmp(argv[i], "--help") == 0 ? 0 : 2;
        } else {
            documento = argv[i];
        }
    }
    Lx::LxApp app(argc, argv);
    app.mainWindow = new Lx::CGaleria(documento);
    return app.Run() < 0 ? 1 : 0;
}
