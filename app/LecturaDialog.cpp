#include "app/LecturaDialog.h"

#include <utility>

CLecturaDialog::CLecturaDialog(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, std::string documento,
                               bool rechazada, std::string& clave)
    : CDialogoSecreto(padre, paleta, clave), documento_(std::move(documento)), rechazada_(rechazada) {
    title = "Documento protegido";
}

bool CLecturaDialog::OnInit() {
    Montar({.titulo = "Este documento pide una contraseña para leerlo",
            .quien = documento_,
            .peticion = "Escribe la contraseña que te dio quien lo hizo:",
            .indicacion = "Contraseña",
            .aviso = "No se guarda en ningún sitio, y el documento no se podrá firmar.",
            .vacio = "Escribe la contraseña del documento.",
            .abre = rechazada_ ? "La contraseña no es correcta: escríbela otra vez." : "",
            .rechazado = rechazada_});
    return true;
}
