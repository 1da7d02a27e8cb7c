#include "ui/platform/pdf/PageServer.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>

namespace Lx::Pdf {

using Ayudante::Orden;
using Ayudante::Peticion;
using Ayudante::Respuesta;
using Clock = std::chrono::steady_clock;

// What sizes may cost while the first page waits behind them.
constexpr auto kSizesAtOpening = std::chrono::microseconds(500);

bool PageServer::MapSlots(int fd) {
    struct stat info {};
    if (fstat(fd, &info) != 0 || info.st_size < static_cast<off_t>(Ayudante::kUnidad)) return false;
    bytes_ = static_cast<size_t>(info.st_size);
    void* const view = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, fd, 0);
    if (view == MAP_FAILED) return false;
    slots_ = static_cast<unsigned char*>(view);
    return true;
}

bool PageServer::Fits(const Peticion& request) const {
    return request.bytes == 0 || (request.ranura >= Ayudante::kUnidad && request.ranura < bytes_ &&
                                  request.bytes <= bytes_ - request.ranura && request.entrada <= request.bytes);
}

bool PageServer::IsUnwanted(uint32_t number) const {
    const auto& unwanted = reinterpret_cast<const Ayudante::Cabecera*>(slots_)->anulados;
    return unwanted[number % std::size(unwanted)].load(std::memory_order_acquire) == number;
}

Respuesta PageServer::Answer(const Peticion& request, const std::vector<int>& fds) {
    Respuesta answer{request.numero, Estado::SinDibujar, 0, 0, 0};
    if (!Fits(request)) return answer;
    unsigned char* const slot = slots_ + request.ranura;
    if (IsUnwanted(request.numero)) {
        answer.estado = Estado::Anulado;
    } else if (request.orden == Orden::Abrir) {
        if (!isOpen_) Open(request, fds, answer);
    } else if (!isOpen_) {
        answer.estado = Estado::Danado;
    } else if (request.orden == Orden::Dibujar) {
        answer.estado = renderer_.Draw(request, slot, answer.valor);
    } else {
        Read(request, slot, answer);
    }
    return answer;
}

void PageServer::Read(const Peticion& request, unsigned char* slot, Respuesta& answer) {
    Ayudante::Escritor writer(slot, request.bytes);
    answer.estado = Estado::Bien;
    bool end = false;
    switch (request.orden) {
        case Orden::Medidas:
            answer.bytes = WriteSizes(request.pagina, request.cuantos, slot, request.bytes);
            return;
        case Orden::Texto:
            if (const SheetRef sheet = renderer_.Sheet(request.pagina))
                for (const Glyph& glyph : TextOf(sheet.get(), true).glyphs)
                    if (!writer.Poner(glyph)) break;
            break;
        case Orden::Buscar:
            answer.valor = search_.Search(renderer_, request, slot, answer.bytes);
            return;
        case Orden::Enlaces:
            WriteLinks(renderer_, request.pagina, writer);
            break;
        case Orden::Indice:
            WriteOutline(renderer_, writer);
            break;
        case Orden::Adjuntos:
            files_.Write(renderer_, writer);
            break;
        case Orden::Adjunto:
            answer.estado =
                files_.Read(renderer_, request.pagina, request.desde, slot, request.bytes, answer.bytes, end);
            answer.valor = end ? 1 : 0;
            return;
        default:
            answer.estado = Estado::SinDibujar;
    }
    answer.bytes = writer.Escritos();
}

void PageServer::Open(const Peticion& request, const std::vector<int>& fds, Respuesta& answer) {
    if (fds.empty()) return;
    std::string password;
    if (fds.size() > 1) {
        char text[1024];
        const ssize_t n = pread(fds[1], text, sizeof text, 0);
        if (n > 0) password.assign(text, strnlen(text, static_cast<size_t>(n)));
        explicit_bzero(text, sizeof text);
    }
    answer.estado = renderer_.Open(fds[0], fds.size() > 1 ? password.c_str() : nullptr);
    explicit_bzero(password.data(), password.capacity());
    isOpen_ = answer.estado == Estado::Bien;
    if (!isOpen_) return;
    answer.valor = renderer_.PageCount();
    answer.banderas = renderer_.Flags();
    const auto start = Clock::now();
    for (int32_t first = 0; first < std::min(answer.valor, Ayudante::kMaxMedidas); ++first) {
        if (first > 0 && Clock::now() - start > kSizesAtOpening) break;
        unsigned char* const slot = slots_ + request.ranura + answer.bytes;
        answer.bytes += WriteSizes(first, 1, slot, request.bytes - answer.bytes);
    }
}

// A page without a size counts as empty, which the window makes into something.
uint32_t PageServer::WriteSizes(int32_t first, int32_t count, unsigned char* slot, size_t bytes) const {
    uint32_t written = 0;
    for (int32_t i = 0; i < std::min(count, Ayudante::kMaxMedidas) && bytes - written >= sizeof(PageSize); ++i) {
        PageSize size;
        const SheetRef sheet = renderer_.Sheet(first + i);
        if (!sheet || !PageRenderer::Measure(sheet.get(), size)) size = {};
        std::memcpy(slot + written, &size, sizeof size);
        written += static_cast<uint32_t>(sizeof size);
    }
    return written;
}

}  // namespace Lx::Pdf
