#include "ui/LxControl.h"

#include "ui/LxTheme.h"
#include "ui/LxWindow.h"

namespace Lx {

void CControl::OnPaint(CCanvas* /*canvas*/) {}

void CControl::OnEvent(Event& /*ev*/) {}

void CControl::Invalidate(const Rect* area) {
    if (CWindow* window = WindowOf(this)) window->InvalidateRect(area);
}

bool CControl::IsInteractive() const {
    return true;
}

bool CControl::IsOverlayPaint() const {
    return false;
}

AccessibleInfo CControl::Accessibility() const {
    return {};
}

bool CControl::DoAccessibleAction(AccessibleAction /*action*/, const std::string& /*text*/, int /*index*/) {
    return false;
}

bool CControl::CaretRect(Rect& caret) const {
    caret = {};
    return false;
}

CursorShape CControl::Cursor() const {
    return CursorShape::Arrow;
}

std::string CControl::ToolTip(const Point& /*pt*/) const {
    return {};
}

void CControl::OnThemeChanged() {}

bool CControl::HasFocus() const {
    const CWindow* window = WindowOf(this);
    return window && window->focus == this;
}

CWindow* WindowOf(const CControl* control) {
    for (CControl* up = control ? control->parent : nullptr; up; up = up->parent)
        if (auto* window = dynamic_cast<CWindow*>(up)) return window;
    return nullptr;
}

Color BackdropOf(const CControl* control) {
    const auto* window = dynamic_cast<const CWindow*>(control);
    if (!window) window = WindowOf(control);
    return window ? window->backColor : ThemeColor(ColorRole::Window);
}

}  // namespace Lx
