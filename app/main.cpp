#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/LineaDeOrdenes.h"
#include "app/MainWindow.h"
#include "app/Terminacion.h"
#include "crypto/LxSecreto.h"
#include "firma/LxDiagnosticar.h"
#include "ui/LxApp.h"
#include "ui/LxPages.h"

namespace {

constexpr int kPorSenal = 128;
constexpr int kMalUso = 2;

// Whether the card could sign here, for who asks for help. Needs no display.
int Diagnosticar() {
    Lx::Firma::Diagnosticar examen("");
    examen.Hacer();
    std::fputs(Lx::Firma::Informe(examen.Respuesta(), false).c_str(), stdout);
    return examen.Respuesta().tarjeta.puedeFirmar ? 0 : 1;
}

// One window for each document.
class Programa : public Lx::LxApp {
  public:
    Programa(int argCount, char** args, std::vector<std::string> documentos, const CCambiosDisco::Marca& primera)
        : LxApp(argCount, args), documentos_(std::move(documentos)), primera_(primera) {
        name = "velmora";
    }

    bool InitInstance() override {
        mainWindow = Ventana(0);
        if (!LxApp::InitInstance()) return false;
        for (size_t i = 1; i < documentos_.size(); ++i)
            backend->CallLater(0, [this, i] { static_cast<void>(AddWindow(Ventana(i))); });
        return true;
    }

    // A dialog of the desktop's, which can't be ended from here, may be on the screen.
    void Terminar(int senal) {
        senal_ = senal;
        for (Lx::CWindow* una : Windows())
            if (auto* ventana = dynamic_cast<CMainWindow*>(una))
                ventana->Terminar([senal] { std::_Exit(kPorSenal + senal); });
    }
    [[nodiscard]] int Codigo(int codigo) const { return senal_ == 0 ? codigo : kPorSenal + senal_; }

  private:
    [[nodiscard]] CMainWindow* Ventana(size_t cual) const {
        auto* ventana = new CMainWindow;
        if (cual < documentos_.size()) ventana->PonerDocumentoInicial(documentos_[cual]);
        if (cual == 0) ventana->PonerMarcaInicial(primera_);
        return ventana;
    }

    std::vector<std::string> documentos_;
    CCambiosDisco::Marca primera_;
    int senal_ = 0;
};

int Ejecutar(int argc, char** argv, const std::vector<std::string>& documentos) {
    const std::string primero = CMainWindow::DocumentoInicial(documentos.empty() ? std::string() : documentos[0]);
    // Noted before it is read: what becomes of it meanwhile is seen.
    const auto marca = CCambiosDisco::MarcaDe(primero);
    if (!primero.empty()) Lx::Pdf::OpenAhead(primero, CMainWindow::AnchoInicial());
    Lx::PreparePlatform();
    CMainWindow::PonerTemaElegido();
    Programa app(argc, argv, documentos, marca);
    const auto correo = std::make_shared<Correo>();
    const CTerminacion terminacion([&](int senal) { correo->Enviar([&app, senal] { app.Terminar(senal); }); });
    const int codigo = app.Codigo(app.Run());
    correo->Cerrar();
    return codigo;
}

}  // namespace

int main(int argc, char** argv) {
    Lx::PrepararProceso();
    using Accion = Orvanta::LineaDeOrdenes::Accion;
    const Orvanta::LineaDeOrdenes linea = Orvanta::LeerLinea({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (linea.accion == Accion::Diagnostico) return Diagnosticar();
    if (linea.accion == Accion::Ayuda || linea.accion == Accion::Version) {
        const std::string texto =
            linea.accion == Accion::Ayuda ? Orvanta::TextoDeAyuda() : "velmora (Velmora) " VELMORA_VERSION "\n";
        return std::fputs(texto.c_str(), stdout) < 0 ? 1 : 0;
    }
    if (linea.accion == Accion::Error) {
        std::fprintf(stderr, "velmora: %s Prueba \"velmora --help\".\n", linea.error.c_str());
        return kMalUso;
    }
    const int codigo = Ejecutar(argc, argv, linea.documentos);
    // A thread that was left behind, with a device that doesn't answer, doesn't hold up the end.
    if (CTarea::Hilos() > 0) std::_Exit(codigo);
    return codigo;
}
