#include "app/Correo.h"

#include <utility>

#include "ui/LxApp.h"

namespace {

struct Vez {
    bool empezada = false;
    bool acabada = false;
};

}  // namespace

Correo::Correo() : backend_(Lx::LxApp::s_pApp == nullptr ? nullptr : Lx::LxApp::s_pApp->backend) {}

bool Correo::Abierto() {
    const std::lock_guard guardia(cerrojo_);
    return backend_ != nullptr;
}

void Correo::Enviar(std::function<void()> tarea) {
    const std::lock_guard guardia(cerrojo_);
    if (backend_ == nullptr) return;
    backend_->Post([yo = shared_from_this(), tarea = std::move(tarea)] {
        if (yo->Abierto()) tarea();
    });
}

bool Correo::Preguntar(const std::function<void()>& tarea) {
    const auto vez = std::make_shared<Vez>();
    std::unique_lock guardia(cerrojo_);
    if (backend_ == nullptr) return false;
    backend_->Post([yo = shared_from_this(), vez, &tarea] {
        {
            const std::lock_guard cerrado(yo->cerrojo_);
            // Whoever asked is gone, and what `tarea` refers to with it.
            if (yo->backend_ == nullptr) return;
            vez->empezada = true;
        }
        // Also when an exception leaves: nobody may wait for ever.
        const std::shared_ptr<void> alSalir(nullptr, [&yo, &vez](void*) {
            const std::lock_guard cerrado(yo->cerrojo_);
            vez->acabada = true;
            yo->cambio_.notify_all();
        });
        tarea();
    });
    cambio_.wait(guardia, [this, &vez] { return vez->acabada || (backend_ == nullptr && !vez->empezada); });
    return vez->acabada;
}

void Correo::Luego(unsigned ms, std::function<void()> tarea) {
    if (backend_ == nullptr) return;
    backend_->CallLater(ms, [yo = shared_from_this(), tarea = std::move(tarea)] {
        if (yo->Abierto()) tarea();
    });
}

void Correo::Cerrar() {
    const std::lock_guard guardia(cerrojo_);
    backend_ = nullptr;
    cambio_.notify_all();
}
