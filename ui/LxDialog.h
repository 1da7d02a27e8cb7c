// A modal window with a nested event loop.
#pragma once

#include <atomic>

#include "ui/LxWindow.h"

namespace Lx {

class CDialog : public CWindow {
  public:
    explicit CDialog(CWindow* owner);

    void OnDestroy() override;

    // Shows the dialog until it ends; gives `result` (a DialogResult, 0 when it was just closed), or -1 when the
    // window can't be made. The object survives, with its controls.
    int DoModal();
    // Closes at once, without OnClose.
    void EndDialog(int code);

    CWindow* owner = nullptr;  // not owned, may be null
    int result = 0;
    std::atomic<bool> done = false;
};

}  // namespace Lx
