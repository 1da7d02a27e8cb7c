// CCanvas over a painter of Qt, and what it keeps from one painting to the next.
#pragma once

#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QRegion>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "ui/LxCanvas.h"

namespace Lx {

struct QtFont {
    QFont font;
    QFontMetrics metrics;
};

// Fonts by what the controls call them. Lives no longer than the application object of Qt.
class CQtFonts {
  public:
    [[nodiscard]] const QtFont& Get(const std::string& family, int size, bool bold, bool italic);

  private:
    std::map<std::tuple<std::string, int, bool, bool>, QtFont> fonts_;
};

// Pictures as the painter wants them, at the size in device pixels that they are shown at, so that scrolling only
// copies. A picture stays for as long as every painting asks for it.
class CQtRasters {
  public:
    // The raster scaled to `device`; unscaled when `device` is null or its own size.
    [[nodiscard]] const QImage& Get(const unsigned char* rgba, int width, int height, const QSize& device);
    // Null when the file is no picture.
    [[nodiscard]] const QImage& File(const std::string& path);
    // The raster is part of this painting though none of it has to be drawn.
    void Keep(const unsigned char* rgba);
    // Forgets what wasn't asked for since the last call.
    void EndPainting();

  private:
    struct Entry {
        const unsigned char* rgba = nullptr;
        QSize size, device;
        size_t fingerprint = 0;
        std::string path;
        QImage image;
        bool used = true;
    };
    std::vector<Entry> entries_;
};

class CQtCanvas : public CCanvas {
  public:
    // Only `dirty`, in client pixels, has to be painted.
    CQtCanvas(QPainter& painter, CQtFonts& fonts, CQtRasters& rasters, const QRegion& dirty);
    // Ends what was saved and not restored.
    ~CQtCanvas() override;
    CQtCanvas(const CQtCanvas&) = delete;
    CQtCanvas& operator=(const CQtCanvas&) = delete;

    void FillRect(const Rect& rect, const Color& color) override;
    void DrawRect(const Rect& rect, const Color& color, float width) override;
    void FillRoundRect(const Rect& rect, float radius, const Color& color) override;
    void DrawRoundRect(const Rect& rect, float radius, const Color& color, float width) override;
    void FillEllipse(const Rect& rect, const Color& color) override;
    void DrawEllipse(const Rect& rect, const Color& color, float width) override;
    void DrawLine(const Point& from, const Point& to, const Color& color, float width) override;
    void DrawText(const std::string& utf8, const Point& topLeft, const Color& color, const std::string& fontFamily,
                  int fontSize, bool bold, bool italic) override;
    Size MeasureText(const std::string& utf8, const std::string& fontFamily, int fontSize, bool bold,
                     bool italic) override;
    void Save() override;
    void Restore() override;
    void Translate(float dx, float dy) override;
    void Scale(float sx, float sy) override;
    void ClipRect(const Rect& rect) override;
    void ClearRect(const Rect& rect) override;
    bool DrawImageRGBA(const unsigned char* rgba, int width, int height, const Rect& dest) override;
    void DrawImageFile(const std::string& path, const Rect& dest) override;
    void FillGradient(const Rect& rect, const Color& from, const Color& to, float angle) override;
    [[nodiscard]] float DeviceScale() const override;
    void DrawPixels(const unsigned char* rows, int width, int height, int stride, const Rect& source,
                    const Rect& device) override;
    void FillDevice(const Rect& device, const Color& color) override;

  private:
    // Whether any of the rect has to be painted.
    [[nodiscard]] bool Visible(const QRectF& rect) const;
    // Pen and brush; false when there is nothing to draw.
    bool Fill(const Rect& rect, const Color& color);
    bool Stroke(const QRectF& inner, const Color& color, float width);
    // What `draw` draws is in device pixels.
    void InDevice(const Rect& device, const std::function<void(const QRect&)>& draw);

    QPainter& painter_;
    CQtFonts& fonts_;
    CQtRasters& rasters_;
    QRegion dirty_;
    int saved_ = 0;
};

}  // namespace Lx
