// A top-level window: owns a flat list of controls, routes input to them and paints them.
#pragma once

#include <string>
#include <vector>

#include "ui/LxBackend.h"
#include "ui/LxControl.h"
#include "ui/LxTheme.h"

namespace Lx {

class CButton;
class CComboBox;
class CEdit;
class CLabel;
class CListView;
class CPdfView;

class CWindow : public CControl {
  public:
    CWindow();
    // The platform window first, then every control.
    ~CWindow() override;

    void OnPaint(CCanvas* canvas) override;
    // A back colour of the theme's own follows it; so do those of the controls.
    void OnThemeChanged() override;

    // False makes Create fail. Controls are added here.
    virtual bool OnInit();
    // False keeps a window open that the user wants to close.
    virtual bool OnClose();
    virtual void OnDestroy();
    virtual void OnTimer(unsigned id);
    virtual void OnSize(unsigned flags, const Size& size);
    virtual void OnMove(const Point& pt);
    virtual void OnLButtonDown(unsigned modifiers, const Point& pt);
    virtual void OnLButtonUp(unsigned modifiers, const Point& pt);
    virtual void OnRButtonDown(unsigned modifiers, const Point& pt);
    virtual void OnRButtonUp(unsigned modifiers, const Point& pt);
    virtual void OnMouseMove(unsigned modifiers, const Point& pt);
    virtual void OnMouseWheel(unsigned modifiers, int delta, const Point& pt);
    virtual void OnMouseDoubleClick(unsigned modifiers, const Point& pt);
    virtual void OnKeyDown(KeyCode key, unsigned modifiers);
    virtual void OnKeyUp(KeyCode key, unsigned modifiers);
    virtual void OnChar(unsigned ch);
    virtual void OnSetFocus();
    virtual void OnKillFocus();
    // A letter 'A' to 'Z' with Control that no control took as an edit command (Ctrl+O, Ctrl+W, Ctrl+Q...).
    // Also '+', '-' and '0'.
    virtual void OnShortcut(char letter, unsigned modifiers);
    // The menu key where no control took it.
    virtual void OnContextMenu(const Point& pt);
    // A file was dropped on the window. A window that takes files says so in AcceptsFiles.
    virtual void OnDropFile(const std::string& path);
    [[nodiscard]] virtual bool AcceptsFiles() const;

    // Makes the platform window and calls OnInit; false when either fails.
    [[nodiscard]] bool Create();
    // All of these do nothing while there is no platform window.
    void Show();
    void Hide();
    void Close();
    void Center();
    void SetResizable(bool resizable);
    void SetMinSize(const Size& size);
    void SetMaxSize(const Size& size);
    [[nodiscard]] void* GetNativeHandle() const;
    void SetTitle(const std::string& utf8);
    void SetBackColor(const Color& color);
    void InvalidateRect(const Rect* area);
    bool SetTimer(unsigned id, unsigned ms);
    bool KillTimer(unsigned id);
    void SetFullScreen(bool full);
    [[nodiscard]] bool IsFullScreen() const;
    // Paints now what is invalid; takes no input.
    void FlushPaint();
    // Device pixels in one client pixel, 1 without a platform window.
    [[nodiscard]] float GetScale() const;

    // The window takes ownership. Null in, null out.
    CControl* AddControl(CControl* control);
    CButton* AddButton(const std::string& text, const Rect& where);
    CLabel* AddLabel(const std::string& text, const Rect& where);
    CEdit* AddEdit(const std::string& text, const Rect& where);
    CComboBox* AddComboBox(const std::vector<std::string>& items, const Rect& where);
    CListView* AddListView(const Rect& where);
    CPdfView* AddPdfView(const Rect& where);
    // Forgets the control wherever the window points at it; deletes it when told to. Ignores a control of another
    // window. A control may be removed from within its own handler.
    void RemoveControl(CControl* control, bool destroy);

    // Sends no focus events: controls take their focus look from `focus`.
    void SetFocusControl(CControl* control);
    // Null clears it.
    void SetOverlayControl(CControl* control);

    // The topmost control at the point that is visible, enabled and interactive; null when there is none.
    [[nodiscard]] CControl* HitTest(const Point& pt) const;
    // Entry points of the backend.
    void RouteEvent(Event& ev);
    void DispatchToOwner(Event& ev);
    void PaintAll(CCanvas* canvas);
    void HandleResize(const Size& size);
    void HandleMove(const Point& pt);

    std::string title;
    Color backColor = ThemeColor(ColorRole::Window);
    std::vector<CControl*> controls;  // owned; painting order, the reverse of hit testing
    CWindowImpl* impl = nullptr;      // owned
    CControl* focus = nullptr;        // the others are not
    CControl* hover = nullptr;
    CControl* capture = nullptr;  // gets all mouse events from its MouseDown to the next MouseUp
    CControl* overlay = nullptr;  // offered mouse events first: the control with an open drop-down list
    bool keepAppOnClose = false;  // when false, the application quits as this window closes

  protected:
    // For a window that shows its controls through an opening of its own: what of the client area shows one, what is
    // painted below them all and above them all, who is offered events before any control and a wheel that none took,
    // and that `focus` changed.
    [[nodiscard]] virtual Rect ClipOf(const CControl& control) const;
    virtual void PaintGround(CCanvas* canvas);
    virtual void PaintAbove(CCanvas* canvas);
    virtual bool OfferFirst(Event& ev);
    virtual bool OfferWheel(const Event& ev);
    virtual void FocusMoved();

  private:
    // A platform window larger than its screen has room for becomes smaller.
    void FitScreen();
    // The stages of RouteEvent. A handler may remove any control, so that each stage gives what is left of the target.
    bool OfferToOverlay(Event& ev);
    CControl* PickTarget(const Event& ev);
    CControl* PressTarget(const Event& ev);
    CControl* TrackHover(const Event& ev, CControl* target);
    static bool Deliver(Event& ev, CControl* target);

    // Tab and Shift+Tab, for keys that no control consumed.
    void MoveFocus(bool backwards);
    // With the focus events. False when their handlers removed the control.
    bool GiveFocus(CControl* control);
    [[nodiscard]] bool Owns(const CControl* control) const;
};

}  // namespace Lx
