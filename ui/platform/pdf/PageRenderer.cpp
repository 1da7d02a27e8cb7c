#include "ui/platform/pdf/PageRenderer.h"

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-image.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "ui/platform/pdf/KeptStamps.h"

namespace Lx::Pdf {
namespace {

using Ayudante::kMaxPixeles;

// Size of the page as it is seen, in points.
bool Measure(const poppler::page& page, double& width, double& height) {
    const poppler::rectf box = page.page_rect(poppler::crop_box);
    const auto orientation = page.orientation();
    const bool sideways = orientation == poppler::page::landscape || orientation == poppler::page::seascape;
    width = sideways ? box.height() : box.width();
    height = sideways ? box.width() : box.height();
    return std::isfinite(width) && std::isfinite(height) && width > 0 && height > 0;
}

// From words 0xAARRGGBB in the machine's order, with rows of any length, to bytes R, G, B, A without gaps. False when a
// pixel isn't opaque: on white paper every one is, unless poppler drew nothing.
bool Convert(const poppler::image& image, char* target) {
    const int width = image.width();
    uint32_t opaque = 0xFF000000;
    for (int y = 0; y < image.height(); ++y) {
        const char* source = image.const_data() + static_cast<size_t>(y) * static_cast<size_t>(image.bytes_per_row());
        for (int x = 0; x < width; ++x, source += 4, target += 4) {
            uint32_t pixel;
            std::memcpy(&pixel, source, 4);
            opaque &= pixel;
            pixel = (pixel & 0xFF00FF00) | ((pixel >> 16) & 0xFF) | ((pixel & 0xFF) << 16);
            std::memcpy(target, &pixel, 4);
        }
    }
    return opaque == 0xFF000000;
}

// Where the window looks for the pixels.
Estado Deliver(const poppler::image& image, int target) {
    const size_t bytes = static_cast<size_t>(image.width()) * static_cast<size_t>(image.height()) * 4;
    void* const view = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, target, 0);
    if (view == MAP_FAILED) return Estado::SinMemoria;
    const bool good = Convert(image, static_cast<char*>(view));
    munmap(view, bytes);
    return good ? Estado::Bien : Estado::SinDibujar;
}

void Silence(const std::string&, void*) {}

}  // namespace

PageRenderer::PageRenderer() {
    poppler::set_debug_error_function(Silence, nullptr);
}
PageRenderer::~PageRenderer() = default;

Estado PageRenderer::Open(int fd) {
    struct stat info {};
    if (fstat(fd, &info) != 0 || info.st_size < 1 || info.st_size > INT_MAX) return Estado::Danado;
    const auto size = static_cast<size_t>(info.st_size);
    // Never unmapped: poppler reads from it as long as the process lives.
    void* const view = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (view == MAP_FAILED) return Estado::SinMemoria;
    const std::string_view original(static_cast<const char*>(view), size);
    if (const std::string stamps = KeptStamps(original); !stamps.empty()) {
        if (size + stamps.size() > INT_MAX) return Estado::SinMemoria;
        stamped_.reserve(size + stamps.size());
        stamped_.append(original).append(stamps);
    }
    const std::string_view content = stamped_.empty() ? original : stamped_;
    document_.reset(poppler::document::load_from_raw_data(content.data(), static_cast<int>(content.size())));
    if (!document_) return Estado::Danado;
    if (document_->is_locked()) return Estado::Protegido;
    return document_->pages() > 0 ? Estado::Bien : Estado::Danado;
}

int PageRenderer::PageCount() const {
    return document_->pages();
}

Estado PageRenderer::Draw(int page, int width, int target, int& height) const {
    const std::unique_ptr<poppler::page> sheet(document_->create_page(page));
    double pointsWide = 0, pointsHigh = 0;
    if (!sheet) return Estado::SinDibujar;
    if (!Measure(*sheet, pointsWide, pointsHigh) || width < 1) return Estado::TamanoInvalido;
    const double exactHeight = pointsHigh * width / pointsWide;
    if (exactHeight * width > static_cast<double>(kMaxPixeles)) return Estado::SinMemoria;
    height = std::max(1, static_cast<int>(std::lround(exactHeight)));

    poppler::page_renderer painter;
    painter.set_image_format(poppler::image::format_argb32);
    painter.set_render_hint(poppler::page_renderer::antialiasing, true);
    painter.set_render_hint(poppler::page_renderer::text_antialiasing, true);
    const poppler::image image =
        painter.render_page(sheet.get(), 72.0 * width / pointsWide, 72.0 * height / pointsHigh, 0, 0, width, height);
    if (!image.is_valid() || image.format() != poppler::image::format_argb32 || image.width() != width ||
        image.height() != height || image.bytes_per_row() / 4 < width)
        return Estado::SinDibujar;
    return Deliver(image, target);
}

}  // namespace Lx::Pdf
