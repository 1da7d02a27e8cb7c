// The platform seam: what the toolkit asks of a window system. A program links one implementation.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "ui/LxCanvas.h"
#include "ui/LxTypes.h"

namespace Lx {

class CWindow;

// One per application.
class CAppBackend {
  public:
    virtual ~CAppBackend() = default;

    // Dispatches events until Quit; gives the exit code.
    virtual int RunLoop() = 0;
    // Takes effect after the event that is being dispatched.
    virtual void Quit(int code) = 0;
    // The same loop, nested, until `done` is true or the application quits; `done` is looked at before waiting.
    virtual void RunModal(std::atomic<bool>& done) = 0;

    // Calls `task` once from the loop, after `ms` milliseconds at the earliest; never after the backend is gone.
    virtual void CallLater(unsigned ms, std::function<void()> task) = 0;
    // Calls `task` once from the loop, also from one that runs for a dialog. From any thread; tasks keep their order.
    // Never after the backend is gone.
    virtual void Post(std::function<void()> task) = 0;
    // Texts can be measured at any time. Owned by the backend.
    virtual CCanvas* MeasuringCanvas() = 0;
};

// One per CWindow while its platform window exists.
class CWindowImpl {
  public:
    virtual ~CWindowImpl() = default;

    // A titled, closable, minimisable, resizable top-level window that feeds `owner`. A window whose owner is a
    // CDialog is modal, above the dialog's own owner. False when the platform refuses.
    virtual bool Create(CWindow* owner, const std::string& title, const Size& clientSize) = 0;
    virtual void Show() = 0;
    virtual void Hide() = 0;
    // As if by the user: OnClose may veto.
    virtual void RequestClose() = 0;
    // At once, without OnClose: timers end, OnDestroy is called; nothing when closed already.
    virtual void Destroy() = 0;
    // Null: all. The repaint comes later.
    virtual void InvalidateRect(const Rect* area) = 0;
    virtual void SetTitle(const std::string& utf8) = 0;
    virtual void SetResizable(bool resizable) = 0;
    virtual void SetMinSize(const Size& clientSize) = 0;
    // A dimension below 1 is no limit.
    virtual void SetMaxSize(const Size& clientSize) = 0;
    virtual void Center() = 0;
    [[nodiscard]] virtual void* GetHandle() const = 0;
    // Repeats every `ms` milliseconds until killed; replaces a timer of the same id. False for an id or time of 0, or
    // without a window.
    virtual bool SetTimer(unsigned id, unsigned ms) = 0;
    virtual bool KillTimer(unsigned id) = 0;

    // Paints what is invalid now, for a caller that is about to block. Takes no input.
    virtual void FlushPaint() = 0;
    // Device pixels in one client pixel; 1 on a plain display, never below.
    [[nodiscard]] virtual float GetScale() const = 0;
};

// On the heap; the caller owns the result. No backend, after one line on standard error, when there is no display.
[[nodiscard]] CAppBackend* CreatePlatformBackend();
[[nodiscard]] CWindowImpl* CreatePlatformWindowImpl();

struct FileDialogRequest {
    CWindow* owner = nullptr;           // may be null
    std::string title;                  // UTF-8
    std::vector<std::string> patterns;  // "*.pdf"; empty: every file
    std::string initialPath;            // a file or a folder; may be empty or not exist
};

// Asks for one existing file, modally, with the desktop's own dialog where it has one. False when cancelled.
[[nodiscard]] bool RunPlatformFileDialog(const FileDialogRequest& request, std::string& path);

}  // namespace Lx
