// Base of every control. Controls are placed absolutely in client coordinates of the window that owns them.
#pragma once

#include "ui/LxAccessible.h"
#include "ui/LxCanvas.h"
#include "ui/LxTypes.h"

namespace Lx {

class CWindow;

enum class CursorShape { Arrow, Text, Hand, OpenHand, ClosedHand };

class CControl {
  public:
    CControl() = default;
    virtual ~CControl() = default;
    CControl(const CControl&) = delete;
    CControl& operator=(const CControl&) = delete;

    virtual void OnPaint(CCanvas* canvas);
    // Sets `handled` of an event that it consumes.
    virtual void OnEvent(Event& ev);
    // Asks for a repaint of the window that holds the control; null is all of it. Nothing while detached.
    virtual void Invalidate(const Rect* area);
    // Takes mouse events and focus.
    [[nodiscard]] virtual bool IsInteractive() const;
    // Is painted after all others and may paint outside its rect.
    [[nodiscard]] virtual bool IsOverlayPaint() const;

    // Beyond the five, for the desktop around the window.
    [[nodiscard]] virtual AccessibleInfo Accessibility() const;
    // False when the control doesn't know the action or is disabled. A press acts exactly as a click does.
    virtual bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index);
    // Where the caret stands, in client coordinates, for input methods. False without a caret.
    [[nodiscard]] virtual bool CaretRect(Rect& caret) const;
    [[nodiscard]] virtual CursorShape Cursor() const;
    // What to show beside the pointer that rests at `pt`: a text that is cut on the screen, what a picture means.
    // Empty: nothing.
    [[nodiscard]] virtual std::string ToolTip(const Point& pt) const;
    // The colours of the theme changed: what was taken from it is taken anew.
    virtual void OnThemeChanged();

    Rect rect;
    bool visible = true;
    bool enabled = true;
    CControl* parent = nullptr;  // the CWindow whose list holds this control; null while detached

  protected:
    // Whether this control is the `focus` of its window.
    [[nodiscard]] bool HasFocus() const;
};

// The window whose list holds the control; null while it is detached.
[[nodiscard]] CWindow* WindowOf(const CControl* control);

// The colour behind a control: the back colour of the first CWindow from the control itself upwards; the theme's for
// windows without one.
[[nodiscard]] Color BackdropOf(const CControl* control);

}  // namespace Lx
