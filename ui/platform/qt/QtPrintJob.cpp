#include "ui/platform/qt/QtPrintJob.h"

#include <QFile>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Lx {

namespace {

constexpr double kPointsPerInch = 72;
constexpr int kMostDpi = 600;
constexpr uint32_t kColors = 0x00FFFFFF;  // the fourth byte of a pixel means nothing
// Of neighbouring pixels: text and drawings have few that differ, scans and photographs many.
constexpr double kPhotoAbove = 0.25;

const uint32_t* RowOf(const QImage& band, int y) {
    return reinterpret_cast<const uint32_t*>(band.constScanLine(y));
}

bool IsBlank(const QImage& band) {
    const auto white = [](uint32_t pixel) { return (pixel & kColors) == kColors; };
    for (int y = 0; y < band.height(); ++y) {
        const uint32_t* row = RowOf(band, y);
        if (!std::all_of(row, row + band.width(), white)) return false;
    }
    return true;
}

bool IsPhoto(const QImage& band) {
    constexpr int kStep = 7;  // rows
    int64_t pairs = 0, changes = 0;
    for (int y = 0; y < band.height(); y += kStep) {
        const uint32_t* row = RowOf(band, y);
        for (int x = 1; x < band.width(); ++x) {
            // Paper around a picture says nothing about it.
            if ((row[x] & kColors) == kColors) continue;
            ++pairs;
            changes += (row[x] & kColors) != (row[x - 1] & kColors) ? 1 : 0;
        }
    }
    // A line of text has many edges, but on much paper.
    return pairs > int64_t{band.width()} * (band.height() / kStep + 1) / 8 &&
           static_cast<double>(changes) > kPhotoAbove * static_cast<double>(pairs);
}

}  // namespace

CQtPrintJob::CQtPrintJob(std::unique_ptr<QPrinter> printer, std::vector<int> pages, PrintScale scale)
    : printer_(std::move(printer)), pages_(std::move(pages)), scale_(scale) {
    printer_->setFullPage(true);
    printer_->setResolution(std::min(printer_->resolution(), kMostDpi));
}

CQtPrintJob::~CQtPrintJob() {
    if (!begun_ || finished_) return;
    const QString file = printer_->outputFileName();
    printer_->abort();
    painter_.end();
    if (!file.isEmpty()) QFile::remove(file);
}

bool CQtPrintJob::BeginSheet() {
    if (begun_) return printer_->newPage();
    begun_ = painter_.begin(printer_.get());
    return begun_;
}

QRectF CQtPrintJob::Place(float width, float height, int& turn) const {
    const QRectF sheet = printer_->paperRect(QPrinter::DevicePixel);
    const QRectF room =
        scale_ == PrintScale::Fitted ? printer_->pageLayout().paintRectPixels(printer_->resolution()) : sheet;
    const bool upright = width <= height;
    turn = width != height && upright != (room.width() <= room.height()) ? 1 : 0;
    const QSizeF points = turn != 0 ? QSizeF(height, width) : QSizeF(width, height);
    double scale = printer_->resolution() / kPointsPerInch;
    if (scale_ == PrintScale::Fitted) scale = std::min(room.width() / points.width(), room.height() / points.height());
    const QSizeF size = points * scale;
    return {room.center() - QPointF(size.width(), size.height()) / 2, size};
}

bool CQtPrintJob::BeginPage(float width, float height, Size& device, int& turn) {
    if (!(width > 0) || !(height > 0)) return false;
    if (IsFile() && scale_ == PrintScale::Actual) {
        const QPageSize size(QSizeF(width, height), QPageSize::Point, {}, QPageSize::ExactMatch);
        printer_->setPageLayout({size, QPageLayout::Portrait, {}, QPageLayout::Point});
        printer_->setFullPage(true);
    }
    if (!BeginSheet()) return false;
    const QRectF place = Place(width, height, turn);
    constexpr double kMost = 1 << 20;
    device = {static_cast<int32_t>(std::lround(std::clamp(place.width(), 1.0, kMost))),
              static_cast<int32_t>(std::lround(std::clamp(place.height(), 1.0, kMost)))};
    // On whole pixels of the printer, or its rows would be drawn between two.
    place_ = QRectF(std::round(place.x()), std::round(place.y()), device.cx, device.cy);
    return true;
}

bool CQtPrintJob::DrawBand(const unsigned char* rows, int width, int height, int stride, int top) {
    if (!painter_.isActive() || width < 1 || height < 1) return false;
    const QImage band(rows, width, height, stride, QImage::Format_RGB32);
    if (IsBlank(band)) return true;
    const double scale = place_.width() / width;
    painter_.setRenderHint(QPainter::LosslessImageRendering, !IsPhoto(band));
    painter_.drawImage(QRectF(place_.x(), place_.y() + top * scale, place_.width(), height * scale), band);
    return printer_->printerState() != QPrinter::Error;
}

bool CQtPrintJob::Finish() {
    if (!begun_ || finished_) return false;
    finished_ = painter_.end() && printer_->printerState() != QPrinter::Error;
    return finished_;
}

}  // namespace Lx
