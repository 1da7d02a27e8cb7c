// A modal window with a nested event loop.
#pragma once

#include <atomic>
#include <memory>

#include "ui/LxWindow.h"

namespace Lx {

class DialogScroll;

// A dialog that is larger than the screen has room for takes the room there is. What it holds scrolls then, by the
// wheel, a bar, or as the focus moves; its lowest row of buttons, and what is below, stays in sight.
class CDialog : public CWindow {
  public:
    explicit CDialog(CWindow* owner);
    ~CDialog() override;

    void OnDestroy() override;

    // Shows the dialog until it ends; gives `result` (a DialogResult, 0 when it was just closed), or -1 when the
    // window can't be made. The object survives, with its controls.
    int DoModal();
    // Closes at once, without OnClose.
    void EndDialog(int code);

    CWindow* owner = nullptr;  // not owned, may be null
    int result = 0;
    std::atomic<bool> done = false;
    Size least;      // one that lays itself out as large as it is scrolls below this alone; none: below its first size
    int footer = 0;  // pixels at the bottom that stay in sight; 0 goes by the lowest buttons

  protected:
    [[nodiscard]] Rect ClipOf(const CControl& control) const override;
    void PaintGround(CCanvas* canvas) override;
    void PaintAbove(CCanvas* canvas) override;
    bool OfferFirst(Event& ev) override;
    bool OfferWheel(const Event& ev) override;
    void FocusMoved() override;

  private:
    std::unique_ptr<DialogScroll> scroll_;
};

}  // namespace Lx
