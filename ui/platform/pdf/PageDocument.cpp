#include "ui/platform/pdf/PageDocument.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

namespace Lx::Pdf {
namespace {

using Api::Descriptor;
using Ayudante::Estado;
using Ayudante::Noticia;
using std::chrono::milliseconds;

constexpr const char* kCantOpen = "No se pudo abrir el PDF (archivo inexistente o dañado).";
constexpr const char* kNoMemory = "Sin memoria para rasterizar la pagina.";
constexpr const char* kBadSize = "La pagina tiene un tamano invalido.";
constexpr const char* kNotDrawn = "No se pudo dibujar la pagina.";
constexpr const char* kProgramClosed = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
constexpr const char* kNoProgram = "No se pudo iniciar el programa que dibuja las paginas (velmora-pagina).";
constexpr const char* kMute = "No se pudo dibujar la pagina: el programa que la dibuja no responde.";

// A page nobody wants any more may still be in the works. It is waited for as long as starting again would cost, which
// is the opening of the document and never less than this; then the process is ended, the only way to stop it.
constexpr milliseconds kPatience{250};

constexpr size_t kBytesKept = size_t{64} << 20;

milliseconds Since(PageDocument::Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(PageDocument::Clock::now() - start);
}

Descriptor Memory(const char* name) {
    return Descriptor(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING));
}

bool Seal(const Descriptor& memory, int seals) {
    return fcntl(memory.Valor(), F_ADD_SEALS, seals | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0;
}

bool WriteAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// The file as it is now, in memory that nobody can change: what is shown doesn't depend on what becomes of the file.
Descriptor CopyOf(const std::string& path) {
    // A pipe in the place of a file must not make the window wait for who writes into it.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat info {};
    if (!file || fstat(file.Valor(), &info) != 0 || !S_ISREG(info.st_mode)) return Descriptor();
    Descriptor memory = Memory("documento");
    if (!memory) return Descriptor();
    std::vector<char> chunk(1 << 20);
    int64_t total = 0;
    while (true) {
        const ssize_t n = read(file.Valor(), chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Descriptor();
        if (n == 0) break;
        total += n;
        if (total > INT_MAX || !WriteAll(memory.Valor(), chunk.data(), static_cast<size_t>(n))) return Descriptor();
    }
    if (total == 0 || !Seal(memory, F_SEAL_WRITE)) return Descriptor();
    return memory;
}

// Its size never changes, so reading it can't fail whatever the other process does.
Descriptor RoomForPixels() {
    Descriptor memory = Memory("pixeles");
    if (!memory || ftruncate(memory.Valor(), Ayudante::kBytesPixeles) != 0 || !Seal(memory, 0)) return Descriptor();
    return memory;
}

const char* Sentence(Estado state) {
    switch (state) {
        case Estado::TamanoInvalido:
            return kBadSize;
        case Estado::SinMemoria:
            return kNoMemory;
        default:
            return kNotDrawn;
    }
}

}  // namespace

PageDocument::PageDocument(Descriptor content, Descriptor pixels, milliseconds limit)
    : content_(std::move(content)), pixels_(std::move(pixels)), limit_(limit) {}

std::unique_ptr<PageDocument> PageDocument::Open(const std::string& path, std::string& error, milliseconds limit) {
    error.clear();
    if (path.empty()) {
        error = "Ruta de archivo invalida.";
        return nullptr;
    }
    Descriptor content = CopyOf(path);
    Descriptor pixels = RoomForPixels();
    if (!content || !pixels) {
        error = kCantOpen;
        return nullptr;
    }
    std::unique_ptr<PageDocument> doc(new PageDocument(std::move(content), std::move(pixels), limit));
    if (!doc->AwaitOpening(error)) return nullptr;
    return doc;
}

bool PageDocument::AwaitOpening(std::string& error) {
    const auto start = Clock::now();
    since_ = start;
    program_ = Ayudante::Programa::Arrancar(content_, pixels_);
    if (!program_) error = kNoProgram;
    while (error.empty()) {
        const milliseconds gone = Since(since_);
        switch (program_->Leer(std::max(limit_ - gone, milliseconds(0)))) {
            case Noticia::Nada:
                if (gone >= limit_) error = "El PDF tarda demasiado en abrirse.";
                break;
            case Noticia::Saludo:
                since_ = Clock::now();
                break;
            case Noticia::Abierto:
                opening_ = Since(start);
                pages_ = program_->Ultima().ancho;
                return true;
            case Noticia::SinMuros:
                error = Ayudante::ExplicarFalta(program_->LosMuros());
                break;
            case Noticia::Mudo:
                error = kMute;
                break;
            case Noticia::NoAbierto:
                if (program_->Ultima().estado == Estado::Protegido) {
                    error = "El PDF esta protegido con contraseña.";
                    break;
                }
                [[fallthrough]];
            default:
                error = kCantOpen;
        }
    }
    return false;
}

bool PageDocument::Admits(int page, int width, std::string& error) const {
    if (page < 0 || page >= pages_)
        error = "Pagina fuera de rango (" + std::to_string(int64_t{page} + 1) + " de " + std::to_string(pages_) + ").";
    else if (width < 1)
        error = kBadSize;
    return error.empty();
}

bool PageDocument::RenderPage(int page, int width, Raster& out, std::string& error) {
    error.clear();
    out = {};
    if (!Admits(page, width, error)) return false;
    while (!WaitForPage(page, width, static_cast<int>(limit_.count()))) {
    }
    error = std::move(done_->error);
    out = std::move(done_->raster);
    done_.reset();
    return error.empty();
}

bool PageDocument::WaitForPage(int page, int width, int ms) {
    std::string error;
    if (!Admits(page, width, error)) return true;
    const Sheet sheet{page, width};
    const auto deadline = Clock::now() + milliseconds(std::max(ms, 0));
    while (true) {
        // What was drawn ahead may be answered since: then the process is free, however long ago it was asked.
        if (underway_ && *underway_ != sheet) Attend(milliseconds(0));
        if (done_ && done_->sheet == sheet) return true;
        const auto now = Clock::now();
        if (underway_ && IsInTheWay(sheet, now)) Abandon();
        if (!underway_) {
            Request(sheet);
            continue;
        }
        // Looked at once even without time to wait: it may be there.
        auto wait = std::max(std::chrono::duration_cast<milliseconds>(deadline - now), milliseconds(0));
        if (*underway_ != sheet) wait = std::min(wait, std::max(kPatience, opening_));
        Attend(wait);
        if (underway_ && Clock::now() >= deadline) return false;
    }
}

void PageDocument::RenderAhead(int page, int width) {
    const Sheet sheet{page, width};
    std::string error;
    if (!Admits(page, width, error) || underway_ || (done_ && done_->sheet == sheet)) return;
    Request(sheet);
}

bool PageDocument::IsInTheWay(const Sheet& sheet, Clock::time_point now) const {
    return *underway_ != sheet && !isOpening_ && now - since_ >= std::max(kPatience, opening_);
}

// Either it is being drawn afterwards or `done_` says why not.
void PageDocument::Request(const Sheet& sheet) {
    done_.reset();
    underway_ = sheet;
    since_ = Clock::now();
    // A process that ended while it had nothing to do is no fault of this page.
    if (program_ && program_->Pedir(sheet.page, sheet.width)) return;
    program_ = Ayudante::Programa::Arrancar(content_, pixels_);
    isOpening_ = true;
    if (!program_)
        Fail(kNoProgram);
    else if (!program_->Pedir(sheet.page, sheet.width))
        FailByDeath();
}

void PageDocument::Abandon() {
    program_.reset();
    underway_.reset();
}

void PageDocument::Attend(milliseconds wait) {
    const auto left = std::max(limit_ - Since(since_), milliseconds(0));
    switch (program_->Leer(std::min(wait, left))) {
        case Noticia::Saludo:
            since_ = Clock::now();
            break;
        case Noticia::Abierto:
            isOpening_ = false;
            since_ = Clock::now();
            break;
        case Noticia::Hoja:
            Deliver();
            break;
        case Noticia::SinHoja:
            Fail(Sentence(program_->Ultima().estado));
            break;
        case Noticia::SinMuros:
            Fail(Ayudante::ExplicarFalta(program_->LosMuros()));
            program_.reset();
            break;
        case Noticia::Nada:
            if (Since(since_) < limit_) break;
            program_.reset();
            Fail("La pagina tarda demasiado en dibujarse.");
            break;
        case Noticia::Mudo:
            program_.reset();
            Fail(kMute);
            break;
        case Noticia::NoAbierto:
        case Noticia::Fin:
            FailByDeath();
    }
}

void PageDocument::Deliver() {
    Raster raster;
    if (!CopyPixels(raster)) return FailByDeath();
    done_ = Done{*underway_, {}, std::move(raster)};
    underway_.reset();
}

void PageDocument::Fail(std::string sentence) {
    done_ = Done{*underway_, std::move(sentence), {}};
    underway_.reset();
}

// Of a process that says nonsense too: it isn't ours any more.
void PageDocument::FailByDeath() {
    const int status = program_->Acabar();
    program_.reset();
    Fail(status == Ayudante::kSalidaSinMemoria ? kNoMemory : kProgramClosed);
}

bool PageDocument::CopyPixels(Raster& raster) const {
    const Ayudante::Respuesta& answer = program_->Ultima();
    const size_t bytes = static_cast<size_t>(answer.ancho) * static_cast<size_t>(answer.alto) * 4;
    void* const view = mmap(nullptr, bytes, PROT_READ, MAP_SHARED | MAP_POPULATE, pixels_.Valor(), 0);
    if (view == MAP_FAILED) return false;
    const auto* const pixels = static_cast<const unsigned char*>(view);
    raster.width = answer.ancho;
    raster.height = answer.alto;
    raster.pixels.assign(pixels, pixels + bytes);
    munmap(view, bytes);
    // What a page of usual size takes is kept for the next one.
    if (bytes > kBytesKept)
        fallocate(pixels_.Valor(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, Ayudante::kBytesPixeles);
    return true;
}

IDocument* Open(const std::string& path, std::string& error) {
    return PageDocument::Open(path, error).release();
}

}  // namespace Lx::Pdf
