// What controls paint on. A backend makes one for each repaint.
#pragma once

#include <string>

#include "ui/LxTypes.h"

namespace Lx {

// Rects and points are client pixels; widths, radii and angles are floats. A stroke lies wholly inside its rect. The
// font families "system" and "sans-serif" name the platform's own; font sizes are pixels.
class CCanvas {
  public:
    virtual ~CCanvas() = default;

    virtual void FillRect(const Rect& rect, const Color& color) = 0;
    virtual void DrawRect(const Rect& rect, const Color& color, float width) = 0;
    virtual void FillRoundRect(const Rect& rect, float radius, const Color& color) = 0;
    virtual void DrawRoundRect(const Rect& rect, float radius, const Color& color, float width) = 0;
    virtual void FillEllipse(const Rect& rect, const Color& color) = 0;
    virtual void DrawEllipse(const Rect& rect, const Color& color, float width) = 0;
    virtual void DrawLine(const Point& from, const Point& to, const Color& color, float width) = 0;
    // One line of UTF-8; `topLeft` is the corner of the box that MeasureText gives.
    virtual void DrawText(const std::string& utf8, const Point& topLeft, const Color& color,
                          const std::string& fontFamily, int fontSize, bool bold, bool italic) = 0;
    // Width and line height.
    virtual Size MeasureText(const std::string& utf8, const std::string& fontFamily, int fontSize, bool bold,
                             bool italic) = 0;
    // Push and pop clip and transform.
    virtual void Save() = 0;
    virtual void Restore() = 0;
    virtual void Translate(float dx, float dy) = 0;
    virtual void Scale(float sx, float sy) = 0;
    // Intersects the clip with the rect.
    virtual void ClipRect(const Rect& rect) = 0;
    // Makes the rect fully transparent.
    virtual void ClearRect(const Rect& rect) = 0;
    // Scales an 8-bit RGBA raster (not premultiplied, rows from the top, 4 * width bytes each) smoothly into `dest`.
    // The same pixels at the same address may be kept converted between two calls: a caller that changes them
    // gives them a new address. False when the backend can't.
    virtual bool DrawImageRGBA(const unsigned char* rgba, int width, int height, const Rect& dest) = 0;
    // Nothing when the file can't be read as a picture.
    virtual void DrawImageFile(const std::string& path, const Rect& dest) = 0;
    // `angle` in degrees: 0 runs from left to right, and it grows clockwise.
    virtual void FillGradient(const Rect& rect, const Color& from, const Color& to, float angle) = 0;

    // Beyond the list. What is placed exactly is placed in device pixels of the window, whatever was translated or
    // scaled; the clip holds. Device pixels in one client pixel:
    [[nodiscard]] virtual float DeviceScale() const = 0;
    // The part `source` of a picture of B, G, R, x bytes into `device`: copied where they are of one size, else scaled.
    // The rows lie at multiples of 4, `stride` bytes apart; they are read during the call and neither kept nor
    // converted. Nothing for a part that doesn't lie in the picture.
    virtual void DrawPixels(const unsigned char* rows, int width, int height, int stride, const Rect& source,
                            const Rect& device) = 0;
    virtual void FillDevice(const Rect& device, const Color& color) = 0;
};

// Save now, Restore at the end of the scope.
class CCanvasState {
  public:
    explicit CCanvasState(CCanvas& canvas) : canvas_(canvas) { canvas_.Save(); }
    ~CCanvasState() { canvas_.Restore(); }
    CCanvasState(const CCanvasState&) = delete;
    CCanvasState& operator=(const CCanvasState&) = delete;

  private:
    CCanvas& canvas_;
};

// Text is measured outside of painting too (caret positions, hit tests in an edit). Null only before a backend exists;
// owned by the backend.
[[nodiscard]] CCanvas* MeasuringCanvas();

}  // namespace Lx
