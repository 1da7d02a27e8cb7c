#include "crypto/LxMemoria.h"

#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace Lx {

namespace {

[[nodiscard]] size_t TamanoDePagina() {
    static const auto tamano = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return tamano;
}

[[nodiscard]] size_t HastaPagina(size_t n) {
    const size_t pagina = TamanoDePagina();
    return (n + pagina - 1) / pagina * pagina;
}

[[nodiscard]] char* Reservar(size_t n, int modo, int fd) {
    void* p = n == 0 ? MAP_FAILED : mmap(nullptr, n, PROT_READ | PROT_WRITE, modo, fd, 0);
    return p == MAP_FAILED ? nullptr : static_cast<char*>(p);
}

// How many objects want a page locked: the system doesn't count, and one unlocking would undo all.
struct Cuentas {
    std::mutex cerrojo;
    std::map<const char*, size_t> paginas;
};

[[nodiscard]] Cuentas& LasCuentas() {
    static auto* cuentas = new Cuentas;  // outlives every static object that holds a secret
    return *cuentas;
}

// Calls `hacer` with the address of each page that has some of these bytes.
template <typename Hacer>
void PorPaginas(const void* inicio, size_t tamano, Hacer hacer) {
    const auto* p = static_cast<const char*>(inicio);
    const char* fin = p + tamano;
    for (p -= reinterpret_cast<uintptr_t>(p) % TamanoDePagina(); p < fin; p += TamanoDePagina()) hacer(p);
}

}  // namespace

bool MemoriaBloqueable() {
    const size_t n = HastaPagina(1);
    char* p = Reservar(n, MAP_PRIVATE | MAP_ANONYMOUS, -1);
    if (p == nullptr) return false;
    const bool si = mlock(p, n) == 0;
    munmap(p, n);
    return si;
}

PaginasBloqueadas::PaginasBloqueadas(const void* inicio, size_t tamano) : inicio_(inicio), tamano_(tamano) {
    Cuentas& c = LasCuentas();
    const std::lock_guard guarda(c.cerrojo);
    PorPaginas(inicio_, tamano_, [&c](const char* p) {
        if (++c.paginas[p] == 1) static_cast<void>(mlock(p, TamanoDePagina()));
    });
}

PaginasBloqueadas::~PaginasBloqueadas() {
    Cuentas& c = LasCuentas();
    const std::lock_guard guarda(c.cerrojo);
    PorPaginas(inicio_, tamano_, [&c](const char* p) {
        if (--c.paginas[p] != 0) return;
        c.paginas.erase(p);
        munlock(p, TamanoDePagina());
    });
}

BloqueSecreto::BloqueSecreto(size_t capacidad)
    : datos_(Reservar(HastaPagina(capacidad), MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1)),
      capacidad_(datos_ == nullptr ? 0 : capacidad) {
    // Not in a child that is forked either.
    if (datos_ != nullptr) madvise(datos_, HastaPagina(capacidad), MADV_DONTFORK);
}

BloqueSecreto::BloqueSecreto(BloqueSecreto&& otro) noexcept
    : datos_(std::exchange(otro.datos_, nullptr)),
      capacidad_(std::exchange(otro.capacidad_, 0)),
      tamano_(std::exchange(otro.tamano_, 0)),
      bloqueado_(std::exchange(otro.bloqueado_, 0)) {}

BloqueSecreto::~BloqueSecreto() {
    if (datos_ == nullptr) return;
    Vaciar();
    munmap(datos_, HastaPagina(capacidad_));
}

char* BloqueSecreto::Hueco(size_t n) {
    if (n > Libre()) return nullptr;
    const size_t hasta = HastaPagina(tamano_ + n);
    if (hasta > bloqueado_) {
        // Before anything is written there.
        static_cast<void>(mlock(datos_ + bloqueado_, hasta - bloqueado_));
        bloqueado_ = hasta;
    }
    return datos_ + tamano_;
}

bool BloqueSecreto::Anadir(std::string_view datos) {
    char* hueco = Hueco(datos.size());
    if (hueco == nullptr) return false;
    std::copy(datos.begin(), datos.end(), hueco);
    Crecer(datos.size());
    return true;
}

void BloqueSecreto::Vaciar() {
    // What was handed out and not counted may hold something too.
    if (bloqueado_ != 0) explicit_bzero(datos_, bloqueado_);
    tamano_ = 0;
}

bool FicheroMemoria::Crear(std::initializer_list<std::string_view> trozos) {
    Quitar();
    size_t total = 0;
    for (const std::string_view trozo : trozos) total += trozo.size();
    fd_ = Api::Descriptor(memfd_create("velmora", MFD_CLOEXEC));
    if (!fd_) return false;
    if (total == 0) return true;
    tamano_ = HastaPagina(total);
    // Its pages come first: a write to one that can't be had would be a signal.
    if (posix_fallocate(fd_.Valor(), 0, static_cast<off_t>(total)) == 0)
        datos_ = Reservar(tamano_, MAP_SHARED, fd_.Valor());
    if (datos_ == nullptr) {
        Quitar();
        return false;
    }
    madvise(datos_, tamano_, MADV_DONTFORK);
    static_cast<void>(mlock(datos_, tamano_));
    char* donde = datos_;
    for (const std::string_view trozo : trozos) donde = std::copy(trozo.begin(), trozo.end(), donde);
    // Who has the descriptor reads it. Here it is only kept from the swap and wiped: a fault in this process can't tell
    // it.
    static_cast<void>(mprotect(datos_, tamano_, PROT_NONE));
    return true;
}

void FicheroMemoria::Quitar() {
    if (datos_ != nullptr) {
        if (mprotect(datos_, tamano_, PROT_READ | PROT_WRITE) == 0) explicit_bzero(datos_, tamano_);
        munmap(datos_, tamano_);
    }
    datos_ = nullptr;
    tamano_ = 0;
    static_cast<void>(fd_.Cerrar());
}

}  // namespace Lx
