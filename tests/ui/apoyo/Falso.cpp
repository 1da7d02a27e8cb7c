#include "tests/ui/apoyo/Falso.h"

#include "tests/ui/apoyo/Hojas.h"

#include <poll.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace Falso {

namespace {

constexpr std::chrono::seconds kPatience{20};

class Backend : public Lx::CAppBackend {
  public:
    int RunLoop() override {
        fin_ = false;
        codigo_ = 0;
        while (!fin_) {
            if (!RunPosted()) Turno();
            Lx::LxApp::s_pApp->DeleteClosed();
        }
        return codigo_;
    }
    void Quit(int code) override {
        codigo_ = code;
        fin_ = true;
    }
    void RunModal(std::atomic<bool>& done) override {
        while (!done && !fin_)
            if (!RunPosted()) Turno();
    }
    void CallLater(unsigned ms, std::function<void()> task) override {
        ElMundo().tareas.push_back({ms, std::move(task)});
    }
    void Post(std::function<void()> task) override {
        const std::lock_guard guard(mutex_);
        posted_.push_back(std::move(task));
        more_.notify_all();
    }
    Lx::CCanvas* MeasuringCanvas() override { return &ElMundo().medidor; }
    bool OpenAddress(const std::string& address) override {
        if (!Lx::IsPublicAddress(address)) return false;
        ElMundo().direcciones.push_back(address);
        return true;
    }
    void ShowInFolder(const std::string& path) override { ElMundo().carpetas.push_back(path); }
    void AskAppearance(std::function<void(Lx::ThemeSet)> told) override { ElMundo().apariencia = std::move(told); }
    unsigned Watch(int fd, std::function<void()> ready) override {
        watched_[++lastWatch_] = {fd, std::move(ready)};
        return lastWatch_;
    }
    void Unwatch(unsigned id) override { watched_.erase(id); }
    void SetClipboard(const std::string& utf8) override { ElMundo().portapapeles = utf8; }
    std::string Clipboard() override { return ElMundo().portapapeles; }

    // False when nothing was posted and nothing can be read; first it is waited for, if threads are at work.
    bool RunPosted() {
        bool told = TellWatchers();
        std::unique_lock guard(mutex_);
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!told && posted_.empty() && ElMundo().ocupado && ElMundo().ocupado()) {
            more_.wait_for(guard, std::chrono::milliseconds(2));
            if (std::chrono::steady_clock::now() > end) throw std::logic_error("un trabajo no acaba");
            guard.unlock();
            told = TellWatchers();
            guard.lock();
        }
        const auto tasks = std::exchange(posted_, {});
        guard.unlock();
        for (const auto& task : tasks) task();
        return told || !tasks.empty();
    }

  private:
    struct Watcher {
        int fd = -1;
        std::function<void()> ready;
    };

    bool TellWatchers() {
        bool told = false;
        // A handler may end any of them, itself too.
        for (const auto& [id, copy] : std::map(watched_)) {
            pollfd readable{copy.fd, POLLIN, 0};
            if (!watched_.contains(id) || poll(&readable, 1, 0) != 1) continue;
            copy.ready();
            told = true;
        }
        return told;
    }

    static void Turno() {
        auto& guion = ElMundo().guion;
        if (guion.empty()) throw std::logic_error("el guion se ha acabado y un bucle sigue esperando");
        const auto paso = std::move(guion.front());
        guion.pop_front();
        paso();
    }

    std::atomic<bool> fin_ = false;
    int codigo_ = 0;
    std::mutex mutex_;
    std::condition_variable more_;
    std::vector<std::function<void()>> posted_;
    std::map<unsigned, Watcher> watched_;
    unsigned lastWatch_ = 0;
};

bool Enviar(Lx::CWindow& ventana, Lx::Event& ev) {
    ventana.RouteEvent(ev);
    return ev.handled;
}

}  // namespace

Mundo& ElMundo() {
    static Mundo mundo;
    return mundo;
}

Aplicacion::Aplicacion() {
    const int vivas = ElMundo().ventanasVivas;
    ElMundo() = Mundo{};
    ElMundo().ventanasVivas = vivas;
    app_ = new Lx::LxApp(0, nullptr);
}

Aplicacion::~Aplicacion() {
    delete app_;
    // What the test left there may hold objects of its own.
    ElMundo().guion.clear();
    ElMundo().tareas.clear();
    ElMundo().ocupado = nullptr;
    ElMundo().abrirPdf = nullptr;
    ElMundo().abrirPaginas = nullptr;
    ElMundo().elegirFichero = nullptr;
    ElMundo().elegirOrden = nullptr;
    ElMundo().imprimir = nullptr;
    ElMundo().apariencia = nullptr;
}

