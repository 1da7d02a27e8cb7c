#include "app/ClaveDialog.h"

#include "app/AjusteTexto.h"
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
    });
    edicion_->OnEnter(this, &CClaveDialog::OnEnterClave);
    if (intento_ > 1) Decir("La contraseña no es correcta.");
    return true;
}

void CClaveDialog::OnEnterClave(const std::string&) {
    OnAceptar();
}
