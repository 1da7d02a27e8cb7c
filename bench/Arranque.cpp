// bench_arranque [DOCUMENT]: the main window, from the start to its first painting. Prints the clock in nanoseconds
// when it is painted, as bench_vacia does, then how long before that each step was: main, what is begun ahead, the
// backend, the window made, shown, about to paint.
#include <chrono>
#include <cstdio>
#include <vector>

#include "app/MainWindow.h"
#include "crypto/LxSecreto.h"
#include "ui/LxApp.h"
#include "ui/LxPages.h"

namespace {

using Reloj = std::chrono::steady_clock;

std::vector<Reloj::time_point> g_pasos;

void Paso() {
    g_pasos.push_back(Reloj::now());
}

class CMedida : public CMainWindow {
  public:
    using CMainWindow::CMainWindow;
    void OnPaint(Lx::CCanvas* canvas) override {
        // The first one goes nowhere: it readies the next.
        if (++veces_ != 2) return CMainWindow::OnPaint(canvas);
        Paso();
        CMainWindow::OnPaint(canvas);
        Lx::LxApp::s_pApp->backend->CallLater(0, [] {
            const Reloj::duration ahora = Reloj::now().time_since_epoch();
            std::printf("%lld\n", static_cast<long long>(std::chrono::nanoseconds(ahora).count()));
            for (const Reloj::time_point& paso : g_pasos)
                std::printf("%lld\n",
                            static_cast<long long>(std::chrono::nanoseconds(paso.time_since_epoch() - ahora).count()));
            std::fflush(stdout);
            Lx::LxApp::s_pApp->Quit(0);
        });
    }

  private:
    int veces_ = 0;
};

struct CAplicacion : Lx::LxApp {
    using LxApp::LxApp;
    bool InitInstance() override {
        if (!mainWindow->Create()) return false;
        Paso();
        mainWindow->Center();
        mainWindow->Show();
        Paso();
        return true;
    }
};

}  // namespace

int main(int argc, char** argv) {
    Paso();
    Lx::PrepararProceso();
    const std::string documento = CMainWindow::DocumentoInicial(argc >= 2 ? argv[1] : "");
    if (!documento.empty()) Lx::Pdf::OpenAhead(documento, 0);
    Lx::PreparePlatform();
    Paso();
    CAplicacion app(argc, argv);
    Paso();
    auto* ventana = new CMedida;
    if (argc >= 2) ventana->PonerDocumentoInicial(argv[1]);
    app.mainWindow = ventana;
    return app.Run();
}
