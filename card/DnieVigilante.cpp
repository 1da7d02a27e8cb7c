#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "card/LxPcsc.h"
#include "card/LxTarjeta.h"
#include "card/Suelto.h"

namespace Lx::Dnie {

namespace {

constexpr unsigned kEspera = 2000;  // ms; how long a thread may outlive its watcher
constexpr unsigned kPausa = 100;    // ms; between two looks, whatever the service says

// How the readers stand, as far as it is told.
using Vista = std::vector<Pcsc::LectorVisto>;

bool Iguales(const Vista& a, const Vista& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.nombre == y.nombre && x.presente == y.presente && x.veces == y.veces;
    });
}

// The readers of now, those already known as they were seen.
long Enumerar(unsigned long contexto, Vista& vista) {
    std::vector<std::string> nombres;
    const long code = Pcsc::ListarLectores(contexto, nombres);
    if (code != 0 && Pcsc::MotivoDe(code) != Motivo::SinLector) return code;
    nombres.push_back(Pcsc::kLectoresNuevos);
    Vista nueva;
    for (const std::string& nombre : nombres) {
        const auto it =
            std::find_if(vista.begin(), vista.end(), [&](const Pcsc::LectorVisto& l) { return l.nombre == nombre; });
        nueva.push_back(it == vista.end() ? Pcsc::LectorVisto{nombre} : *it);
    }
    vista = std::move(nueva);
    return 0;
}

}  // namespace

struct Vigilante::Estado {
    explicit Estado(std::function<void()> elAviso) : aviso(std::move(elAviso)) {}

    std::recursive_mutex cerrojo;  // the one who is told may end the watch
    std::function<void()> aviso;   // empty when it has ended
    std::condition_variable_any fin;

    // False when the watch has ended.
    bool Avisar(bool cambio) {
        const std::lock_guard guarda(cerrojo);
        const auto quien = aviso;  // stays while it runs, whatever it does to the watcher
        if (quien && cambio) quien();
        return static_cast<bool>(aviso);
    }
    bool Dormir(unsigned ms) {
        std::unique_lock guarda(cerrojo);
        return !fin.wait_for(guarda, std::chrono::milliseconds(ms), [this] { return !aviso; });
    }
    void Vigilar();
};

// Looks, tells of what is otherwise than before, and waits for the next change. A service that isn't there has no
// readers, and may come.
void Vigilante::Estado::Vigilar() {
    unsigned long contexto = 0;
    Vista vista, contada;
    bool primera = true;
    for (bool sigue = true; sigue;) {
        long code = contexto != 0 ? 0 : Pcsc::EstablecerContexto(2, contexto);
        if (code == 0) code = Enumerar(contexto, vista);
        if (code == 0) code = Pcsc::EsperarCambios(contexto, vista, primera ? 0 : kEspera);
        if (code != 0) {
            Pcsc::LiberarContexto(std::exchange(contexto, 0));
            vista.clear();
        }
        Vista ahora;
        std::copy_if(vista.begin(), vista.end(), std::back_inserter(ahora),
                     [](const Pcsc::LectorVisto& l) { return l.nombre != Pcsc::kLectoresNuevos; });
        sigue = Avisar(!primera && !Iguales(ahora, contada)) && Dormir(code == 0 ? kPausa : kEspera);
        contada = std::move(ahora);
        primera = false;
    }
    Pcsc::LiberarContexto(contexto);
}

Vigilante::Vigilante(std::function<void()> aviso) : estado_(std::make_shared<Estado>(std::move(aviso))) {
    Pcsc::Suelto([estado = estado_] { estado->Vigilar(); });
}

Vigilante::~Vigilante() {
    const std::lock_guard guarda(estado_->cerrojo);
    estado_->aviso = nullptr;
    estado_->fin.notify_all();
}

}  // namespace Lx::Dnie
