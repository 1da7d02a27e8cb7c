#include "ui/platform/qt/QtWindow.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>

#include "ui/LxDialog.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtView.h"

namespace Lx {

namespace {

constexpr QSize kUsualFrame{4, 36};

}  // namespace

CQtWindow::~CQtWindow() {
    if (view_ == nullptr) return;
    view_->Detach();
    view_->hide();
    view_->deleteLater();
}

bool CQtWindow::IsOpen() const {
    return view_ != nullptr && view_->Owner() != nullptr;
}

bool CQtWindow::Create(CWindow* owner, const std::string& title, const Size& clientSize) {
    if (CQtApp::s_pInstance == nullptr || owner == nullptr || view_ != nullptr) return false;
    view_ = new CQtView(owner, clientSize);
    const auto* dialog = dynamic_cast<const CDialog*>(owner);
    view_->setWindowFlags((dialog != nullptr ? Qt::Dialog : Qt::Window) | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
    if (dialog != nullptr) view_->setWindowModality(Qt::ApplicationModal);
    SetTitle(title);
    if (view_->winId() == 0 || view_->windowHandle() == nullptr) return false;
    const QWidget* below = dialog != nullptr ? WidgetOf(dialog->owner) : nullptr;
    if (below != nullptr) view_->windowHandle()->setTransientParent(below->windowHandle());
    return true;
}

void CQtWindow::Show() {
    if (!IsOpen()) return;
    view_->Announce();
    if (!IsOpen()) return;
    view_->setWindowState(view_->windowState() & ~Qt::WindowMinimized);
    view_->show();
    view_->raise();
    view_->activateWindow();
    view_->setFocus();
    view_->Rehearse();
}

void CQtWindow::Hide() {
    if (IsOpen()) view_->hide();
}

void CQtWindow::RequestClose() {
    if (IsOpen()) view_->close();
}

void CQtWindow::Destroy() {
    if (IsOpen()) view_->Teardown();
}

void CQtWindow::InvalidateRect(const Rect* area) {
    if (IsOpen()) view_->Invalidate(area);
}

void CQtWindow::SetTitle(const std::string& utf8) {
    // Qt takes a lone "[*]" for its mark of unsaved changes.
    if (IsOpen()) view_->setWindowTitle(QString::fromStdString(utf8).replace("[*]", "[*][*]"));
}

void CQtWindow::ApplyLimits() {
    if (!IsOpen()) return;
    if (!resizable_) {
        view_->setFixedSize(view_->size());
        return;
    }
    const auto limit = [](int value) { return value < 1 ? QWIDGETSIZE_MAX : std::min(value, QWIDGETSIZE_MAX); };
    view_->setMinimumSize(std::max(0, min_.cx), std::max(0, min_.cy));
    view_->setMaximumSize(limit(max_.cx), limit(max_.cy));
}

void CQtWindow::SetResizable(bool resizable) {
    resizable_ = resizable;
    ApplyLimits();
}

void CQtWindow::SetMinSize(const Size& clientSize) {
    min_ = clientSize;
    ApplyLimits();
}

void CQtWindow::SetMaxSize(const Size& clientSize) {
    max_ = clientSize;
    ApplyLimits();
}

void CQtWindow::Resize(const Size& clientSize) {
    if (!IsOpen()) return;
    view_->setMinimumSize(0, 0);
    view_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    view_->resize(clientSize.cx, clientSize.cy);
    ApplyLimits();
}

void CQtWindow::Center() {
    const QScreen* screen = IsOpen() ? view_->screen() : nullptr;
    if (screen == nullptr) return;
    const QRect room = screen->availableGeometry();
    QRect frame = view_->frameGeometry();
    frame.moveCenter(room.center());
    // The title bar of a window that is larger than the screen stays within reach.
    view_->move(std::max(frame.x(), room.x()), std::max(frame.y(), room.y()));
}

void* CQtWindow::GetHandle() const {
    if (!IsOpen()) return nullptr;
    // The window system names its windows by number.
    return reinterpret_cast<void*>(view_->winId());  // NOLINT(performance-no-int-to-ptr)
}

bool CQtWindow::SetTimer(unsigned id, unsigned ms) {
    return id != 0 && ms != 0 && IsOpen() && view_->StartTimer(id, ms);
}

bool CQtWindow::KillTimer(unsigned id) {
    return id != 0 && IsOpen() && view_->StopTimer(id);
}

void CQtWindow::FlushPaint() {
    if (IsOpen()) view_->Flush();
}

float CQtWindow::GetScale() const {
    return IsOpen() ? std::max(1.0F, static_cast<float>(view_->devicePixelRatioF())) : 1.0F;
}

Size CQtWindow::WorkArea() const {
    const QScreen* screen = IsOpen() ? view_->screen() : nullptr;
    if (screen == nullptr) return {};
    QSize frame = view_->frameGeometry().size() - view_->size();
    // The window manager tells it when it shows the window; until then it is guessed.
    if (frame.isEmpty() && !view_->isVisible()) frame = kUsualFrame;
    const QSize room = screen->availableGeometry().size() - frame;
    return {std::max(1, room.width()), std::max(1, room.height())};
}

void CQtWindow::SetFullScreen(bool full) {
    if (!IsOpen()) return;
    view_->setWindowState(full ? view_->windowState() | Qt::WindowFullScreen
                               : view_->windowState() & ~Qt::WindowFullScreen);
}

bool CQtWindow::IsFullScreen() const {
    return IsOpen() && view_->isFullScreen();
}

QWidget* CQtWindow::Widget() const {
    return IsOpen() ? view_ : nullptr;
}

QWidget* WidgetOf(const CWindow* window) {
    const auto* impl = window != nullptr ? dynamic_cast<const CQtWindow*>(window->impl) : nullptr;
    return impl != nullptr ? impl->Widget() : nullptr;
}

CWindowImpl* CreatePlatformWindowImpl() {
    return new CQtWindow;
}

}  // namespace Lx
