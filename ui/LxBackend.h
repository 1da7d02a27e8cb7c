// The platform seam: what the toolkit asks of a window system. A program links one implementation.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxCanvas.h"
#include "ui/LxTheme.h"
#include "ui/LxTypes.h"

namespace Lx {

class CWindow;

// Whether the desktop may be asked to open it: http, https or mailto, in printable ASCII, and mail that says who, what
// about and what, and attaches nothing.
[[nodiscard]] bool IsPublicAddress(const std::string& address);

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

    // Calls `ready` from the loop, also from one that runs for a dialog, each time that `fd` can be read, until Unwatch
    // of the number that it gives (from 1). The descriptor stays the caller's and open until then.
    virtual unsigned Watch(int fd, std::function<void()> ready) = 0;
    virtual void Unwatch(unsigned id) = 0;
    virtual void SetClipboard(const std::string& utf8) = 0;
    [[nodiscard]] virtual std::string Clipboard() = 0;
    // With the person's program for it, when IsPublicAddress. False when nothing could be started.
    [[nodiscard]] virtual bool OpenAddress(const std::string& address) = 0;
    // The folder of a file, with the file marked where the desktop can.
    virtual void ShowInFolder(const std::string& path) = 0;
    // Asks the desktop which colours it wants, without waiting; `told` is called when it says so and each time that it
    // changes its mind.
    virtual void AskAppearance(std::function<void(ThemeSet)> told) = 0;
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
    // Of the client area; also of a window that the user can't resize.
    virtual void Resize(const Size& clientSize) = 0;
    [[nodiscard]] virtual void* GetHandle() const = 0;
    // Repeats every `ms` milliseconds until killed; replaces a timer of the same id. False for an id or time of 0, or
    // without a window.
    virtual bool SetTimer(unsigned id, unsigned ms) = 0;
    virtual bool KillTimer(unsigned id) = 0;

    // Paints what is invalid now, for a caller that is about to block. Takes no input.
    virtual void FlushPaint() = 0;
    // Device pixels in one client pixel; 1 on a plain display, never below.
    [[nodiscard]] virtual float GetScale() const = 0;

    virtual void SetFullScreen(bool full) = 0;
    [[nodiscard]] virtual bool IsFullScreen() const = 0;
    // Client pixels that a window can have on its screen, without its frame. Empty: not known.
    [[nodiscard]] virtual Size WorkArea() const = 0;
};

// Begins, in a thread of its own, what the first window would wait for. First of all in main, or not at all.
void PreparePlatform();
// On the heap; the caller owns the result. No backend, after one line on standard error, when there is no display.
[[nodiscard]] CAppBackend* CreatePlatformBackend();
[[nodiscard]] CWindowImpl* CreatePlatformWindowImpl();

struct FileDialogRequest {
    CWindow* owner = nullptr;           // may be null
    std::string title;                  // UTF-8
    std::vector<std::string> patterns;  // "*.pdf"; empty: every file
    std::string initialPath;            // a file or a folder; may be empty or not exist
    bool save = false;                  // the name of a file that is to be written; it may not exist
};

// Asks for one existing file, modally, with the desktop's own dialog where it has one. False when cancelled.
[[nodiscard]] bool RunPlatformFileDialog(const FileDialogRequest& request, std::string& path);

struct MenuItem {
    std::string text{};      // empty: a line between others
    std::string shortcut{};  // shown beside it: "Ctrl+O"
    bool enabled = true;
    bool checkable = false, checked = false;
    std::vector<MenuItem> items{};  // of a menu inside the menu
    int command = 0;                // what is given back when it is chosen; over 0
};

// Shows a menu with its corner at `at`, client coordinates of `owner`, until one is chosen: its command, 0 for none.
[[nodiscard]] int RunPlatformMenu(CWindow* owner, const std::vector<MenuItem>& items, const Point& at);

struct PrintRequest {
    CWindow* owner = nullptr;
    std::string title;  // of the job
    int pages = 0;
    int current = 0;  // from 0
};

// A print job that the person has agreed to: pages from 0, in the order they are to be printed.
class IPrintJob {
  public:
    virtual ~IPrintJob() = default;
    [[nodiscard]] virtual const std::vector<int>& Pages() const = 0;
    // Begins a sheet for a page of that size in points; gives the size in device pixels to draw it at (at most 600
    // dpi), turned by `turn` quarters to fit. False when the printer doesn't take it.
    [[nodiscard]] virtual bool BeginPage(float width, float height, Size& device, int& turn) = 0;
    // Rows from `top` of the page drawn `width` pixels wide: as wide as the device, or less, but the same for all of
    // a page. As CCanvas::DrawPixels takes them.
    [[nodiscard]] virtual bool DrawBand(const unsigned char* rows, int width, int height, int stride, int top) = 0;
    // Ends the job; without it the job is given up when this goes.
    [[nodiscard]] virtual bool Finish() = 0;
};

// Asks which printer, which pages, actual size or fitted. Null when cancelled or when there is no print support, with
// the sentence in `error` then.
[[nodiscard]] std::unique_ptr<IPrintJob> RunPlatformPrintDialog(const PrintRequest& request, std::string& error);

}  // namespace Lx
