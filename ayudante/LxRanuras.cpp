#include "ayudante/LxRanuras.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Lx::Ayudante {
namespace {

size_t EnUnidades(size_t bytes) {
    return bytes / kUnidad + (bytes % kUnidad != 0 ? 1 : 0);
}

}  // namespace

Ranura::Ranura(Ranura&& otra) noexcept
    : de_(std::move(otra.de_)), desde_(otra.desde_), bytes_(std::exchange(otra.bytes_, 0)) {}

Ranura& Ranura::operator=(Ranura&& otra) noexcept {
    Dejar();
    de_ = std::move(otra.de_);
    desde_ = otra.desde_;
    bytes_ = std::exchange(otra.bytes_, 0);
    return *this;
}

void Ranura::Dejar() {
    if (de_) de_->Devolver(desde_, bytes_);
    de_.reset();
}

unsigned char* Ranura::Datos() const {
    return de_ ? de_->vista_ + desde_ : nullptr;
}

void Ranura::Encoger(size_t bytes) {
    const size_t quedan = std::max<size_t>(EnUnidades(bytes), 1) * kUnidad;
    if (!de_ || quedan >= EnUnidades(bytes_) * kUnidad) return;
    de_->Devolver(desde_ + quedan, bytes_ - quedan);
    bytes_ = quedan;
}

std::shared_ptr<Ranuras> Ranuras::Crear(size_t bytes) {
    Api::Descriptor memoria(memfd_create("ranuras", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    // Its size never changes, so reading it can't fail whatever the other process does.
    if (!memoria || ftruncate(memoria.Valor(), static_cast<off_t>(bytes)) != 0 ||
        fcntl(memoria.Valor(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return nullptr;
    void* const vista = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, memoria.Valor(), 0);
    if (vista == MAP_FAILED) return nullptr;
    return std::shared_ptr<Ranuras>(new Ranuras(std::move(memoria), static_cast<unsigned char*>(vista), bytes));
}

Ranuras::Ranuras(Api::Descriptor memoria, unsigned char* vista, size_t bytes)
    : memoria_(std::move(memoria)), vista_(vista), unidades_(bytes / kUnidad, Unidad::Intacta) {
    new (vista_) Cabecera{};
    unidades_.front() = Unidad::Tomada;
}

Ranuras::~Ranuras() {
    munmap(vista_, unidades_.size() * kUnidad);
}

Ranura Ranuras::Tomar(size_t bytes) {
    const size_t hacen = EnUnidades(bytes);
    size_t seguidas = 0;
    for (size_t i = 0; i < unidades_.size() && hacen > 0; ++i) {
        seguidas = unidades_[i] == Unidad::Tomada ? 0 : seguidas + 1;
        if (seguidas < hacen) continue;
        const auto primera = unidades_.begin() + static_cast<std::ptrdiff_t>(i + 1 - hacen);
        guardadas_ -=
            static_cast<size_t>(std::count(primera, primera + static_cast<std::ptrdiff_t>(hacen), Unidad::Usada));
        std::fill_n(primera, hacen, Unidad::Tomada);
        return Ranura(shared_from_this(), (i + 1 - hacen) * kUnidad, bytes);
    }
    return Ranura();
}

void Ranuras::Devolver(size_t desde, size_t bytes) {
    const size_t primera = desde / kUnidad, hacen = EnUnidades(bytes);
    std::fill_n(unidades_.begin() + static_cast<std::ptrdiff_t>(primera), hacen, Unidad::Usada);
    guardadas_ += hacen;
    if (guardadas_ > kGuardado / kUnidad) Perforar(primera, primera + hacen);
}

void Ranuras::Anular(uint32_t numero) {
    auto& anulados = reinterpret_cast<Cabecera*>(vista_)->anulados;
    anulados[numero % std::size(anulados)].store(numero, std::memory_order_release);
}

void Ranuras::OlvidarAnulados() {
    for (auto& numero : reinterpret_cast<Cabecera*>(vista_)->anulados) numero.store(0, std::memory_order_release);
}

void Ranuras::Perforar(size_t primera, size_t fin) {
    if (fallocate(memoria_.Valor(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(primera * kUnidad),
                  static_cast<off_t>((fin - primera) * kUnidad)) != 0)
        return;
    std::fill(unidades_.begin() + static_cast<std::ptrdiff_t>(primera),
              unidades_.begin() + static_cast<std::ptrdiff_t>(fin), Unidad::Intacta);
    guardadas_ -= fin - primera;
}

void Ranuras::Vaciar() {
    for (size_t i = 0; i < unidades_.size(); ++i) {
        size_t fin = i;
        while (fin < unidades_.size() && unidades_[fin] == Unidad::Usada) ++fin;
        if (fin == i) continue;
        Perforar(i, fin);
        i = fin;
    }
}

}  // namespace Lx::Ayudante
