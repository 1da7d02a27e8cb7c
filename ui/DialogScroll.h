// A dialog in a client area smaller than it was made for: what is above a line scrolls, what is below stays in sight.
#pragma once

#include <map>

#include "ui/LxControl.h"
#include "ui/ScrollBar.h"

namespace Lx {

class CDialog;

class DialogScroll {
  public:
    explicit DialogScroll(CDialog& dialog) : dialog_(dialog) {}

    // The size the dialog was made for. Controls stand where that size wants them until Arrange.
    void Begin(const Size& made);
    // Whether anything must scroll.
    [[nodiscard]] bool Active() const;
    // Moves the controls to where they are seen. A control that was moved since stands where its mover wants it to be
    // in a dialog of full size.
    void Arrange();
    // Back to where the full size wants them.
    void End();

    // What of the client area shows the control.
    [[nodiscard]] Rect ClipOf(const CControl& control) const;
    void ScrollBy(int dx, int dy);
    // Scrolls no further than it must so that the control is seen.
    void Reveal(const CControl& control);
    // Presses and drags of the bar.
    bool OnMouse(const Event& ev);
    // Calls `paint` for either part, moved and clipped as its controls are.
    template <class Paint>
    void PaintGround(CCanvas& canvas, const Paint& paint) const {
        for (const bool below : {false, true}) {
            const CCanvasState saved(canvas);
            canvas.ClipRect(below ? Footer() : View());
            const Point by = Shift(below);
            canvas.Translate(static_cast<float>(by.x), static_cast<float>(by.y));
            paint();
        }
    }
    void PaintBar(CCanvas& canvas) const { bar_.Paint(canvas); }

  private:
    struct Placed {
        Rect made, shown;
    };

    [[nodiscard]] Size Client() const;
    [[nodiscard]] Rect View() const;
    [[nodiscard]] Rect Footer() const;
    // From where a part was made to where it is shown.
    [[nodiscard]] Point Shift(bool below) const;
    [[nodiscard]] bool IsBelow(const Rect& made) const { return made.y >= line_; }
    // Where the row of the lowest buttons begins; the dialog's height when too little would be left above it.
    [[nodiscard]] int FindLine() const;

    CDialog& dialog_;
    Size made_;
    int line_ = 0;  // in the dialog as it was made
    int left_ = 0;  // scrolled sideways
    ScrollBar bar_;
    std::map<const CControl*, Placed> placed_;
};

}  // namespace Lx
