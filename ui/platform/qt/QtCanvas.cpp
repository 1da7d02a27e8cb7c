#include "ui/platform/qt/QtCanvas.h"

#include <QLinearGradient>
#include <QPaintDevice>
#include <QString>
#include <algorithm>
#include <cmath>
#include <utility>

namespace Lx {

namespace {

// Shaping a line takes time in proportion to its length, and texts come from files of strangers.
constexpr qsizetype kLongestLine = 8192;
// A picture shown larger than this is scaled as it is drawn: the copy would cost more memory than it saves time.
constexpr qint64 kLargestCopy = 32'000'000;
// Device pixels that are interpolated in a fraction of a frame.
constexpr qint64 kSmoothPixels = 2'000'000;

QColor ColorOf(const Color& c) {
    return {c.r, c.g, c.b, c.a};
}

QRectF RectOf(const Rect& r) {
    return {qreal(r.x), qreal(r.y), qreal(std::max(0, r.w)), qreal(std::max(0, r.h))};
}

QRectF Inset(const Rect& r, qreal by) {
    return RectOf(r).adjusted(by, by, -by, -by);
}

QString Line(const std::string& utf8) {
    QString text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    text.truncate(kLongestLine);
    return text;
}

QStringList FamiliesOf(const std::string& family) {
    QStringList names;
    for (const QString& part : QString::fromStdString(family).split(',')) {
        const QString name = part.trimmed().remove('"').remove('\'');
        if (name == "monospace") {
            names << "Liberation Mono"
                  << "DejaVu Sans Mono";
        } else if (name != "system" && name != "sans-serif" && !name.isEmpty()) {
            names << name;
        }
    }
    // The layouts are absolute, and these two fit them.
    return names << "Liberation Sans"
                 << "DejaVu Sans";
}

bool IsOpaque(const unsigned char* rgba, size_t pixels) {
    unsigned char all = 255;
    for (size_t i = 0; i < pixels; ++i) all &= rgba[4 * i + 3];
    return all == 255;
}

// In the formats that the painter copies without a conversion.
QImage Converted(const unsigned char* rgba, int width, int height, const QSize& device) {
    const bool opaque = IsOpaque(rgba, size_t(width) * size_t(height));
    const QImage raw(rgba, width, height, qsizetype{4} * width,
                     opaque ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888);
    const QImage image = raw.convertToFormat(opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    if (device.isNull() || device == image.size()) return image;
    return image.scaled(device, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

}  // namespace

const QtFont& CQtFonts::Get(const std::string& family, int size, bool bold, bool italic) {
    size = std::clamp(size, 1, 1000);
    const auto key = std::make_tuple(family, size, bold, italic);
    const auto found = fonts_.find(key);
    if (found != fonts_.end()) return found->second;
    QFont font;
    font.setFamilies(FamiliesOf(family));
    font.setPixelSize(size);
    font.setBold(bold);
    font.setItalic(italic);
    return fonts_.emplace(key, QtFont{font, QFontMetrics(font)}).first->second;
}

const QImage& CQtRasters::Get(const unsigned char* rgba, int width, int height, const QSize& device) {
    // An allocator gives the address of a freed raster to the next one, so the address alone can't tell two apart.
    const size_t fingerprint = qHashBits(rgba, size_t(width) * size_t(height) * 4);
    const QSize size(width, height);
    for (Entry& e : entries_) {
        if (e.rgba != rgba || e.size != size) continue;
        e.used = true;
        if (e.fingerprint != fingerprint || e.device != device) {
            e.fingerprint = fingerprint;
            e.device = device;
            e.image = Converted(rgba, width, height, device);
        }
        return e.image;
    }
    entries_.push_back({rgba, size, device, fingerprint, {}, Converted(rgba, width, height, device)});
    return entries_.back().image;
}

const QImage& CQtRasters::File(const std::string& path) {
    for (Entry& e : entries_) {
        if (e.rgba != nullptr || e.path != path) continue;
        e.used = true;
        return e.image;
    }
    QImage image(QString::fromStdString(path));
    if (!image.isNull()) image.convertTo(QImage::Format_ARGB32_Premultiplied);
    entries_.push_back({nullptr, {}, {}, 0, path, image});
    return entries_.back().image;
}

void CQtRasters::Keep(const unsigned char* rgba) {
    for (Entry& e : entries_) e.used = e.used || e.rgba == rgba;
}

void CQtRasters::EndPainting() {
    std::erase_if(entries_, [](Entry& e) { return !std::exchange(e.used, false); });
}

CQtCanvas::CQtCanvas(QPainter& painter, CQtFonts& fonts, CQtRasters& rasters, const QRegion& dirty)
    : painter_(painter), fonts_(fonts), rasters_(rasters), dirty_(dirty) {
    painter_.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
}

CQtCanvas::~CQtCanvas() {
    while (saved_ > 0) Restore();
}

bool CQtCanvas::Visible(const QRectF& rect) const {
    return dirty_.intersects(painter_.worldTransform().mapRect(rect).toAlignedRect().adjusted(-1, -1, 1, 1));
}

bool CQtCanvas::Fill(const Rect& rect, const Color& color) {
    if (rect.w <= 0 || rect.h <= 0 || color.a == 0 || !Visible(RectOf(rect))) return false;
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(ColorOf(color));
    return true;
}

bool CQtCanvas::Stroke(const QRectF& inner, const Color& color, float width) {
    if (width <= 0 || color.a == 0 || inner.width() < 0 || inner.height() < 0) return false;
    if (!Visible(inner.adjusted(-width, -width, width, width))) return false;
    painter_.setPen(QPen(ColorOf(color), qreal(width), Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter_.setBrush(Qt::NoBrush);
    return true;
}

void CQtCanvas::FillRect(const Rect& rect, const Color& color) {
    if (Fill(rect, color)) painter_.fillRect(QRect(rect.x, rect.y, rect.w, rect.h), ColorOf(color));
}

void CQtCanvas::DrawRect(const Rect& rect, const Color& color, float width) {
    const QRectF inner = Inset(rect, qreal(width) / 2);
    if (Stroke(inner, color, width)) painter_.drawRect(inner);
}

void CQtCanvas::FillRoundRect(const Rect& rect, float radius, const Color& color) {
    if (radius <= 0) return FillRect(rect, color);
    const qreal r = std::min(qreal(radius), std::min(rect.w, rect.h) / 2.0);
    if (Fill(rect, color)) painter_.drawRoundedRect(RectOf(rect), r, r);
}

void CQtCanvas::DrawRoundRect(const Rect& rect, float radius, const Color& color, float width) {
    if (radius <= 0) return DrawRect(rect, color, width);
    const QRectF inner = Inset(rect, qreal(width) / 2);
    // The middle of the stroke runs on a smaller circle than its outer edge.
    const qreal outer = std::min(qreal(radius), std::min(rect.w, rect.h) / 2.0);
    const qreal r = std::max(0.0, outer - qreal(width) / 2);
    if (Stroke(inner, color, width)) painter_.drawRoundedRect(inner, r, r);
}

void CQtCanvas::FillEllipse(const Rect& rect, const Color& color) {
    if (Fill(rect, color)) painter_.drawEllipse(RectOf(rect));
}

void CQtCanvas::DrawEllipse(const Rect& rect, const Color& color, float width) {
    const QRectF inner = Inset(rect, qreal(width) / 2);
    if (Stroke(inner, color, width)) painter_.drawEllipse(inner);
}

void CQtCanvas::DrawLine(const Point& from, const Point& to, const Color& color, float width) {
    const QPointF a(from.x, from.y), b(to.x, to.y);
    if (!Stroke(QRectF(a, b).normalized(), color, width)) return;
    const qreal w = qreal(width), before = std::floor(w / 2);
    // Level and upright lines fill whole pixels; the others run through the centres of theirs.
    if (from.y == to.y) {
        painter_.fillRect(QRectF(std::min(a.x(), b.x()), a.y() - before, std::abs(b.x() - a.x()), w), ColorOf(color));
    } else if (from.x == to.x) {
        painter_.fillRect(QRectF(a.x() - before, std::min(a.y(), b.y()), w, std::abs(b.y() - a.y())), ColorOf(color));
    } else {
        painter_.setPen(QPen(ColorOf(color), w, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter_.drawLine(a + QPointF(0.5, 0.5), b + QPointF(0.5, 0.5));
    }
}

void CQtCanvas::DrawText(const std::string& utf8, const Point& topLeft, const Color& color,
                         const std::string& fontFamily, int fontSize, bool bold, bool italic) {
    if (utf8.empty() || color.a == 0) return;
    const QtFont& f = fonts_.Get(fontFamily, fontSize, bold, italic);
    // Glyphs may reach beyond their line, and the width isn't known before the text is shaped.
    const QRectF reach(topLeft.x - fontSize, topLeft.y - fontSize, 1e6, f.metrics.height() + 2.0 * fontSize);
    if (!Visible(reach)) return;
    painter_.setFont(f.font);
    painter_.setPen(ColorOf(color));
    painter_.drawText(QPointF(topLeft.x, topLeft.y + f.metrics.ascent()), Line(utf8));
}

Size CQtCanvas::MeasureText(const std::string& utf8, const std::string& fontFamily, int fontSize, bool bold,
                            bool italic) {
    const QFontMetrics& m = fonts_.Get(fontFamily, fontSize, bold, italic).metrics;
    return {utf8.empty() ? 0 : m.horizontalAdvance(Line(utf8)), m.height()};
}

void CQtCanvas::Save() {
    painter_.save();
    ++saved_;
}

void CQtCanvas::Restore() {
    if (saved_ == 0) return;
    painter_.restore();
    --saved_;
}

void CQtCanvas::Translate(float dx, float dy) {
    painter_.translate(qreal(dx), qreal(dy));
}

void CQtCanvas::Scale(float sx, float sy) {
    painter_.scale(qreal(sx), qreal(sy));
}

void CQtCanvas::ClipRect(const Rect& rect) {
    painter_.setClipRect(QRect(rect.x, rect.y, std::max(0, rect.w), std::max(0, rect.h)), Qt::IntersectClip);
}

void CQtCanvas::ClearRect(const Rect& rect) {
    const QPainter::CompositionMode mode = painter_.compositionMode();
    painter_.setCompositionMode(QPainter::CompositionMode_Clear);
    painter_.fillRect(RectOf(rect), Qt::transparent);
    painter_.setCompositionMode(mode);
}

bool CQtCanvas::DrawImageRGBA(const unsigned char* rgba, int width, int height, const Rect& dest) {
    if (rgba == nullptr || width < 1 || height < 1 || dest.w < 1 || dest.h < 1) return false;
    if (!Visible(RectOf(dest))) {
        rasters_.Keep(rgba);
        return true;
    }
    const qreal ratio = painter_.device()->devicePixelRatioF();
    const QTransform toDevice = painter_.worldTransform() * QTransform::fromScale(ratio, ratio);
    const QRectF shown = toDevice.mapRect(RectOf(dest));
    QSize device(qRound(shown.width()), qRound(shown.height()));
    // A page drawn for this width is a row more or less than the rounding of its height: it isn't blurred for that.
    if (std::abs(device.width() - width) <= 1 && std::abs(device.height() - height) <= 1) device = {width, height};
    if (device.isEmpty()) return true;
    if (qint64{device.width()} * device.height() > kLargestCopy && device != QSize(width, height)) {
        painter_.drawImage(RectOf(dest), rasters_.Get(rgba, width, height, {}));
        return true;
    }
    const QImage& image = rasters_.Get(rgba, width, height, device);
    painter_.save();
    painter_.setWorldTransform(QTransform::fromScale(1 / ratio, 1 / ratio));
    painter_.drawImage(QPoint(qRound(shown.x()), qRound(shown.y())), image);
    painter_.restore();
    return true;
}

void CQtCanvas::DrawImageFile(const std::string& path, const Rect& dest) {
    const QImage& image = rasters_.File(path);
    if (!image.isNull() && dest.w > 0 && dest.h > 0) painter_.drawImage(RectOf(dest), image);
}

void CQtCanvas::FillGradient(const Rect& rect, const Color& from, const Color& to, float angle) {
    const qreal turn = qreal(angle) * M_PI / 180, c = std::cos(turn), s = std::sin(turn);
    // The two colours stand at the corners that lie farthest along the direction.
    const qreal half = (std::abs(rect.w * c) + std::abs(rect.h * s)) / 2;
    const QRectF r = RectOf(rect);
    QLinearGradient gradient(r.center() - QPointF(c, s) * half, r.center() + QPointF(c, s) * half);
    gradient.setColorAt(0, ColorOf(from));
    gradient.setColorAt(1, ColorOf(to));
    painter_.fillRect(r, gradient);
}

float CQtCanvas::DeviceScale() const {
    return static_cast<float>(painter_.device()->devicePixelRatioF());
}

void CQtCanvas::InDevice(const Rect& device, const std::function<void(const QRect&)>& draw) {
    const qreal ratio = painter_.device()->devicePixelRatioF();
    const QTransform toClient = QTransform::fromScale(1 / ratio, 1 / ratio);
    const QRect target(device.x, device.y, device.w, device.h);
    if (target.isEmpty() || !dirty_.intersects(toClient.mapRect(QRectF(target)).toAlignedRect())) return;
    painter_.save();
    painter_.setWorldTransform(toClient);
    draw(target);
    painter_.restore();
}

void CQtCanvas::DrawPixels(const unsigned char* rows, int width, int height, int stride, const Rect& source,
                           const Rect& device) {
    const QRect part(source.x, source.y, source.w, source.h);
    if (rows == nullptr || width < 1 || height < 1 || stride / 4 < width || stride % 4 != 0) return;
    if (part.isEmpty() || !QRect(0, 0, width, height).contains(part)) return;
    const qreal ratio = painter_.device()->devicePixelRatioF();
    InDevice(device, [&](const QRect& target) {
        const QImage picture(rows, width, height, stride, QImage::Format_RGB32);
        const QRect shown = target & QRect(QPoint(0, 0), (QSizeF(painter_.viewport().size()) * ratio).toSize());
        painter_.setRenderHint(QPainter::SmoothPixmapTransform,
                               qint64{shown.width()} * shown.height() <= kSmoothPixels);
        painter_.drawImage(target, picture, part);
    });
}

void CQtCanvas::FillDevice(const Rect& device, const Color& color) {
    InDevice(device, [&](const QRect& target) { painter_.fillRect(target, ColorOf(color)); });
}

}  // namespace Lx
