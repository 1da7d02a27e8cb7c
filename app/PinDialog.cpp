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
        .abre = FraseIntentos(),
        .rechazado = rechazado_,
        .ultimo = intentos_ == 1,
    });
    edicion_->OnEnter(this, &CPinDialog::OnEnterPin);
    return true;
}

std::string CPinDialog::FraseIntentos() const {
    const std::string mal = rechazado_ ? "PIN incorrecto. " : "";
    if (intentos_ < 0) return rechazado_ ? mal + "Escríbelo otra vez." : "";
    if (intentos_ == 0) return "El PIN del DNIe está bloqueado: desbloquéalo con su código PUK.";
    if (intentos_ > 1) return mal + "Quedan " + std::to_string(intentos_) + " intentos.";
    return mal + (rechazado_ ? "Queda 1 intento: si fallas, el DNIe se bloquea."
                             : "Queda 1 intento: si el PIN no es correcto, el DNIe se bloquea.");
}

void CPinDialog::OnEnterPin(const std::string&) {
    OnAceptar();
}
