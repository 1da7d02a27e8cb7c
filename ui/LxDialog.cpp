#include "ui/LxDialog.h"

#include <utility>

#include "ui/DialogScroll.h"
#include "ui/LxApp.h"
#include "ui/LxTheme.h"

namespace Lx {

namespace {

constexpr int kWheelStep = 48;

}  // namespace

CDialog::CDialog(CWindow* ownerWindow) : owner(ownerWindow), scroll_(std::make_unique<DialogScroll>(*this)) {
    backColor = ThemeColor(ColorRole::Window);
    title = "Dialog";
    rect = {0, 0, 400, 300};
    keepAppOnClose = true;
}

CDialog::~CDialog() = default;

void CDialog::OnDestroy() {
    CWindow::OnDestroy();
    done = true;
}

int CDialog::DoModal() {
    done = false;
    result = 0;
    LxApp* app = LxApp::s_pApp;
    if (!app || !app->backend) return -1;
    const Size made{rect.w, rect.h};
    scroll_->Begin(least.cx > 0 ? least : made);
    if (!Create()) {
        delete std::exchange(impl, nullptr);
        rect.w = made.cx;
        rect.h = made.cy;
        return -1;
    }
    FocusMoved();
    // The release of a press that opened the dialog never reaches the owner.
    if (owner) owner->capture = nullptr;
    Center();
    Show();
    app->dialogs_.push_back(this);
    app->backend->RunModal(done);
    std::erase(app->dialogs_, this);
    delete std::exchange(impl, nullptr);
    scroll_->End();
    rect.w = made.cx;
    rect.h = made.cy;
    if (owner) owner->InvalidateRect(nullptr);
    return result;
}

void CDialog::EndDialog(int code) {
    result = code;
    if (impl) impl->Destroy();
    done = true;
}

bool CDialog::OfferWheel(const Event& ev) {
    if (!scroll_->Active()) return false;
    const int by = -ev.wheelDelta * kWheelStep;
    const bool sideways = (ev.modifiers & kShift) != 0;
    scroll_->ScrollBy(sideways ? by : 0, sideways ? 0 : by);
    InvalidateRect(nullptr);
    return true;
}

Rect CDialog::ClipOf(const CControl& control) const {
    return scroll_->Active() ? scroll_->ClipOf(control) : CWindow::ClipOf(control);
}

void CDialog::PaintGround(CCanvas* canvas) {
    if (!scroll_->Active()) return OnPaint(canvas);
    scroll_->Arrange();
    scroll_->PaintGround(*canvas, [this, canvas] { OnPaint(canvas); });
}

void CDialog::PaintAbove(CCanvas* canvas) {
    if (scroll_->Active()) scroll_->PaintBar(*canvas);
}

bool CDialog::OfferFirst(Event& ev) {
    if (!scroll_->Active() || !IsMouseEvent(ev.type) || !scroll_->OnMouse(ev)) return false;
    ev.handled = true;
    InvalidateRect(nullptr);
    return true;
}

void CDialog::FocusMoved() {
    if (scroll_->Active() && focus != nullptr) scroll_->Reveal(*focus);
}

}  // namespace Lx
