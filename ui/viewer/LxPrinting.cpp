#include "ui/viewer/LxPrinting.h"

#include <algorithm>
#include <utility>

namespace Lx {

namespace {

constexpr int64_t kBandBytes = 32 << 20;
constexpr int kBytesPerPixel = 4;
// Bands begin on multiples of so many rows: at 600 dpi a third of an inch, whole pixels of any coarser printer or
// screen. Elsewhere their seams would show.
constexpr int64_t kBandStep = 200;
constexpr int kCoarseDpi = 150;  // where the document allows no more
constexpr float kPointsPerInch = 72;

}  // namespace

bool MayPrint(const Pdf::Opened& document, std::string& error) {
    error.clear();
    if (!document.mayPrint) error = "Quien hizo este documento no permite imprimirlo.";
    if (document.pages < 1) error = "No hay ningún documento que imprimir.";
    return error.empty();
}

CPrintRun::CPrintRun(Pdf::IPages& pages, std::unique_ptr<IPrintJob> job) : pages_(pages), job_(std::move(job)) {}

CPrintRun::~CPrintRun() {
    Cancel();
}

void CPrintRun::Start() {
    std::string error;
    if (!MayPrint(pages_.State(), error)) return End(error);
    NextPage();
}

void CPrintRun::Cancel() {
    if (asked_ != 0) pages_.Cancel(std::exchange(asked_, 0));
    job_.reset();
    onProgress = nullptr;
    onFinished = nullptr;
}

void CPrintRun::NextPage() {
    if (next_ == job_->Pages().size()) {
        return End(job_->Finish() ? std::string()
                                  : "La impresora no aceptó el trabajo. Comprueba que está encendida y que queda sitio "
                                    "en el disco, y vuelve a imprimir.");
    }
    ++next_;
    const auto told = onProgress;
    if (told) told(static_cast<int>(next_), static_cast<int>(job_->Pages().size()));
    // The handler may have cancelled.
    if (job_ == nullptr) return;
    asked_ = pages_.Sizes(Page(), 1, [this](Pdf::Outcome outcome, const std::vector<Pdf::PageSize>& sizes) {
        asked_ = 0;
        if (outcome != Pdf::Outcome::Good || sizes.empty()) return End(Failure());
        BeginPage(sizes.front());
    });
}

void CPrintRun::BeginPage(const Pdf::PageSize& size) {
    Size device;
    int turn = 0;
    if (!job_->BeginPage(size.width, size.height, device, turn) || device.cx < 1) {
        return End("La impresora no aceptó la página " + std::to_string(Page() + 1) +
                   ". Comprueba el papel y vuelve a imprimir.");
    }
    const float across = turn % 2 != 0 ? size.height : size.width;
    const auto most = static_cast<int>(across / kPointsPerInch * kCoarseDpi);
    tile_ = {};
    tile_.page = Page();
    tile_.width = pages_.State().mayPrintWell ? device.cx : std::clamp(most, 1, device.cx);
    tile_.turn = turn;
    tile_.forPrint = true;
    rows_ = Pdf::HeightOf(size, turn, tile_.width);
    NextBand();
}

void CPrintRun::NextBand() {
    const int top = tile_.area.y + tile_.area.h;
    if (top >= rows_) return NextPage();
    int64_t fit = std::max<int64_t>(1, kBandBytes / (int64_t{tile_.width} * kBytesPerPixel));
    if (fit > kBandStep) fit -= fit % kBandStep;
    tile_.area = {0, top, tile_.width, static_cast<int32_t>(std::min<int64_t>(fit, rows_ - top))};
    asked_ = pages_.Draw(tile_, [this](Pdf::Outcome outcome, const Pdf::Picture& picture) {
        asked_ = 0;
        TakeBand(outcome, picture);
    });
}

void CPrintRun::TakeBand(Pdf::Outcome outcome, const Pdf::Picture& picture) {
    const bool whole = picture && picture.width == tile_.area.w && picture.height == tile_.area.h;
    if (outcome != Pdf::Outcome::Good || !whole) return End(Failure());
    if (!job_->DrawBand(picture.data, picture.width, picture.height, picture.stride, tile_.area.y)) {
        return End(
            "La impresora dejó de aceptar el trabajo. Comprueba que queda sitio en el disco y vuelve a imprimir.");
    }
    NextBand();
}

std::string CPrintRun::Failure() const {
    return "No se pudo dibujar la página " + std::to_string(Page() + 1) +
           " para imprimirla. Vuelve a imprimir, o deja fuera esa página.";
}

void CPrintRun::End(const std::string& error) {
    job_.reset();
    const auto told = onFinished;
    if (told) told(error);
}

}  // namespace Lx
