#include "signer/PdfVigia.h"

#include <utility>

namespace LxPdfSigner::Interno {

namespace {

class FuenteCancelable final : public LxPdf::Fuente {
  public:
    FuenteCancelable(std::unique_ptr<Fuente> fuente, const Lx::Control& control)
        : fuente_(std::move(fuente)), control_(control) {}
    [[nodiscard]] uint64_t Longitud() const override { return fuente_->Longitud(); }
    [[nodiscard]] bool Leer(uint64_t pos, size_t n, char* destino) const override {
        return !control_.Cancelado() && fuente_->Leer(pos, n, destino);
    }
    [[nodiscard]] bool HaCambiado() const override { return fuente_->HaCambiado(); }
    [[nodiscard]] int Descriptor() const override { return fuente_->Descriptor(); }

  private:
    std::unique_ptr<Fuente> fuente_;
    const Lx::Control& control_;
};

}  // namespace

std::unique_ptr<LxPdf::Fuente> Cancelable(std::unique_ptr<LxPdf::Fuente> fuente, const Lx::Control& control) {
    return std::make_unique<FuenteCancelable>(std::move(fuente), control);
}

Callback Turno::Funcion() {
    return [this](const std::vector<unsigned char>& datos, std::string& nota) {
        if (control_.Cancelado()) return std::vector<unsigned char>{};
        control_.Pasar(Lx::Etapa::Clave);
        std::vector<unsigned char> firma = firmar_(datos, nota);
        contestado_ = !firma.empty() || !nota.empty();
        if (!firma.empty()) control_.Pasar(Lx::Etapa::Guardar);
        return firma;
    };
}

void Turno::Explicar(Resultado& r) const {
    if (r.firmado || contestado_ || !control_.Cancelado()) return;
    r.motivo = Lx::Motivo::Cancelado;
    r.error = kFraseCancelado;
}

}  // namespace LxPdfSigner::Interno
