// CWindowImpl over one widget.
#pragma once

#include "ui/LxBackend.h"

class QWidget;

namespace Lx {

class CQtView;

class CQtWindow : public CWindowImpl {
  public:
    CQtWindow() = default;
    ~CQtWindow() override;
    CQtWindow(const CQtWindow&) = delete;
    CQtWindow& operator=(const CQtWindow&) = delete;

    bool Create(CWindow* owner, const std::string& title, const Size& clientSize) override;
    void Show() override;
    void Hide() override;
    void RequestClose() override;
    void Destroy() override;
    void InvalidateRect(const Rect* area) override;
    void SetTitle(const std::string& utf8) override;
    void SetResizable(bool resizable) override;
    void SetMinSize(const Size& clientSize) override;
    void SetMaxSize(const Size& clientSize) override;
    void Center() override;
    void Resize(const Size& clientSize) override;
    [[nodiscard]] void* GetHandle() const override;
    bool SetTimer(unsigned id, unsigned ms) override;
    bool KillTimer(unsigned id) override;
    void FlushPaint() override;
    [[nodiscard]] float GetScale() const override;
    [[nodiscard]] Size WorkArea() const override;
    void SetFullScreen(bool full) override;
    [[nodiscard]] bool IsFullScreen() const override;

    // Null once the window is closed.
    [[nodiscard]] QWidget* Widget() const;

  private:
    // Whether there is a window that isn't closed.
    [[nodiscard]] bool IsOpen() const;
    void ApplyLimits();

    CQtView* view_ = nullptr;  // freed by the event loop
    bool resizable_ = true;
    Size min_, max_;
};

// The widget of a window, for dialogs of Qt above it; null without one.
[[nodiscard]] QWidget* WidgetOf(const CWindow* window);

}  // namespace Lx
