// Push button, optionally flat or a toggle, drawn from one style sheet per state.
#pragma once

#include <functional>
#include <string>

#include "ui/LxControl.h"
#include "ui/LxStyle.h"

namespace Lx {

struct FieldLook;

class CButton : public CControl {
  public:
    explicit CButton(const std::string& text = "");

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;
    void OnThemeChanged() override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;

    void SetText(const std::string& utf8);
    // A flat button has no border unless it is hovered.
    void SetFlat(bool value);
    // Nothing unless the button is checkable.
    void SetChecked(bool value);
    // Enables or disables, with the look that goes with it.
    void SetEnabled(bool value);
    // The sheet of the states normal, focused, disabled and checked; hover and pressed are derived from it unless a
    // hover style was given.
    void SetStyle(const std::string& css);
    // The sheet of the hover state; an empty text makes hover follow normal.
    void SetHoverStyle(const std::string& css);
    void SetButtonStyle(const CButtonStyle& value);
    [[nodiscard]] const CButtonStyle& GetButtonStyle() const { return style; }

    template <class T>
    void OnClick(T* obj, void (T::*fn)()) {
        onClick = [obj, fn] { (obj->*fn)(); };
    }

    std::string text;
    std::function<void()> onClick;
    CButtonStyle style;
    bool flat = false;
    bool checkable = false;
    bool checked = false;
    bool hovered = false;
    bool pressed = false;
    bool focused = false;
    bool hoverExplicit = false;
    bool hoverFollowsNormal = false;
    ButtonState state = ButtonState::Normal;  // derived from the flags

  private:
    void UpdateState();
    [[nodiscard]] ButtonState DerivedState() const;
    void OnMouseMove(Event& ev);
    void OnRelease(Event& ev);
    void OnFocusChange(Event& ev);
    // Toggles and notifies. The handler may delete the button: nothing of it is touched afterwards.
    void Click();
    [[nodiscard]] Color TextColor(const CStyleSheet& sheet, const Color& background) const;
    // The text, as much of it as fits, and its size.
    Size Fit(CCanvas& canvas, const FieldLook& look, std::string& shown) const;
    void PaintText(CCanvas* canvas, const CStyleSheet& sheet, const Color& color) const;
    [[nodiscard]] bool ShowsFocus() const;
};

}  // namespace Lx
