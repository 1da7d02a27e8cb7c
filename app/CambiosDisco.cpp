#include "app/CambiosDisco.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <utility>

#include "app/AjusteTexto.h"
#include "ui/LxApp.h"

namespace {

constexpr unsigned kQuietud = 750;  // ms without another event: programs write a file in several steps
constexpr uint32_t kSucesos =
    IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

CCambiosDisco::Marca CCambiosDisco::MarcaDe(const std::string& ruta) {
    struct stat d {};
    if (stat(ruta.c_str(), &d) != 0) return {};
    constexpr long long kSegundo = 1'000'000'000;
    const auto nanos = [](const timespec& t) { return t.tv_sec * kSegundo + t.tv_nsec; };
    return {true, d.st_dev, d.st_ino, d.st_size, nanos(d.st_mtim), nanos(d.st_ctim)};
}

// The folder is watched, for programs put a new file in the place of the old one. What a link leads to counts.
void CCambiosDisco::Vigilar(const std::string& ruta, const Marca& marca, std::function<void()> alCambiar) {
    Dejar();
    std::error_code fallo;
    const std::filesystem::path real = std::filesystem::canonical(ruta, fallo);
    ruta_ = ruta;
    nombre_ = (fallo ? std::filesystem::path(ruta) : real).filename();
    marca_ = marca;
    alCambiar_ = std::move(alCambiar);
    cola_ = Lx::Api::Descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!cola_) return;
    std::string carpeta = (fallo ? std::filesystem::path(ruta) : real).parent_path();
    if (carpeta.empty()) carpeta = ".";
    if (inotify_add_watch(cola_.Valor(), carpeta.c_str(), kSucesos) < 0) return;
    vigilia_ = Lx::LxApp::s_pApp->backend->Watch(cola_.Valor(), [this] { Leer(); });
    if (HayCambio()) Esperar();  // it changed before anybody looked
}

void CCambiosDisco::Dejar() {
    if (vigilia_ != 0 && Lx::LxApp::s_pApp != nullptr && Lx::LxApp::s_pApp->backend != nullptr)
        Lx::LxApp::s_pApp->backend->Unwatch(vigilia_);
    vigilia_ = 0;
    cola_ = {};
    ruta_.clear();
    ++vez_;
}

void CCambiosDisco::Leer() {
    alignas(inotify_event) char bufer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
    bool nuestro = false;
    for (ssize_t n = 0; (n = read(cola_.Valor(), bufer, sizeof bufer)) > 0;) {
        for (ssize_t i = 0; i < n;) {
            inotify_event suceso;
            std::memcpy(&suceso, bufer + i, sizeof suceso);
            const char* nombre = bufer + i + sizeof suceso;
            nuestro = nuestro || suceso.len == 0 || nombre_ == nombre;
            i += static_cast<ssize_t>(sizeof suceso + suceso.len);
        }
    }
    if (nuestro) Esperar();
}

void CCambiosDisco::Esperar() {
    correo_->Luego(kQuietud, [this, vez = ++vez_] {
        if (vez == vez_ && HayCambio()) alCambiar_();
    });
}
