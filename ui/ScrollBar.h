// The thin vertical scrollbar inside a list: its range, its thumb and how both answer the pointer.
#pragma once

#include "ui/LxCanvas.h"
#include "ui/LxTypes.h"

namespace Lx {

class ScrollBar {
  public:
    static constexpr int kWidth = 12;

    // The track is as high as what is seen of `content` pixels; the position is brought back into range.
    void Arrange(const Rect& track, int content);
    [[nodiscard]] bool Needed() const { return content_ > track_.h; }
    [[nodiscard]] int Position() const { return position_; }
    void SetPosition(int position);
    // Moves no further than it must so that the pixels from `top` on are seen.
    void Reveal(int top, int height);
    [[nodiscard]] bool Dragging() const { return dragging_; }
    void StopDragging() { dragging_ = false; }
    // Presses and drags of the thumb, presses in the track. True when the event was its own.
    bool OnMouse(const Event& ev);
    void Paint(CCanvas& canvas) const;

  private:
    [[nodiscard]] Rect Thumb() const;
    [[nodiscard]] int Last() const { return Needed() ? content_ - track_.h : 0; }

    Rect track_;
    int content_ = 0;
    int position_ = 0;
    int grab_ = 0;
    bool dragging_ = false;
};

}  // namespace Lx
