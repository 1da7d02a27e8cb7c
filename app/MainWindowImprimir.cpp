// Printing from the main window: what is asked, how far it is, how it ends.
#include <utility>

#include "app/AjusteTexto.h"
#include "app/MainWindow.h"
#include "app/Pregunta.h"

void CMainWindow::OnImprimir() {
    if (!Libre()) return;
    std::string error;
    if (!Lx::MayPrint(visor_->Pages()->State(), error)) return Avisar(error, true);
    const Lx::PrintRequest peticion{this, Orvanta::SinControl(Orvanta::NombreFichero(documento_)),
                                    visor_->GetPageCount(), visor_->GetCurrentPage()};
    std::unique_ptr<Lx::IPrintJob> trabajo = EnModal([&] { return Lx::RunPlatformPrintDialog(peticion, error); });
    if (trabajo == nullptr) {
        if (!error.empty()) Avisar(error, true);
        return;
    }
    // What went on meanwhile: the pages that are printed have to stay.
    if (visor_->Pages() == nullptr || firmando_ || recarga_ || visor_->IsOpening())
        return Avisar("El documento cambió mientras tanto: míralo y vuelve a imprimirlo.", true);
    recado_.clear();
    impresion_ = std::make_unique<Lx::CPrintRun>(*visor_->Pages(), std::move(trabajo));
    impresion_->onProgress = [this](int cual, int total) {
        std::string texto = "Imprimiendo la página " + std::to_string(cual) + " de " + std::to_string(total) + "…";
        if (!recado_.empty()) texto += "\n" + recado_;
        aviso_->MostrarProgreso(texto, static_cast<double>(cual - 1) / total);
    };
    impresion_->onFinished = [this](const std::string& fallo) {
        AcabarImpresion();
        Avisar(fallo.empty() ? "El documento se ha enviado a la impresora." : fallo, !fallo.empty());
    };
    impresion_->Start();
}

void CMainWindow::AcabarImpresion() {
    impresion_.reset();
    aviso_->Quitar();
    if (cambios_.HayCambio()) AlCambiarEnDisco();
}

void CMainWindow::DejarDeImprimir() {
    AcabarImpresion();
    Avisar("Impresión cancelada: lo que ya recibió la impresora puede salir todavía.", false);
}

// False when the window is to stay for it.
bool CMainWindow::PuedeDejarDeImprimir() {
    CPregunta pregunta(this, paleta_,
                       {"Impresión en marcha", "Si cierras la ventana ahora, no se imprime lo que falta. ¿Cerrarla?",
                        "Cerrar", "Seguir imprimiendo"});
    if (Preguntar(pregunta) != Lx::kAccepted) return false;
    impresion_.reset();
    return true;
}
