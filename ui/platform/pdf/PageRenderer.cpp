#include "ui/platform/pdf/PageRenderer.h"

#include <gio/gio.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <string_view>

#include "ui/platform/pdf/KeptStamps.h"

namespace Lx::Pdf {
namespace {

using Ayudante::kMaxPixeles;
using Ayudante::Peticion;

// From points of the page to device pixels of it, whole and as the view turns it.
cairo_matrix_t Placement(const PageSize& size, int32_t turn, int32_t width) {
    const double across = width, along = HeightOf(size, turn, width);
    const double w = size.width, h = size.height;
    cairo_matrix_t m;
    switch (turn) {
        case 1:
            cairo_matrix_init(&m, 0, along / w, -across / h, 0, across, 0);
            break;
        case 2:
            cairo_matrix_init(&m, -across / w, 0, 0, -along / h, across, along);
            break;
        case 3:
            cairo_matrix_init(&m, 0, -along / w, across / h, 0, 0, along);
            break;
        default:
            cairo_matrix_init(&m, across / w, 0, 0, along / h, 0, 0);
    }
    return m;
}

// The fourth byte is nobody's while cairo draws.
void MakeOpaque(unsigned char* rows, size_t bytes) {
    for (size_t i = 0; i < bytes; i += 4) {
        uint32_t pixel;
        std::memcpy(&pixel, rows + i, 4);
        pixel |= 0xFF000000;
        std::memcpy(rows + i, &pixel, 4);
    }
}

bool RenderSheet(PopplerPage* sheet, bool forPrint, cairo_t* cairo) {
    if (forPrint) {
        poppler_page_render_for_printing(sheet, cairo);
    } else {
        poppler_page_render(sheet, cairo);
    }
    return cairo_status(cairo) == CAIRO_STATUS_SUCCESS;
}

}  // namespace

Estado PageRenderer::Open(int fd, const std::vector<std::string>& passwords) {
    struct stat info {};
    if (fstat(fd, &info) != 0 || info.st_size < 1 || info.st_size > INT_MAX) return Estado::Danado;
    const auto size = static_cast<size_t>(info.st_size);
    // Never unmapped: poppler reads from it as long as the process lives.
    void* const view = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (view == MAP_FAILED) return Estado::SinMemoria;
    const std::string_view original(static_cast<const char*>(view), size);
    if (const std::string stamps = KeptStamps(original, isEncrypted_); !stamps.empty()) {
        if (size + stamps.size() > INT_MAX) return Estado::SinMemoria;
        stamped_.reserve(size + stamps.size());
        stamped_.append(original).append(stamps);
    }
    content_ = stamped_.empty() ? original : stamped_;
    Estado state = Load(content_, nullptr);
    for (size_t i = 0; i < passwords.size() && state == Estado::Protegido; ++i)
        state = Load(content_, passwords[i].c_str());
    return state;
}

Estado PageRenderer::Load(std::string_view content, const char* password) {
    GBytes* const bytes = g_bytes_new_static(content.data(), content.size());
    GError* error = nullptr;
    if (password == nullptr) {
        document_.reset(poppler_document_new_from_bytes(bytes, nullptr, &error));
    } else {
        // The way above ends the process when the password is wrong (poppler 22.12).
        GInputStream* const stream = g_memory_input_stream_new_from_bytes(bytes);
        const auto length = static_cast<goffset>(content.size());
        document_.reset(poppler_document_new_from_stream(stream, length, password, nullptr, &error));
        g_object_unref(stream);
    }
    g_bytes_unref(bytes);
    const bool locked = error != nullptr && g_error_matches(error, POPPLER_ERROR, POPPLER_ERROR_ENCRYPTED) != 0;
    g_clear_error(&error);
    isEncrypted_ = isEncrypted_ || locked;
    if (!document_) return locked ? Estado::Protegido : Estado::Danado;
    return PageCount() > 0 ? Estado::Bien : Estado::Danado;
}

uint32_t PageRenderer::Flags() const {
    constexpr auto kPrint = POPPLER_PERMISSIONS_OK_TO_PRINT, kWell = POPPLER_PERMISSIONS_OK_TO_PRINT_HIGH_RESOLUTION;
    const auto may = poppler_document_get_permissions(document_.get());
    return (isEncrypted_ ? Ayudante::kCifrado : 0) | ((may & kPrint) != 0 ? 0 : Ayudante::kNoImprimir) |
           ((may & kWell) != 0 ? 0 : Ayudante::kNoImprimirBien);
}

int PageRenderer::PageCount() const {
    return poppler_document_get_n_pages(document_.get());
}

SheetRef PageRenderer::Sheet(int page) const {
    return SheetRef(page >= 0 && page < PageCount() ? poppler_document_get_page(document_.get(), page) : nullptr);
}

bool PageRenderer::Measure(PopplerPage* sheet, PageSize& size) {
    double width = 0, height = 0;
    poppler_page_get_size(sheet, &width, &height);
    size = {static_cast<float>(width), static_cast<float>(height)};
    return std::isfinite(size.width) && std::isfinite(size.height) && size.width > 0 && size.height > 0;
}

// Poppler's interface keeps it to itself.
int32_t PageRenderer::TurnOf(int page) const {
    if (!turns_) turns_ = std::make_unique<PageTurns>(content_);
    if (turns_->Count() == static_cast<size_t>(PageCount())) return turns_->Of(static_cast<size_t>(page));
    const SheetRef sheet = Sheet(page);
    PopplerRectangle crop{};
    PageSize size;
    if (!sheet || !Measure(sheet.get(), size)) return -1;
    poppler_page_get_crop_box(sheet.get(), &crop);
    // In a document that only poppler can read: hardly any page stands on its head.
    return std::abs(crop.y2 - crop.y1 - size.height) <= 1 ? 0 : -1;
}

bool PageRenderer::Record(const Peticion& request, const PageSize& size, PopplerPage* sheet) {
    const bool forPrint = (request.banderas & Ayudante::kParaImprimir) != 0;
    if (recording_.surface && recording_.page == request.pagina && recording_.total == request.total &&
        recording_.turn == request.giro && recording_.forPrint == forPrint)
        return true;
    recording_ = {};
    const cairo_rectangle_t whole{0, 0, static_cast<double>(request.total),
                                  static_cast<double>(HeightOf(size, request.giro, request.total))};
    SurfaceRef surface(cairo_recording_surface_create(CAIRO_CONTENT_COLOR, &whole));
    const CairoRef cairo(cairo_create(surface.get()));
    const cairo_matrix_t placement = Placement(size, request.giro, request.total);
    cairo_set_source_rgb(cairo.get(), 1, 1, 1);
    cairo_paint(cairo.get());
    // In device pixels: images are kept as small as they are drawn.
    cairo_transform(cairo.get(), &placement);
    if (!RenderSheet(sheet, forPrint, cairo.get())) return false;
    recording_ = {request.pagina, request.total, request.giro, forPrint, std::move(surface)};
    return true;
}

bool PageRenderer::Paint(const Peticion& request, const PageSize& size, PopplerPage* sheet, cairo_surface_t* target) {
    const CairoRef cairo(cairo_create(target));
    const bool isPart = request.x != 0 || request.y != 0 || request.ancho != request.total ||
                        request.alto != HeightOf(size, request.giro, request.total);
    if (isPart && request.alto > 0) {
        if (!Record(request, size, sheet)) return false;
        cairo_set_source_surface(cairo.get(), recording_.surface.get(), -request.x, -request.y);
        cairo_paint(cairo.get());
        return cairo_status(cairo.get()) == CAIRO_STATUS_SUCCESS;
    }
    recording_ = {};
    cairo_translate(cairo.get(), -request.x, -request.y);
    const cairo_matrix_t placement = Placement(size, request.giro, request.total);
    cairo_transform(cairo.get(), &placement);
    return RenderSheet(sheet, (request.banderas & Ayudante::kParaImprimir) != 0, cairo.get());
}

Estado PageRenderer::Draw(const Peticion& request, unsigned char* target, int32_t& rows) {
    const SheetRef sheet = Sheet(request.pagina);
    PageSize size;
    if (!sheet) return Estado::SinDibujar;
    if (!Measure(sheet.get(), size) || request.total < 1 || request.ancho < 1) return Estado::TamanoInvalido;
    const int64_t whole = HeightOf(size, request.giro, request.total);
    rows = request.alto > 0 ? request.alto : static_cast<int32_t>(std::max<int64_t>(whole - request.y, 1));
    const size_t stride = request.paso;
    if (stride % 4 != 0 || stride / 4 < static_cast<size_t>(request.ancho) ||
        static_cast<size_t>(rows) * stride > request.bytes || int64_t{rows} * request.ancho > kMaxPixeles)
        return Estado::SinMemoria;
    std::memset(target, 0xFF, static_cast<size_t>(rows) * stride);
    // Cairo takes no more rows at a time.
    constexpr int32_t kBand = 16'384;
    Peticion band = request;
    for (int32_t done = 0; done < rows; done += kBand) {
        band.y = request.y + done;
        const int32_t height = std::min(kBand, rows - done);
        const SurfaceRef surface(cairo_image_surface_create_for_data(target + static_cast<size_t>(done) * stride,
                                                                     CAIRO_FORMAT_RGB24, request.ancho, height,
                                                                     static_cast<int>(stride)));
        if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return Estado::SinMemoria;
        if (!Paint(band, size, sheet.get(), surface.get())) return Estado::SinDibujar;
        cairo_surface_flush(surface.get());
    }
    MakeOpaque(target, static_cast<size_t>(rows) * stride);
    return Estado::Bien;
}

}  // namespace Lx::Pdf
