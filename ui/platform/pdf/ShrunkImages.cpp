// Images that are drawn smaller than they are: nearly all of the time that a scanned page takes. Pixman shrinks them
// pixel by pixel with a kernel for each; here rows and columns are averaged one after the other, weighed by the part of
// them that falls on the pixel, which gives the same picture in a fraction of the time.
//
// Poppler's interface has no place for this, so this program defines the function of cairo that poppler sets its images
// with: the dynamic linker takes it before the library's own. Where it didn't, pages would be drawn as ever, but
// slower.
#include <cairo.h>
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

// From here on cairo interpolates no more but averages.
constexpr double kLeastRatio = 1.3;
constexpr double kFar = 1e7;      // of the image's pixels
constexpr uint32_t kWhole = 256;  // sum of the weights of one pixel

struct Release {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using SurfaceRef = std::unique_ptr<cairo_surface_t, Release>;
using PatternRef = std::unique_ptr<cairo_pattern_t, Release>;

// One direction of the image: which of its pixels make up each pixel of the device, and how much.
class Axis {
  public:
    // Device pixel d begins at `step` * d + `start` of the image, which has `size` of its own pixels.
    Axis(double step, double start, int size) : size_(size) {
        const double a = -start / step, b = (size - start) / step;
        first = static_cast<int>(std::floor(std::min(a, b) + 0.01));
        const int end = std::max(first + 1, static_cast<int>(std::ceil(std::max(a, b) - 0.01)));
        for (int d = first; d < end; ++d) {
            const double from = step * d + start, to = from + step;
            Add(std::clamp(std::min(from, to), 0.0, size - 0.01), std::clamp(std::max(from, to), 0.01, size * 1.0));
        }
    }

    struct Run {
        int from = 0;
        std::vector<uint16_t> weights;
    };
    int first = 0;  // pixel of the device
    std::vector<Run> runs;

  private:
    void Add(double from, double to) {
        Run run;
        run.from = static_cast<int>(from);
        const int end = std::min(size_, static_cast<int>(std::ceil(to)));
        uint32_t used = 0;
        for (int i = run.from; i < end; ++i) {
            // Rounded as a sum, so that none is lost.
            const double upTo = (std::min(i + 1.0, to) - from) / (to - from);
            const uint32_t sum = i + 1 == end ? kWhole : static_cast<uint32_t>(std::lround(upTo * kWhole));
            run.weights.push_back(static_cast<uint16_t>(sum - used));
            used = sum;
        }
        runs.push_back(std::move(run));
    }

    int size_;
};

// Averages rows of the image into one: 255 * kWhole at most.
void AddRows(const unsigned char* data, size_t stride, const Axis::Run& run, std::vector<uint16_t>& sums) {
    std::fill(sums.begin(), sums.end(), uint16_t{0});
    const size_t n = sums.size();
    for (size_t r = 0; r < run.weights.size(); ++r) {
        const unsigned char* const row = data + (static_cast<size_t>(run.from) + r) * stride;
        const uint16_t weight = run.weights[r];
        uint16_t* const sum = sums.data();
        for (size_t i = 0; i < n; ++i) sum[i] = static_cast<uint16_t>(sum[i] + row[i] * weight);
    }
}

void PutPixel(const std::vector<uint16_t>& sums, const Axis::Run& run, unsigned char* pixel) {
    uint32_t total[4] = {};
    const uint16_t* at = sums.data() + static_cast<size_t>(run.from) * 4;
    for (const uint16_t weight : run.weights) {
        for (int c = 0; c < 4; ++c) total[c] += uint32_t{at[c]} * weight;
        at += 4;
    }
    for (int c = 0; c < 4; ++c)
        pixel[c] = static_cast<unsigned char>((total[c] + kWhole * kWhole / 2) / (kWhole * kWhole));
}

// `isOnSide`: the image's rows are the device's columns.
SurfaceRef Shrink(cairo_surface_t* image, const Axis& across, const Axis& along, bool isOnSide) {
    const auto columns = static_cast<int>(across.runs.size()), rows = static_cast<int>(along.runs.size());
    SurfaceRef small(cairo_image_surface_create(cairo_image_surface_get_format(image), isOnSide ? rows : columns,
                                                isOnSide ? columns : rows));
    unsigned char* const target = cairo_image_surface_get_data(small.get());
    if (target == nullptr) return small;
    cairo_surface_flush(image);
    const unsigned char* const data = cairo_image_surface_get_data(image);
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(image));
    const auto smallStride = static_cast<size_t>(cairo_image_surface_get_stride(small.get()));
    const size_t perColumn = isOnSide ? smallStride : 4, perRow = isOnSide ? 4 : smallStride;
    std::vector<uint16_t> sums(static_cast<size_t>(cairo_image_surface_get_width(image)) * 4);
    for (size_t y = 0; y < along.runs.size(); ++y) {
        AddRows(data, stride, along.runs[y], sums);
        for (size_t x = 0; x < across.runs.size(); ++x)
            PutPixel(sums, across.runs[x], target + x * perColumn + y * perRow);
    }
    cairo_surface_mark_dirty(small.get());
    return small;
}

