#include "ui/LxWindow.h"

#include <algorithm>
#include <utility>

#include "ui/LxButton.h"
#include "ui/LxLabel.h"

namespace Lx {

namespace {

constexpr Size kDefaultSize{800, 600};

bool TakesInput(const CControl& control) {
    return control.visible && control.enabled && control.IsInteractive();
}

void SendFocusEvent(CControl* control, EventType type) {
    Event ev;
    ev.type = type;
    control->OnEvent(ev);
}

}  // namespace

CWindow::CWindow() = default;

CWindow::~CWindow() {
    delete std::exchange(impl, nullptr);
    focus = hover = capture = overlay = nullptr;
    for (CControl* control : std::exchange(controls, {})) {
        control->parent = nullptr;
        delete control;
    }
}

void CWindow::OnPaint(CCanvas* /*canvas*/) {}
void CWindow::OnThemeChanged() {
    backColor = InThemeNow(backColor, {ColorRole::Window, ColorRole::AppBackground});
}
Rect CWindow::ClipOf(const CControl& control) const {
    return control.rect;
}
void CWindow::PaintGround(CCanvas* canvas) {
    OnPaint(canvas);
}
void CWindow::PaintAbove(CCanvas* /*canvas*/) {}
bool CWindow::OfferFirst(Event& /*ev*/) {
    return false;
}
bool CWindow::OfferWheel(const Event& /*ev*/) {
    return false;
}
void CWindow::FocusMoved() {}
bool CWindow::OnInit() {
    return true;
}
bool CWindow::OnClose() {
    return true;
}
void CWindow::OnDestroy() {}
void CWindow::OnTimer(unsigned /*id*/) {}
void CWindow::OnSize(unsigned /*flags*/, const Size& /*size*/) {}
void CWindow::OnMove(const Point& /*pt*/) {}
void CWindow::OnLButtonDown(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnLButtonUp(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnRButtonDown(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnRButtonUp(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnMouseMove(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnMouseWheel(unsigned /*modifiers*/, int /*delta*/, const Point& /*pt*/) {}
void CWindow::OnMouseDoubleClick(unsigned /*modifiers*/, const Point& /*pt*/) {}
void CWindow::OnKeyDown(KeyCode /*key*/, unsigned /*modifiers*/) {}
void CWindow::OnKeyUp(KeyCode /*key*/, unsigned /*modifiers*/) {}
void CWindow::OnChar(unsigned /*ch*/) {}
void CWindow::OnSetFocus() {}
void CWindow::OnKillFocus() {}
void CWindow::OnShortcut(char /*letter*/, unsigned /*modifiers*/) {}
void CWindow::OnContextMenu(const Point& /*pt*/) {}
void CWindow::OnDropFile(const std::string& /*path*/) {}
bool CWindow::AcceptsFiles() const {
    return false;
}

bool CWindow::Create() {
    if (title.empty()) title = "LxWindow";
    if (rect.w < 1) rect.w = kDefaultSize.cx;
    if (rect.h < 1) rect.h = kDefaultSize.cy;
    // A dialog may be closed while a button is down and shown again later.
    hover = capture = overlay = nullptr;
    delete std::exchange(impl, nullptr);
    impl = CreatePlatformWindowImpl();
    if (!impl) return false;
    if (!impl->Create(this, title, {rect.w, rect.h})) {
        delete std::exchange(impl, nullptr);
        return false;
    }
    FitScreen();
    return OnInit();
}

void CWindow::FitScreen() {
    const Size room = impl->WorkArea();
    if (room.cx < 1 || room.cy < 1 || (rect.w <= room.cx && rect.h <= room.cy)) return;
    rect.w = std::min(rect.w, room.cx);
    rect.h = std::min(rect.h, room.cy);
    impl->Resize({rect.w, rect.h});
}

void CWindow::Show() {
    if (impl) impl->Show();
}

void CWindow::Hide() {
    if (impl) impl->Hide();
}

void CWindow::Close() {
    if (impl) impl->RequestClose();
}

void CWindow::SetFullScreen(bool full) {
    if (impl) impl->SetFullScreen(full);
}

bool CWindow::IsFullScreen() const {
    return impl && impl->IsFullScreen();
}

void CWindow::Center() {
    if (impl) impl->Center();
}

void CWindow::SetResizable(bool resizable) {
    if (impl) impl->SetResizable(resizable);
}

void CWindow::SetMinSize(const Size& size) {
    if (!impl) return;
    const Size room = impl->WorkArea();
    const bool known = room.cx > 0 && room.cy > 0;
    impl->SetMinSize(known ? Size{std::min(size.cx, room.cx), std::min(size.cy, room.cy)} : size);
}

void CWindow::SetMaxSize(const Size& size) {
    if (impl) impl->SetMaxSize(size);
}

void* CWindow::GetNativeHandle() const {
    return impl ? impl->GetHandle() : nullptr;
}

void CWindow::SetTitle(const std::string& utf8) {
    title = utf8;
    if (impl) impl->SetTitle(utf8);
}

void CWindow::SetBackColor(const Color& color) {
    backColor = color;
    InvalidateRect(nullptr);
}

void CWindow::InvalidateRect(const Rect* area) {
    if (impl) impl->InvalidateRect(area);
}

bool CWindow::SetTimer(unsigned id, unsigned ms) {
    return id != 0 && ms != 0 && impl && impl->SetTimer(id, ms);
}

bool CWindow::KillTimer(unsigned id) {
    return id != 0 && impl && impl->KillTimer(id);
}

void CWindow::FlushPaint() {
    if (impl) impl->FlushPaint();
}

float CWindow::GetScale() const {
    return impl ? impl->GetScale() : 1.0F;
}

CControl* CWindow::AddControl(CControl* control) {
    if (!control) return nullptr;
    // One owner only, or it would be deleted twice.
    if (CWindow* other = WindowOf(control)) other->RemoveControl(control, false);
    control->parent = this;
    controls.push_back(control);
    InvalidateRect(nullptr);
    return control;
}

CButton* CWindow::AddButton(const std::string& text, const Rect& where) {
    auto* button = new CButton(text);
    button->rect = where;
    AddControl(button);
    return button;
}

CLabel* CWindow::AddLabel(const std::string& text, const Rect& where) {
    auto* label = new CLabel(text);
    label->rect = where;
    AddControl(label);
    return label;
}

void CWindow::RemoveControl(CControl* control, bool destroy) {
    const auto it = std::find(controls.begin(), controls.end(), control);
    if (it == controls.end()) return;
    controls.erase(it);
    for (CControl** pointer : {&focus, &hover, &capture, &overlay})
        if (*pointer == control) *pointer = nullptr;
    control->parent = nullptr;
    if (destroy) delete control;
    InvalidateRect(nullptr);
}

void CWindow::SetFocusControl(CControl* control) {
    focus = control;
    FocusMoved();
    // The old and the new control look different now, and neither is told.
    InvalidateRect(nullptr);
}

void CWindow::SetOverlayControl(CControl* control) {
    overlay = control;
}

CControl* CWindow::HitTest(const Point& pt) const {
    for (auto it = controls.rbegin(); it != controls.rend(); ++it)
        if (TakesInput(**it) && (*it)->rect.Contains(pt) && ClipOf(**it).Contains(pt)) return *it;
    return nullptr;
}

bool CWindow::Owns(const CControl* control) const {
    return control && std::find(controls.begin(), controls.end(), control) != controls.end();
}

void CWindow::RouteEvent(Event& ev) {
    if (OfferFirst(ev) || OfferToOverlay(ev)) return;
    CControl* target = PickTarget(ev);
    target = TrackHover(ev, target);
    if (Deliver(ev, target)) return;
    const CControl* before = focus;
    DispatchToOwner(ev);
    const bool tab = ev.type == EventType::KeyDown && ev.key == static_cast<uint16_t>(KeyCode::Tab);
    // A window that has its own way with Tab has moved the focus already.
    if (tab && (ev.modifiers & ~kShift) == 0 && focus == before) MoveFocus((ev.modifiers & kShift) != 0);
}

bool CWindow::OfferToOverlay(Event& ev) {
    if (!overlay || !overlay->visible || !IsMouseEvent(ev.type)) return false;
    ev.handled = false;
    overlay->OnEvent(ev);
    // The press that opened a list captured the mouse; its release ends that wherever it goes.
    if (ev.handled && ev.type == EventType::MouseUp) capture = nullptr;
    return ev.handled;
}

CControl* CWindow::PickTarget(const Event& ev) {
    if (ev.type == EventType::Shortcut) return nullptr;
    // An open list lies above what the pointer is over.
    if (ev.type == EventType::Scroll || ev.type == EventType::Zoom)
        return overlay && overlay->visible ? overlay : HitTest(ev.pt);
    if (!IsMouseEvent(ev.type)) return focus;
    if (capture) return ev.type == EventType::MouseUp ? std::exchange(capture, nullptr) : capture;
    // The second of two quick clicks is a press like any other.
    if (ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick) return PressTarget(ev);
    return HitTest(ev.pt);
}

CControl* CWindow::PressTarget(const Event& ev) {
    CControl* hit = HitTest(ev.pt);
    if (!hit || !GiveFocus(hit)) return nullptr;
    capture = hit;
    return hit;
}

bool CWindow::GiveFocus(CControl* control) {
    if (control == focus) return true;
    if (focus) SendFocusEvent(focus, EventType::KillFocus);
    if (!Owns(control)) return false;
    focus = control;
    FocusMoved();
    SendFocusEvent(control, EventType::SetFocus);
    InvalidateRect(nullptr);
    return Owns(control);
}

CControl* CWindow::TrackHover(const Event& ev, CControl* target) {
    if (ev.type != EventType::MouseMove || capture) return target;
    if (hover && hover != target) {
        Event leaving = ev;
        leaving.handled = false;
        hover->OnEvent(leaving);
        if (!Owns(target)) target = nullptr;
    }
    hover = target;
    return target;
}

bool CWindow::Deliver(Event& ev, CControl* target) {
    if (target) {
        ev.handled = false;
        target->OnEvent(ev);
    }
    return ev.handled;
}

void CWindow::MoveFocus(bool backwards) {
    const size_t count = controls.size();
    const auto here = static_cast<size_t>(std::find(controls.begin(), controls.end(), focus) - controls.begin());
    // Without a focus the walk starts before the first control, or behind the last.
    size_t at = here < count ? here : (backwards ? 0 : count - 1);
    for (size_t tries = 0; tries < count; ++tries) {
        at = (at + (backwards ? count - 1 : 1)) % count;
        if (!TakesInput(*controls[at])) continue;
        GiveFocus(controls[at]);
        return;
    }
}

void CWindow::DispatchToOwner(Event& ev) {
    const bool right = ev.button == kRightButton;
    const auto key = static_cast<KeyCode>(ev.key);
    switch (ev.type) {
        case EventType::MouseMove:
            return OnMouseMove(ev.modifiers, ev.pt);
        case EventType::MouseDown:
            return right ? OnRButtonDown(ev.modifiers, ev.pt) : OnLButtonDown(ev.modifiers, ev.pt);
        case EventType::MouseUp:
            return right ? OnRButtonUp(ev.modifiers, ev.pt) : OnLButtonUp(ev.modifiers, ev.pt);
        case EventType::MouseDoubleClick:
            return OnMouseDoubleClick(ev.modifiers, ev.pt);
        case EventType::MouseWheel:
            return OfferWheel(ev) ? void() : OnMouseWheel(ev.modifiers, ev.wheelDelta, ev.pt);
        case EventType::KeyDown:
            return OnKeyDown(key, ev.modifiers);
        case EventType::KeyUp:
            return OnKeyUp(key, ev.modifiers);
        case EventType::Char:
            return OnChar(ev.key);
        case EventType::SetFocus:
            return OnSetFocus();
        case EventType::KillFocus:
            return OnKillFocus();
        case EventType::Shortcut:
            return OnShortcut(static_cast<char>(ev.key), ev.modifiers);
        case EventType::ContextMenu:
            return OnContextMenu(ev.pt);
        case EventType::None:
        case EventType::Text:
        case EventType::Command:
        case EventType::Scroll:
        case EventType::Zoom:
            return;
    }
}

void CWindow::PaintAll(CCanvas* canvas) {
    if (!canvas) return;
    const Rect everything{-1, -1, rect.w + 2, rect.h + 2};
    canvas->FillRect(everything, backColor);
    PaintGround(canvas);
    for (const bool above : {false, true}) {
        // By index: painting may add a control.
        for (size_t i = 0; i < controls.size(); ++i) {
            CControl* control = controls[i];
            if (!control->visible || control->IsOverlayPaint() != above) continue;
            const CCanvasState state(*canvas);
            const Rect clip = ClipOf(*control);
            if (!above && clip != control->rect) canvas->ClipRect(clip);
            canvas->ClipRect(above ? everything : control->rect);
            control->OnPaint(canvas);
        }
    }
    PaintAbove(canvas);
}

void CWindow::HandleResize(const Size& size) {
    rect = {0, 0, size.cx, size.cy};
    OnSize(0, size);
    InvalidateRect(nullptr);
}

void CWindow::HandleMove(const Point& pt) {
    OnMove(pt);
}

}  // namespace Lx