std::string Texto(const Lx::Color& c) {
    char texto[10];
    std::snprintf(texto, sizeof texto, "#%02x%02x%02x%02x", c.r, c.g, c.b, c.a);
    return texto;
}

std::string Apuntes::Texto(float n) {
    char texto[64];
    return {texto, std::to_chars(texto, texto + sizeof texto, n).ptr};
}

Lx::Size Lienzo::MeasureText(const std::string& utf8, const std::string&, int alto, bool negrita, bool) {
    const auto sigue = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    const auto letras =
        static_cast<int>(utf8.size()) - static_cast<int>(std::count_if(utf8.begin(), utf8.end(), sigue));
    return {letras * (negrita ? 8 : 7), alto + 4};
}

float Lienzo::DeviceScale() const {
    return ElMundo().escala;
}

Ventana::~Ventana() {
    if (duena_) --ElMundo().ventanasVivas;
    std::erase(ElMundo().abiertas, duena_);
}

bool Ventana::Create(Lx::CWindow* owner, const std::string& title, const Lx::Size& clientSize) {
    Apuntar("Create", title, clientSize);
    if (!ElMundo().aceptaVentanas) return false;
    duena_ = owner;
    ++ElMundo().ventanasVivas;
    ElMundo().abiertas.push_back(owner);
    return true;
}

void Ventana::RequestClose() {
    Apuntar("RequestClose");
    if (!cerrada && duena_->OnClose()) Desmontar();
}

void Ventana::Destroy() {
    Apuntar("Destroy");
    Desmontar();
}

void Ventana::Desmontar() {
    if (std::exchange(cerrada, true)) return;
    duena_->OnDestroy();
    if (!duena_->keepAppOnClose && Lx::LxApp::s_pApp) Lx::LxApp::s_pApp->WindowClosed(duena_);
}

float Ventana::GetScale() const {
    return ElMundo().escala;
}

Lx::Size Ventana::WorkArea() const {
    return ElMundo().areaDeTrabajo;
}

Lx::CWindow& Arriba() {
    if (ElMundo().abiertas.empty()) throw std::logic_error("no hay ninguna ventana");
    return *ElMundo().abiertas.back();
}

Ventana& De(const Lx::CWindow& ventana) {
    if (!ventana.impl) throw std::logic_error("la ventana no se ha creado");
    return static_cast<Ventana&>(*ventana.impl);
}

bool Raton(Lx::CWindow& ventana, Lx::EventType tipo, int x, int y, uint8_t boton, uint32_t modificadores) {
    Lx::Event ev;
    ev.type = tipo;
    ev.pt = {x, y};
    ev.button = boton;
    ev.modifiers = modificadores;
    return Enviar(ventana, ev);
}

bool Rueda(Lx::CWindow& ventana, int x, int y, int muescas) {
    Lx::Event ev;
    ev.type = Lx::EventType::MouseWheel;
    ev.pt = {x, y};
    ev.wheelDelta = muescas;
    return Enviar(ventana, ev);
}

bool Clic(Lx::CWindow& ventana, int x, int y) {
    Raton(ventana, Lx::EventType::MouseDown, x, y);
    return Raton(ventana, Lx::EventType::MouseUp, x, y);
}

bool DobleClic(Lx::CWindow& ventana, int x, int y) {
    Clic(ventana, x, y);
    Raton(ventana, Lx::EventType::MouseDoubleClick, x, y);
    return Raton(ventana, Lx::EventType::MouseUp, x, y);
}

bool Tecla(Lx::CWindow& ventana, Lx::KeyCode tecla, uint32_t modificadores) {
    Lx::Event ev;
    ev.type = Lx::EventType::KeyDown;
    ev.key = static_cast<uint16_t>(tecla);
    ev.modifiers = modificadores;
    const bool consumida = Enviar(ventana, ev);
    ev.type = Lx::EventType::KeyUp;
    ev.handled = false;
    Enviar(ventana, ev);
    return consumida;
}

