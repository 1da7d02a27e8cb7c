#include "crypto/LxControlTrabajo.h"

namespace Lx {

void Control::Pasar(Etapa etapa, uint64_t total) {
    hechos_ = 0;
    total_ = total;
    ocupado_ = false;
    etapa_ = etapa;
}

void Control::Avanzar(uint64_t hechos) {
    hechos_ = hechos;
}

void Control::Ocupado(bool si) {
    ocupado_ = si;
}

bool Control::Comprometer() {
    int fase = kLibre;
    return fase_.compare_exchange_strong(fase, kComprometida);
}

bool Control::SeguirComprometido() {
    int fase = kLibre;
    return fase_.compare_exchange_strong(fase, kComprometida) || fase == kComprometida;
}

void Control::Soltar() {
    int fase = kComprometida;
    if (fase_.compare_exchange_strong(fase, kLibre)) return;
    if (fase == kComprometidaYCancelada) fase_ = kCancelada;
}

bool Control::Cancelar() {
    for (int fase = fase_;;) {
        if (fase == kCancelada) return true;
        if (fase == kComprometidaYCancelada) return false;
        const int nueva = fase == kLibre ? kCancelada : kComprometidaYCancelada;
        if (fase_.compare_exchange_weak(fase, nueva)) return nueva == kCancelada;
    }
}

Control::Estado Control::Ver() const {
    const int fase = fase_;
    return {etapa_,
            ocupado_,
            hechos_,
            total_,
            fase == kComprometida || fase == kComprometidaYCancelada,
            fase == kCancelada || fase == kComprometidaYCancelada};
}

}  // namespace Lx
