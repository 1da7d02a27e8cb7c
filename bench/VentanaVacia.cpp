// bench_vacia [TEXT]: a window of Qt with nothing in it, or with one line of text: what the start of a window of the
// toolkit is compared with. Prints the clock in nanoseconds when it is painted.
#include <QApplication>
#include <QPainter>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <cstdio>
#include <utility>

namespace {

class Vacia : public QWidget {
  public:
    explicit Vacia(QString texto) : texto_(std::move(texto)) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        if (!texto_.isEmpty()) QPainter(this).drawText(20, 40, texto_);
        if (pintada_) return;
        pintada_ = true;
        QTimer::singleShot(0, this, [] {
            const auto ahora = std::chrono::steady_clock::now().time_since_epoch();
            std::printf("%lld\n",
                        static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(ahora).count()));
            QApplication::quit();
        });
    }

  private:
    QString texto_;
    bool pintada_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    Vacia ventana(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString());
    ventana.resize(900, 680);
    ventana.show();
    return QApplication::exec();
}
