#include "app/Tarea.h"

#include <exception>
#include <thread>
#include <utility>

#include "ui/LxApp.h"

namespace {

constexpr unsigned kPaciencia = 300;  // ms without a word
constexpr unsigned kPeriodo = 100;    // ms from one word to the next

std::atomic<int> g_hilos = 0;

void Correr(Lx::Firma::Trabajo& trabajo) {
    try {
        trabajo.Hacer();
    } catch (const std::exception&) {
        // Memory ran out. The answer says that nothing was done.
        trabajo.control.Soltar();
    }
}

}  // namespace

std::shared_ptr<Correo> CTarea::Preparar() {
    Abandonar();
    correo_ = std::make_shared<Correo>();
    return correo_;
}

void CTarea::Empezar(std::shared_ptr<Lx::Firma::Trabajo> trabajo, AlVer alVer, std::function<void()> alAcabar) {
    alVer_ = std::move(alVer);
    trabajo_ = trabajo;
    fin_ = abandonado_ = false;
    ++g_hilos;
    std::thread([this, trabajo = std::move(trabajo), correo = correo_, alAcabar = std::move(alAcabar)] {
        Correr(*trabajo);
        correo->Enviar([this, correo, alAcabar] {
            trabajo_.reset();
            fin_ = true;
            alAcabar();
        });
        --g_hilos;
    }).detach();
    correo_->Luego(kPaciencia, [this] { Tic(); });
}

void CTarea::Tic() {
    if (!EnMarcha()) return;
    alVer_(Ver());
    correo_->Luego(kPeriodo, [this] { Tic(); });
}

Lx::Control::Estado CTarea::Ver() const {
    return trabajo_ == nullptr ? Lx::Control::Estado{} : trabajo_->control.Ver();
}

bool CTarea::Cancelar() {
    return trabajo_ == nullptr || trabajo_->control.Cancelar();
}

void CTarea::Abandonar() {
    if (EnMarcha()) {
        trabajo_->control.Cancelar();
        abandonado_ = true;
    }
    trabajo_.reset();
    if (correo_ != nullptr) correo_->Cerrar();
    fin_ = true;
}

bool CTarea::Esperar() {
    Lx::LxApp::s_pApp->backend->RunModal(fin_);
    if (EnMarcha()) Abandonar();
    return !abandonado_;
}

int CTarea::Hilos() {
    return g_hilos;
}
