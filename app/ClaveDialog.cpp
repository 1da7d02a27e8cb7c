#include "app/ClaveDialog.h"

#include "app/AjusteTexto.h"
#include "firma/LxTrabajo.h"
#include "ui/LxEdit.h"

namespace {

constexpr size_t kCaracteres = 50;  // of a folder's path, whose end tells it from others

}  // namespace

CClaveDialog::CClaveDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& almacen,
                           int intento, bool ultimo, std::string& clave)
    : CDialogoSecreto(padre, paleta, clave), almacen_(almacen), intento_(intento), ultimo_(ultimo) {
    title = "Contraseña del almacén de certificados";
}

bool CClaveDialog::OnInit() {
    Montar({
        .titulo = "El almacén de certificados está protegido",
        .quien = "Almacén: " + Orvanta::ConFinal(almacen_, kCaracteres),
        .peticion = "Introduce su contraseña para autorizar la firma digital:",
        .indicacion = "Escribe la contraseña aquí",
        .aviso = ultimo_ ? "Aviso: es el último intento; si la contraseña no es correcta, el almacén se bloquea." : "",
        .vacio = "Por favor, introduce la contraseña del almacén.",
        .abre = FraseIntentos(),
        .rechazado = intento_ > 1,
        .ultimo = ultimo_,
    });
    edicion_->OnEnter(this, &CClaveDialog::OnEnterClave);
    return true;
}

std::string CClaveDialog::FraseIntentos() const {
    if (intento_ <= 1) return {};
    const int quedan = Lx::CertStore::kIntentosClave - intento_ + 1;
    if (ultimo_ || quedan <= 1) return "La contraseña no es correcta: queda 1 intento.";
    return "La contraseña no es correcta: quedan " + std::to_string(quedan) + " intentos.";
}

void CClaveDialog::OnEnterClave(const std::string&) {
    OnAceptar();
}
