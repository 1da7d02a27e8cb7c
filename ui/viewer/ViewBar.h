// A scrollbar of the view: its thumb, and how it answers the pointer. What it scrolls may be longer than 32 bits tell.
#pragma once

#include <cstdint>

#include "ui/LxCanvas.h"
#include "ui/LxTypes.h"

namespace Lx {

class ViewBar {
  public:
    static constexpr int kWidth = 12;

    explicit ViewBar(bool upright) : upright_(upright) {}

    // `seen` of `content` from `position` on, in any unit.
    void Arrange(const Rect& track, int64_t content, int64_t seen, int64_t position);
    [[nodiscard]] bool Needed() const { return content_ > seen_ && track_.w > 0 && track_.h > 0; }
    [[nodiscard]] int64_t Position() const { return position_; }
    [[nodiscard]] bool Dragging() const { return dragging_; }
    [[nodiscard]] Rect Thumb() const;
    // Presses and drags of the thumb, presses in the track. True when the event was its own.
    bool OnMouse(const Event& ev);
    void Paint(CCanvas& canvas) const;

  private:
    [[nodiscard]] int Along(const Point& pt) const { return upright_ ? pt.y : pt.x; }
    [[nodiscard]] int Start(const Rect& rect) const { return upright_ ? rect.y : rect.x; }
    [[nodiscard]] int Length(const Rect& rect) const { return upright_ ? rect.h : rect.w; }

    bool upright_;
    Rect track_;
    int64_t content_ = 0, seen_ = 0, position_ = 0;
    int grab_ = 0;
    bool dragging_ = false;
};

}  // namespace Lx
