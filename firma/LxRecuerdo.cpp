#include "firma/LxRecuerdo.h"

#include "crypto/LxSecreto.h"

namespace Lx::Firma {

Recuerdo::Recuerdo() : paginas_(this, sizeof *this) {}

void Recuerdo::Guardar(const CertStore::Contexto& ctx, Reloj::time_point ahora) {
    OlvidarTodo();
    ctx_ = ctx;
    usado_ = ahora;
}

const CertStore::Contexto& Recuerdo::Ver(Reloj::time_point ahora) {
    if (ahora - usado_ >= kSinUso) OlvidarPin();
    return ctx_;
}

void Recuerdo::OlvidarPin() {
    Limpiar(ctx_.pin);
}

void Recuerdo::OlvidarTodo() {
    OlvidarPin();
    Limpiar(ctx_.clavePkcs12);
}

}  // namespace Lx::Firma