bool IsFit(cairo_surface_t* surface) {
    if (cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE) return false;
    const cairo_format_t format = cairo_image_surface_get_format(surface);
    return (format == CAIRO_FORMAT_RGB24 || format == CAIRO_FORMAT_ARGB32) &&
           cairo_image_surface_get_width(surface) > 0 && cairo_image_surface_get_height(surface) > 0;
}

// The same picture in pixels of the device, to be painted in the place of `source`; null where that is no gain.
PatternRef ShrunkPattern(cairo_t* cairo, cairo_pattern_t* source) {
    cairo_surface_t* image = nullptr;
    if (cairo_pattern_get_type(source) != CAIRO_PATTERN_TYPE_SURFACE ||
        cairo_pattern_get_surface(source, &image) != CAIRO_STATUS_SUCCESS || !IsFit(image) ||
        cairo_pattern_get_extend(source) != CAIRO_EXTEND_PAD)
        return nullptr;
    cairo_matrix_t toDevice, toUser, m;
    cairo_get_matrix(cairo, &toDevice);
    toUser = toDevice;
    if (cairo_matrix_invert(&toUser) != CAIRO_STATUS_SUCCESS) return nullptr;
    cairo_pattern_get_matrix(source, &m);
    cairo_matrix_multiply(&m, &toUser, &m);
    constexpr double kStraight = 1e-3;
    const bool isOnSide = std::abs(m.xx) + std::abs(m.yy) < kStraight;
    if (!isOnSide && std::abs(m.xy) + std::abs(m.yx) >= kStraight) return nullptr;
    const double across = isOnSide ? m.xy : m.xx, along = isOnSide ? m.yx : m.yy;
    if (!(std::min(std::abs(across), std::abs(along)) >= kLeastRatio) || !(std::abs(m.x0) + std::abs(m.y0) < kFar))
        return nullptr;
    const Axis columns(across, m.x0, cairo_image_surface_get_width(image));
    const Axis rows(along, m.y0, cairo_image_surface_get_height(image));
    const SurfaceRef small = Shrink(image, columns, rows, isOnSide);
    PatternRef pattern(cairo_pattern_create_for_surface(small.get()));
    cairo_matrix_t place;
    cairo_matrix_init_translate(&place, -(isOnSide ? rows : columns).first, -(isOnSide ? columns : rows).first);
    cairo_matrix_multiply(&place, &toDevice, &place);
    cairo_pattern_set_matrix(pattern.get(), &place);
    cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_NEAREST);
    return pattern;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void cairo_set_source(cairo_t* cairo, cairo_pattern_t* source) {
    static const auto original =
        reinterpret_cast<void (*)(cairo_t*, cairo_pattern_t*)>(dlsym(RTLD_NEXT, "cairo_set_source"));
    const PatternRef shrunk = ShrunkPattern(cairo, source);
    original(cairo, shrunk ? shrunk.get() : source);
}
