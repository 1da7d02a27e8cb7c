#include "ui/LxButton.h"

#include <algorithm>

#include "ui/Drawing.h"
#include "ui/LxTheme.h"
#include "ui/LxWindow.h"

namespace Lx {

namespace {

// Sizes may be declared with or without decimals.
float SizeOf(const CStyleSheet& sheet, const std::string& key, float def) {
    const StyleValue value = sheet.GetProperty(key, def);
    if (const auto* whole = std::get_if<int32_t>(&value)) return static_cast<float>(*whole);
    const auto* number = std::get_if<float>(&value);
    return number ? *number : def;
}

Color Lighter(const Color& c) {
    const auto raise = [](uint8_t v) { return static_cast<uint8_t>(std::min<int>(v, 237) + 18); };
    return {raise(c.r), raise(c.g), raise(c.b), c.a};
}

Color Darker(const Color& c) {
    const auto lower = [](uint8_t v) { return static_cast<uint8_t>(std::max<int>(v, 22) - 22); };
    return {lower(c.r), lower(c.g), lower(c.b), c.a};
}

// Between a text that had to be cut and the edge.
constexpr int kLeastPadding = 4;

FieldLook LettersOf(const CStyleSheet& sheet) {
    FieldLook look;
    look.family = sheet.GetString("font-family", "");
    if (look.family.empty()) look.family = "system";
    look.fontSize = sheet.GetInt("font-size", 14);
    look.bold = sheet.GetBool("font-weight-bold", false);
    look.italic = sheet.GetBool("font-style-italic", false);
    return look;
}

}  // namespace

CButton::CButton(const std::string& caption) : text(caption), style(CStyleManager::Instance().DefaultButtonStyle()) {
    rect = {0, 0, 100, 32};
}

ButtonState CButton::DerivedState() const {
    if (!enabled) return ButtonState::Disabled;
    if (checked)
        return pressed ? ButtonState::CheckedPressed : hovered ? ButtonState::CheckedHover : ButtonState::Checked;
    return pressed   ? ButtonState::Pressed
           : hovered ? ButtonState::Hover
           : focused ? ButtonState::Focused
                     : ButtonState::Normal;
}

void CButton::UpdateState() {
    state = DerivedState();
    Invalidate(nullptr);
}

void CButton::SetText(const std::string& utf8) {
    text = utf8;
    Invalidate(nullptr);
}

void CButton::SetFlat(bool value) {
    flat = value;
    Invalidate(nullptr);
}

void CButton::SetChecked(bool value) {
    if (!checkable || checked == value) return;
    checked = value;
    UpdateState();
}

void CButton::SetEnabled(bool value) {
    enabled = value;
    // A press that began before doesn't click any more.
    if (!enabled) pressed = false;
    UpdateState();
}

void CButton::SetStyle(const std::string& css) {
    const CStyleSheet sheet = CStyleSheet::Parse(css);
    for (const ButtonState same :
         {ButtonState::Normal, ButtonState::Focused, ButtonState::Disabled, ButtonState::Checked})
        style.Get(same) = sheet;
    if (!hoverExplicit) {
        CStyleSheet& hover = style.Get(ButtonState::Hover);
        CStyleSheet& press = style.Get(ButtonState::Pressed);
        hover = press = sheet;
        if (!hoverFollowsNormal) {
            const bool has = sheet.HasProperty("background-color");
            const Color base = sheet.GetColor("background-color", {});
            hover.SetProperty("background-color", has ? Lighter(base) : ThemeColor(ColorRole::PlainHover));
            press.SetProperty("background-color", has ? Darker(base) : ThemeColor(ColorRole::PlainPressed));
        }
    }
    UpdateState();
}

void CButton::SetHoverStyle(const std::string& css) {
    hoverExplicit = !css.empty();
    hoverFollowsNormal = css.empty();
    CStyleSheet& hover = style.Get(ButtonState::Hover);
    hover = css.empty() ? style.Get(ButtonState::Normal) : CStyleSheet::Parse(css);
    style.Get(ButtonState::CheckedHover) = hover;
    Invalidate(nullptr);
}

void CButton::SetButtonStyle(const CButtonStyle& value) {
    style = value;
    Invalidate(nullptr);
}

void CButton::OnEvent(Event& ev) {
    switch (ev.type) {
        case EventType::MouseMove:
            return OnMouseMove(ev);
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:
            if (!rect.Contains(ev.pt)) return;
            ev.handled = true;
            pressed = true;
            return UpdateState();
        case EventType::MouseUp:
            return OnRelease(ev);
        case EventType::SetFocus:
        case EventType::KillFocus:
            return OnFocusChange(ev);
        default:
            return;
    }
}

void CButton::OnMouseMove(Event& ev) {
    const bool inside = rect.Contains(ev.pt);
    // A hovered button keeps its look when the pointer leaves without a press.
    if (!inside && !pressed) return;
    ev.handled = true;
    if (hovered == inside) return;
    hovered = inside;
    UpdateState();
}

void CButton::OnRelease(Event& ev) {
    const bool wasPressed = pressed;
    pressed = false;
    UpdateState();
    if (!wasPressed) return;
    ev.handled = true;
    if (rect.Contains(ev.pt)) Click();
}

void CButton::OnFocusChange(Event& ev) {
    ev.handled = true;
    focused = ev.type == EventType::SetFocus;
    if (!focused) pressed = false;
    UpdateState();
}

void CButton::Click() {
    if (checkable) {
        checked = !checked;
        UpdateState();
    }
    // A copy: the handler may bind another one, or delete the button and with it the function that is running.
    const auto handler = onClick;
    if (handler) handler();
}

AccessibleInfo CButton::Accessibility() const {
    AccessibleInfo info;
    info.role = checkable ? AccessibleRole::ToggleButton : AccessibleRole::Button;
    info.name = text;
    info.checked = checked;
    return info;
}

bool CButton::DoAccessibleAction(AccessibleAction action, const std::string& /*text*/, int /*index*/) {
    if (action != AccessibleAction::Press || !enabled || !visible) return false;
    Click();
    return true;
}

bool CButton::ShowsFocus() const {
    const CWindow* window = WindowOf(this);
    // The window's own choice stands above what the last focus event said.
    return window && window->focus ? HasFocus() : focused;
}

Color CButton::TextColor(const CStyleSheet& sheet, const Color& background) const {
    if (sheet.HasProperty("color")) return sheet.GetColor("color", {});
    const Color behind = background.a > 0 ? background : BackdropOf(this);
    const bool dark = behind.a > 0 && Luminance(behind) < kDarkBelow;
    return ThemeColor(dark ? ColorRole::TextOnDark : ColorRole::TextOnLight);
}

Size CButton::Fit(CCanvas& canvas, const FieldLook& look, std::string& shown) const {
    const Size whole = Measure(canvas, text, look);
    shown = text;
    if (whole.cx <= rect.w) return whole;
    shown = Elide(canvas, text, rect.w - 2 * kLeastPadding, look);
    return {Measure(canvas, shown, look).cx, whole.cy};
}

void CButton::PaintText(CCanvas* canvas, const CStyleSheet& sheet, const Color& color) const {
    if (text.empty()) return;
    const FieldLook look = LettersOf(sheet);
    std::string shown;
    const Size box = Fit(*canvas, look, shown);
    const Point at{rect.x + (rect.w - box.cx) / 2, rect.y + (rect.h - box.cy) / 2};
    canvas->DrawText(shown, at, color, look.family, look.fontSize, look.bold, look.italic);
}

std::string CButton::ToolTip(const Point& /*pt*/) const {
    CCanvas* canvas = MeasuringCanvas();
    std::string shown;
    if (canvas == nullptr || text.empty()) return {};
    Fit(*canvas, LettersOf(style.Get(DerivedState())), shown);
    return shown == text ? std::string() : text;
}

void CButton::OnThemeChanged() {
    CStyleManager::Instance().Follow(style);
}

void CButton::OnPaint(CCanvas* canvas) {
    // `enabled` may have been set without a call.
    state = DerivedState();
    const CStyleSheet& sheet = style.Get(state);
    const Color background = sheet.GetColor("background-color", ThemeColor(ColorRole::PlainButton));
    const Color border = sheet.GetColor("border-color", ThemeColor(ColorRole::PlainBorder));
    const float radius = SizeOf(sheet, "border-radius", flat ? 0.0F : 4.0F);
    float width = SizeOf(sheet, "border-width", flat ? 0.0F : 1.0F);
    if (flat && state == ButtonState::Normal && !hovered) width = 0;

    if (background.a > 0 && radius > 0) canvas->FillRoundRect(rect, radius, background);
    if (background.a > 0 && !(radius > 0)) canvas->FillRect(rect, background);
    if (width > 0 && radius > 0) canvas->DrawRoundRect(rect, radius, border, width);
    if (width > 0 && !(radius > 0)) canvas->DrawRect(rect, border, width);
    PaintText(canvas, sheet, TextColor(sheet, background));

    if (!ShowsFocus() || !enabled || !(width > 0)) return;
    const Color ring = sheet.GetColor("focus-color", ThemeColor(ColorRole::PlainRing));
    const Rect inset{rect.x + 2, rect.y + 2, rect.w - 4, rect.h - 4};
    if (radius > 0)
        canvas->DrawRoundRect(inset, radius - 2, ring, 1.5F);
    else
        canvas->DrawRect(inset, ring, 1.5F);
}

}  // namespace Lx
