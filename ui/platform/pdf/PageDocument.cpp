#include "ui/platform/pdf/PageDocument.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "ui/platform/pdf/PageContent.h"

namespace Lx::Pdf {
namespace {

using Api::Descriptor;
using Ayudante::Estado;
using Ayudante::Noticia;
using std::chrono::milliseconds;

constexpr const char* kCantOpen = "No se pudo abrir el PDF (archivo inexistente o dañado).";
constexpr const char* kLocked = "El PDF esta protegido con contraseña.";
constexpr const char* kNoMemory = "Sin memoria para rasterizar la pagina.";
constexpr const char* kBadSize = "La pagina tiene un tamano invalido.";
constexpr const char* kNotDrawn = "No se pudo dibujar la pagina.";
constexpr const char* kProgramClosed = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
constexpr const char* kNoProgram = "No se pudo iniciar el programa que dibuja las paginas (velmora-pagina).";
constexpr const char* kMute = "No se pudo dibujar la pagina: el programa que la dibuja no responde.";

// A page nobody wants any more may still be in the works. It is waited for as long as starting again would cost, which
// is the opening of the document and never less than this; then the process is ended, the only way to stop it.
constexpr milliseconds kPatience{250};

// A whole page of as many pixels as there may be, and a bit for one that is wider than long.
constexpr size_t kSlots = size_t{Ayudante::kMaxPixeles} * 4 + 8 * Ayudante::kUnidad;

milliseconds Since(PageDocument::Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(PageDocument::Clock::now() - start);
}

// From words 0xffRRGGBB of the machine to bytes R, G, B, A.
void Convert(const unsigned char* source, std::vector<unsigned char>& target) {
    for (size_t i = 0; i < target.size(); i += 4) {
        uint32_t pixel;
        std::memcpy(&pixel, source + i, 4);
        pixel = (pixel & 0xFF00FF00) | ((pixel >> 16) & 0xFF) | ((pixel & 0xFF) << 16);
        std::memcpy(target.data() + i, &pixel, 4);
    }
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

PageDocument::PageDocument(Descriptor content, std::shared_ptr<Ayudante::Ranuras> slots, milliseconds limit)
    : content_(std::move(content)), slots_(std::move(slots)), limit_(limit) {}

std::unique_ptr<PageDocument> PageDocument::Open(const std::string& path, std::string& error, milliseconds limit) {
    error.clear();
    if (path.empty()) {
        error = "Ruta de archivo invalida.";
        return nullptr;
    }
    Descriptor content = CopyOf(path);
    auto slots = Ayudante::Ranuras::Crear(kSlots / Ayudante::kUnidad * Ayudante::kUnidad);
    if (!content || !slots) {
        error = kCantOpen;
        return nullptr;
    }
    std::unique_ptr<PageDocument> doc(new PageDocument(std::move(content), std::move(slots), limit));
    if (!doc->AwaitOpening(error)) return nullptr;
    return doc;
}

bool PageDocument::AwaitOpening(std::string& error) {
    const auto start = Clock::now();
    since_ = start;
    if (!StartProgram()) error = kNoProgram;
    while (error.empty()) {
        const milliseconds gone = Since(since_);
        switch (program_->Leer(std::max(limit_ - gone, milliseconds(0)))) {
            case Noticia::Nada:
                if (gone >= limit_) error = "El PDF tarda demasiado en abrirse.";
                break;
            case Noticia::Saludo:
                since_ = Clock::now();
                break;
            case Noticia::Contesta:
                opening_ = Since(start);
                pages_ = program_->Ultima().valor;
                isOpening_ = false;
                if (program_->Ultima().estado == Estado::Bien) return true;
                error = program_->Ultima().estado == Estado::Protegido ? kLocked : kCantOpen;
                break;
            case Noticia::SinMuros:
                error = Ayudante::ExplicarFalta(program_->LosMuros());
                break;
            case Noticia::Mudo:
                error = kMute;
                break;
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

bool PageDocument::StartProgram() {
    program_ = Ayudante::Programa::Arrancar(slots_->Memoria());
    isOpening_ = true;
    return program_ && program_->Pedir({}, {content_.Valor()}) != 0;
}

bool PageDocument::Ask(const Sheet& sheet) {
    slot_ = {};
    slot_ = slots_->Tomar(kSlots - 2 * Ayudante::kUnidad);
    Ayudante::Peticion request;
    request.orden = Ayudante::Orden::Dibujar;
    request.pagina = sheet.page;
    request.total = request.ancho = sheet.width;
    request.paso = static_cast<uint32_t>(sheet.width) * 4;
    request.ranura = slot_.Desde();
    request.bytes = static_cast<uint32_t>(slot_.Bytes());
    return program_->Pedir(request) != 0;
}

// Either it is being drawn afterwards or `done_` says why not.
void PageDocument::Request(const Sheet& sheet) {
    done_.reset();
    underway_ = sheet;
    since_ = Clock::now();
    // A process that ended while it had nothing to do is no fault of this page.
    if (program_ && Ask(sheet)) return;
    const bool started = StartProgram();
    if (!program_)
        Fail(kNoProgram);
    else if (!started || !Ask(sheet))
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
        case Noticia::Contesta:
            Answered();
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
        case Noticia::Fin:
            FailByDeath();
    }
}

void PageDocument::Answered() {
    since_ = Clock::now();
    const Estado state = program_->Ultima().estado;
    if (isOpening_) {
        isOpening_ = false;
        if (state != Estado::Bien) FailByDeath();
    } else if (state != Estado::Bien) {
        Fail(Sentence(state));
    } else {
        Deliver();
    }
}

void PageDocument::Deliver() {
    Raster raster{underway_->width, program_->Ultima().valor, {}};
    raster.pixels.resize(static_cast<size_t>(raster.width) * static_cast<size_t>(raster.height) * 4);
    Convert(slot_.Datos(), raster.pixels);
    // What a page of usual size takes is kept for the next one.
    slot_.Encoger(raster.pixels.size());
    slot_ = {};
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

IDocument* Open(const std::string& path, std::string& error) {
    return PageDocument::Open(path, error).release();
}

}  // namespace Lx::Pdf
