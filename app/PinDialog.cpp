#include "app/PinDialog.h"

#include "ui/LxEdit.h"

CPinDialog::CPinDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& titular,
                       std::string& pin)
    : CDialogoSecreto(padre, paleta, pin), titular_(titular) {
    title = "PIN del DNI electrónico";
}

void CPinDialog::PonerIntentos(int intentos, bool rechazado) {
    intentos_ = intentos;
    rechazado_ = rechazado;
}

bool CPinDialog::OnInit() {
    Montar({
        .titulo = "Autenticación con DNI electrónico",
        .quien = "Titular: " + (titular_.empty() ? "(DNIe detectado)" : titular_),
        .peticion = "Introduce el PIN de tu tarjeta para autorizar la firma digital:",
        .indicacion = "Escribe el PIN aquí",
        .aviso = "Aviso: El chip del DNIe se bloquea tras 3 intentos erróneos consecutivos.",
        .vacio = "Por favor, introduce el PIN del DNIe.",
    });
    edicion_->OnEnter(this, &CPinDialog::OnEnterPin);
    edicion_->OnChange(this, &CPinDialog::OnCambioPin);
    Decir(FraseIntentos());
    return true;
}

std::string CPinDialog::FraseIntentos() const {
    if (intentos_ < 0) return rechazado_ ? "PIN incorrecto." : "";
    if (intentos_ == 0) return "El PIN del DNIe está bloqueado.";
    if (intentos_ == 1) return "Queda 1 intento: si el PIN no es correcto, el DNIe se bloquea.";
    return (rechazado_ ? "PIN incorrecto. Quedan " : "Quedan ") + std::to_string(intentos_) + " intentos.";
}

void CPinDialog::OnAceptar() {
    if (intentos_ == 1 && !confirmado_ && !edicion_->GetText().empty()) {
        confirmado_ = true;
        Decir("Es el último intento: pulsa Aceptar otra vez para usarlo.");
        return;
    }
    CDialogoSecreto::OnAceptar();
}

void CPinDialog::OnEnterPin(const std::string&) {
    OnAceptar();
}

void CPinDialog::OnCambioPin(const std::string&) {
    confirmado_ = false;
    Decir(FraseIntentos());
}
