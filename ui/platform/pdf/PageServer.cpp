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

namespace {

// What stands in PDFDocEncoding where Latin-1 has control characters (ISO 32000-1, D.2), from 0x80 on, and 0xA0.
constexpr char32_t kPdfDoc[] = {0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039, 0x203A, 0x2212,
                                0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A, 0x2122, 0xFB01, 0xFB02, 0x0141,
                                0x0152, 0x0160, 0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E, 0,      0x20AC};

// False when a letter has no place in it.
bool InPdfDoc(const char* utf8, std::string& encoded) {
    for (const char* p = utf8; *p != '\0'; p = g_utf8_next_char(p)) {
        const char32_t code = g_utf8_get_char(p);
        const auto* const other = std::find(std::begin(kPdfDoc), std::end(kPdfDoc), code);
        if (code >= 0x80 && other == std::end(kPdfDoc) && (code <= 0xA0 || code > 0xFF)) return false;
        encoded +=
            static_cast<char>(other == std::end(kPdfDoc) ? code : 0x80U + static_cast<char32_t>(other - kPdfDoc));
    }
    return true;
}

// As it was typed, for what was encrypted by the rules of today, and as older programs wrote it. None is ever longer
// than what was typed, so that none leaves a copy behind by growing.
std::vector<std::string> PasswordsIn(int fd) {
    constexpr size_t kMost = 1024;
    std::vector<std::string> passwords(2);
    for (std::string& password : passwords) password.reserve(kMost);
    passwords[0].resize(kMost);
    const ssize_t n = pread(fd, passwords[0].data(), kMost, 0);
    passwords[0].resize(n > 0 ? strnlen(passwords[0].data(), static_cast<size_t>(n)) : 0);
    if (g_utf8_validate(passwords[0].data(), static_cast<gssize>(passwords[0].size()), nullptr) == 0 ||
        !InPdfDoc(passwords[0].c_str(), passwords[1]) || passwords[1] == passwords[0]) {
        explicit_bzero(passwords[1].data(), passwords[1].size());
        passwords.pop_back();
    }
    return passwords;
}

}  // namespace

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
    std::vector<std::string> passwords;
    if (fds.size() > 1) passwords = PasswordsIn(fds[1]);
    answer.estado = renderer_.Open(fds[0], passwords);
    for (std::string& password : passwords) explicit_bzero(password.data(), password.size());
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
