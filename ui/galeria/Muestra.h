// A control that shows whether pixels go where they are put.
#pragma once

#include "ui/LxControl.h"

namespace Lx {

// A chessboard of single device pixels that begins one square outside of the control's rect, with a frame of whole
// device pixels. It scrolls: what scrolls is written down.
class CMuestra : public CControl {
  public:
    explicit CMuestra(const Rect& donde) { rect = donde; }
    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] CursorShape Cursor() const override { return CursorShape::OpenHand; }
    void OnThemeChanged() override;

  private:
    bool dicha_ = false;
};

}  // namespace Lx