void Teclear(Lx::CWindow& ventana, const std::string& utf8) {
    for (size_t i = 0, n = 1; i < utf8.size(); i += n, n = 1) {
        Lx::Event ev;
        if (utf8[i] >= 32 && utf8[i] < 127) {
            ev.type = Lx::EventType::KeyDown;
            Enviar(ventana, ev);
            ev.type = Lx::EventType::Char;
            ev.key = static_cast<uint16_t>(utf8[i]);
        } else {
            while (i + n < utf8.size() && (static_cast<unsigned char>(utf8[i + n]) & 0xC0) == 0x80) ++n;
            ev.type = Lx::EventType::Text;
            ev.text = utf8.substr(i, n);
        }
        ev.handled = false;
        Enviar(ventana, ev);
    }
}

bool Orden(Lx::CWindow& ventana, Lx::EditCommand orden, std::string* texto) {
    Lx::Event ev;
    ev.type = Lx::EventType::Command;
    ev.command = orden;
    if (texto && orden == Lx::EditCommand::Paste) ev.text = *texto;
    const bool consumida = Enviar(ventana, ev);
    if (texto) *texto = ev.text;
    return consumida;
}

std::function<int(const std::vector<Lx::MenuItem>&)> Elegir(const std::string& texto) {
    return [texto](const std::vector<Lx::MenuItem>& ordenes) {
        std::vector<Lx::MenuItem> quedan = ordenes;
        while (!quedan.empty()) {
            const Lx::MenuItem una = std::move(quedan.back());
            quedan.pop_back();
            if (una.text == texto && una.enabled && una.items.empty()) return una.command;
            quedan.insert(quedan.end(), una.items.begin(), una.items.end());
        }
        throw std::logic_error("el menú no tiene " + texto);
    };
}

void HastaQue(const std::function<bool()>& cumplido) {
    auto& backend = static_cast<Backend&>(*Lx::LxApp::s_pApp->backend);
    const auto fin = std::chrono::steady_clock::now() + kPatience;
    while (!cumplido()) {
        backend.RunPosted();
        if (std::chrono::steady_clock::now() > fin) throw std::logic_error("lo que se espera no llega");
    }
}

size_t HacerTareas() {
    const auto tareas = std::exchange(ElMundo().tareas, {});
    for (const Tarea& tarea : tareas) tarea.hacer();
    return tareas.size();
}

std::vector<std::string> Pintar(Lx::CWindow& ventana) {
    Lienzo lienzo;
    ventana.PaintAll(&lienzo);
    return lienzo.lineas;
}

std::vector<std::string> Pintar(Lx::CControl& control) {
    Lienzo lienzo;
    control.OnPaint(&lienzo);
    return lienzo.lineas;
}

}  // namespace Falso

namespace Lx {

CAppBackend* CreatePlatformBackend() {
    return Falso::ElMundo().hayPantalla ? new Falso::Backend : nullptr;
}

CWindowImpl* CreatePlatformWindowImpl() {
    return Falso::ElMundo().hayPantalla ? new Falso::Ventana : nullptr;
}

bool RunPlatformFileDialog(const FileDialogRequest& request, std::string& path) {
    const auto elegir = Falso::ElMundo().elegirFichero;
    return elegir && elegir(request, path);
}

std::unique_ptr<Pdf::IPages> Pdf::OpenPages(const std::string& path, OnOpened opened) {
    if (const auto abrir = Falso::ElMundo().abrirPaginas) return abrir(path, std::move(opened));
    const Opened damaged{Outcome::Damaged, "No se pudo abrir el PDF (archivo inexistente o dañado).", 0, {}};
    auto pages = std::make_unique<Falso::Hojas>(damaged, std::move(opened));
    LxApp::s_pApp->backend->CallLater(0, [vivo = pages->Vivo(), hojas = pages.get()] {
        if (!vivo.expired()) hojas->Abrir();
    });
    return pages;
}

void Pdf::OpenAhead(const std::string&, int32_t) {}

int RunPlatformMenu(CWindow* /*owner*/, const std::vector<MenuItem>& items, const Point& /*at*/) {
    const auto elegir = Falso::ElMundo().elegirOrden;
    return elegir ? elegir(items) : 0;
}

std::unique_ptr<IPrintJob> RunPlatformPrintDialog(const PrintRequest& request, std::string& error) {
    const auto imprimir = Falso::ElMundo().imprimir;
    error.clear();
    return imprimir ? imprimir(request, error) : nullptr;
}

Pdf::IDocument* Pdf::Open(const std::string& path, std::string& error) {
    const auto abrir = Falso::ElMundo().abrirPdf;
    if (abrir) return abrir(path, error);
    error = "No se pudo abrir el PDF (archivo inexistente o dañado).";
    return nullptr;
}

}  // namespace Lx
