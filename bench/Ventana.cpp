// bench_ventana [N]: the gallery in a window of 900 x 680. Prints the clock in nanoseconds when the first painting is
// done, then how long each of N repaints of all of it took.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "ui/LxApp.h"
#include "ui/galeria/Galeria.h"

namespace {

using Reloj = std::chrono::steady_clock;

long long Nanosegundos(Reloj::duration d) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(d).count();
}

class CMedida : public Lx::CGaleria {
  public:
    explicit CMedida(int vueltas) : CGaleria(""), vueltas_(vueltas) { rect = {0, 0, 900, 680}; }

    void OnPaint(Lx::CCanvas*) override {
        // The first one goes nowhere: it readies the next.
        if (++pintadas_ != 2) return;
        Lx::LxApp::s_pApp->backend->CallLater(0, [this] { Medir(); });
    }

  private:
    void Medir() {
        std::printf("%lld\n", Nanosegundos(Reloj::now().time_since_epoch()));
        for (int i = 0; i < vueltas_; ++i) {
            const auto antes = Reloj::now();
            InvalidateRect(nullptr);
            FlushPaint();
            std::printf("%lld\n", Nanosegundos(Reloj::now() - antes));
        }
        Lx::LxApp::s_pApp->Quit(0);
    }

    int vueltas_;
    int pintadas_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Lx::LxApp app(argc, argv);
    app.mainWindow = new CMedida(argc > 1 ? std::atoi(argv[1]) : 0);
    return app.Run();
}
