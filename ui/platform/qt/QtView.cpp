#include "ui/platform/qt/QtView.h"

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QInputMethod>
#include <QMimeData>
#include <QPainter>
#include <QStyleHints>
#include <QUrl>
#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "ui/LxApp.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtKeys.h"
#include "ui/platform/qt/QtTheme.h"

namespace Lx {

namespace {

constexpr int kNotch = 120;
constexpr qreal kLine = 40;  // client pixels

Point PointOf(const QPointF& p) {
    return {static_cast<int32_t>(std::floor(p.x())), static_cast<int32_t>(std::floor(p.y()))};
}

uint8_t ButtonOf(Qt::MouseButton b) {
    if (b == Qt::RightButton) return kRightButton;
    return b == Qt::MiddleButton ? kMiddleButton : kLeftButton;
}

Qt::CursorShape ShapeOf(CursorShape shape) {
    constexpr Qt::CursorShape kShapes[] = {Qt::ArrowCursor, Qt::IBeamCursor, Qt::PointingHandCursor, Qt::OpenHandCursor,
                                           Qt::ClosedHandCursor};
    return kShapes[static_cast<size_t>(shape)];
}

bool IsEdit(AccessibleRole role) {
    return role == AccessibleRole::Edit || role == AccessibleRole::PasswordEdit;
}

// The first PDF among the files, else the first file; empty without a local one.
std::string DroppedFile(const QMimeData* data) {
    QString first;
    for (const QUrl& url : data->urls()) {
        if (!url.isLocalFile()) continue;
        const QString path = url.toLocalFile();
        if (path.endsWith(".pdf", Qt::CaseInsensitive)) return path.toStdString();
        if (first.isEmpty()) first = path;
    }
    return first.toStdString();
}

}  // namespace

CQtView::CQtView(CWindow* owner, const Size& clientSize) : owner_(owner) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    resize(clientSize.cx, clientSize.cy);
}

CQtView::~CQtView() {
    Detach();
}

bool CQtView::IsBlocked() const {
    const QWidget* modal = QApplication::activeModalWidget();
    return modal != nullptr && modal != this;
}

void CQtView::Call(const std::function<void(CWindow&)>& task) {
    if (owner_ == nullptr) return;
    Contain([this, &task] { task(*owner_); });
    FollowControls();
}

void CQtView::Route(Event& ev) {
    Call([&ev](CWindow& window) { window.RouteEvent(ev); });
}

void CQtView::Announce() {
    if (std::exchange(announced_, true)) return;
    size_ = {width(), height()};
    Call([this](CWindow& window) { window.HandleResize(size_); });
}

void CQtView::Rehearse() {
    if (std::exchange(rehearsed_, true) || owner_ == nullptr) return;
    QImage nowhere(1, 1, QImage::Format_ARGB32_Premultiplied);
    nowhere.setDevicePixelRatio(devicePixelRatioF());
    QPainter painter(&nowhere);
    CQtCanvas canvas(painter, CQtApp::s_pInstance->Fonts(), rasters_, rect());
    Contain([this, &canvas] { owner_->PaintAll(&canvas); });
}

void CQtView::Invalidate(const Rect* area) {
    const QRect r = area == nullptr ? rect() : QRect(area->x, area->y, area->w, area->h).intersected(rect());
    if (r.isEmpty()) return;
    invalid_ += r;
    update(r);
}

void CQtView::Flush() {
    if (!invalid_.isEmpty()) repaint(invalid_);
}

bool CQtView::StartTimer(unsigned id, unsigned ms) {
    if (owner_ == nullptr) return false;
    StopTimer(id);
    timers_[id] = startTimer(static_cast<int>(std::min<unsigned>(ms, INT_MAX)), Qt::PreciseTimer);
    return true;
}

bool CQtView::StopTimer(unsigned id) {
    const auto timer = timers_.find(id);
    if (timer == timers_.end()) return false;
    killTimer(timer->second);
    timers_.erase(timer);
    return true;
}

CWindow* CQtView::Detach() {
    CWindow* owner = std::exchange(owner_, nullptr);
    for (const auto& [id, timer] : timers_) killTimer(timer);
    timers_.clear();
    accessible_.Clear();
    return owner;
}

void CQtView::Teardown() {
    if (owner_ == nullptr) return;
    const bool quits = !owner_->keepAppOnClose;
    CWindow* owner = Detach();
    hide();
    Contain([owner] { owner->OnDestroy(); });
    if (quits && LxApp::s_pApp != nullptr) LxApp::s_pApp->WindowClosed(owner);
}

bool CQtView::event(QEvent* e) {
    switch (e->type()) {
        case QEvent::ShortcutOverride:
            e->accept();
            return true;
        case QEvent::ToolTip:
            ShowToolTip(*this, *static_cast<QHelpEvent*>(e));
            return true;
        case QEvent::WindowActivate:
            Call([](CWindow& window) { window.OnSetFocus(); });
            break;
        case QEvent::WindowDeactivate:
            spaceHeld_ = false;
            Call([](CWindow& window) { window.OnKillFocus(); });
            break;
        case QEvent::WindowBlocked:
            spaceHeld_ = false;
            EndPress();
            break;
        case QEvent::NativeGesture:
            RouteGesture(*static_cast<QNativeGestureEvent*>(e));
            return true;
        default:
            break;
    }
    return QWidget::event(e);
}

void CQtView::paintEvent(QPaintEvent* e) {
    invalid_ -= e->region();
    QPainter painter(this);
    if (owner_ == nullptr || CQtApp::s_pInstance == nullptr) return;
    {
        CQtCanvas canvas(painter, CQtApp::s_pInstance->Fonts(), rasters_, e->region());
        Contain([this, &canvas] { owner_->PaintAll(&canvas); });
    }
    rasters_.EndPainting();
    accessible_.Sync();
}

void CQtView::resizeEvent(QResizeEvent*) {
    if (!announced_ || (size_.cx == width() && size_.cy == height())) return;
    size_ = {width(), height()};
    Call([this](CWindow& window) { window.HandleResize(size_); });
}

void CQtView::moveEvent(QMoveEvent*) {
    if (!announced_) return;
    const QPoint at = geometry().topLeft();
    Call([at](CWindow& window) { window.HandleMove({at.x(), at.y()}); });
}

void CQtView::closeEvent(QCloseEvent* e) {
    e->accept();
    bool granted = true;
    Call([&granted](CWindow& window) { granted = window.OnClose(); });
    // The handler may have ended the window by itself.
    if (owner_ != nullptr && !granted) {
        e->ignore();
        return;
    }
    Teardown();
}

void CQtView::timerEvent(QTimerEvent* e) {
    for (const auto& [id, timer] : timers_) {
        if (timer != e->timerId()) continue;
        Call([tick = id](CWindow& window) { window.OnTimer(tick); });
        return;
    }
}

void CQtView::RouteMouse(EventType type, const QPointF& at, Qt::KeyboardModifiers modifiers, Qt::MouseButton button) {
    Event ev;
    ev.type = type;
    ev.pt = PointOf(at);
    ev.button = ButtonOf(button);
    ev.modifiers = ModifiersOf(modifiers) | (spaceHeld_ ? kSpaceHeld : 0);
    inside_ = true;
    Route(ev);
}

void CQtView::SendOutside() {
    leavePending_ = false;
    if (!inside_) return;
    RouteMouse(EventType::MouseMove, QPointF(kOutside.x, kOutside.y), Qt::NoModifier, Qt::LeftButton);
    inside_ = false;
}

void CQtView::EndPress() {
    if (pressed_ == Qt::NoButton) return;
    const Qt::MouseButton button = pressed_ == Qt::RightButton ? Qt::RightButton : Qt::LeftButton;
    pressed_ = Qt::NoButton;
    RouteMouse(EventType::MouseUp, QPointF(kOutside.x, kOutside.y), Qt::NoModifier, button);
    SendOutside();
}

// Qt reports the third click of a row as a plain press, so they are counted here.
void CQtView::mousePressEvent(QMouseEvent* e) {
    const QStyleHints* hints = QGuiApplication::styleHints();
    const QPointF away = e->position() - lastPressAt_;
    const bool again = e->button() == lastButton_ &&
                       e->timestamp() - lastPress_ < static_cast<ulong>(hints->mouseDoubleClickInterval()) &&
                       away.manhattanLength() <= hints->mouseDoubleClickDistance();
    clicks_ = again ? clicks_ + 1 : 1;
    lastButton_ = e->button();
    lastPress_ = e->timestamp();
    lastPressAt_ = e->position();
    pressed_ |= e->button();
    const bool repeated = clicks_ > 1 && e->button() == Qt::LeftButton;
    RouteMouse(repeated ? EventType::MouseDoubleClick : EventType::MouseDown, e->position(), e->modifiers(),
               e->button());
    if (e->button() == Qt::MiddleButton) PastePrimary();
}

void CQtView::mouseMoveEvent(QMouseEvent* e) {
    RouteMouse(EventType::MouseMove, e->position(), e->modifiers(), Qt::LeftButton);
}

void CQtView::mouseReleaseEvent(QMouseEvent* e) {
    // The press may have been ended already, by a modal window.
    const bool known = pressed_ & e->button();
    pressed_ &= ~Qt::MouseButtons(e->button());
    if (known) RouteMouse(EventType::MouseUp, e->position(), e->modifiers(), e->button());
    if (known && e->button() == Qt::LeftButton) OfferPrimary();
    if (leavePending_ && e->buttons() == Qt::NoButton) SendOutside();
}

// Qt is about to say that the window itself has the focus.
void CQtView::focusInEvent(QFocusEvent*) {
    Soon(this, [this] { accessible_.Refocus(); });
}

void CQtView::enterEvent(QEnterEvent* e) {
    leavePending_ = false;
    RouteMouse(EventType::MouseMove, e->position(), QGuiApplication::keyboardModifiers(), Qt::LeftButton);
}

// Controls that follow a drag must not lose it.
void CQtView::leaveEvent(QEvent*) {
    if (pressed_ != Qt::NoButton) {
        leavePending_ = true;
    } else {
        SendOutside();
    }
}

bool CQtView::RouteScroll(const QWheelEvent& e) {
    // Under X the pixels are whatever a driver makes of them.
    const bool exact = !e.pixelDelta().isNull() && QGuiApplication::platformName() != "xcb";
    const qreal notch = kLine * std::max(1, QApplication::wheelScrollLines());
    const QPointF by = exact ? QPointF(e.pixelDelta()) : QPointF(e.angleDelta()) * notch / kNotch;
    Event ev;
    ev.type = EventType::Scroll;
    ev.pt = PointOf(e.position());
    ev.modifiers = ModifiersOf(e.modifiers());
    ev.scrollX = static_cast<float>(by.x());
    ev.scrollY = static_cast<float>(by.y());
    if (!by.isNull()) Route(ev);
    return ev.handled;
}

void CQtView::RouteGesture(const QNativeGestureEvent& e) {
    if (e.gestureType() != Qt::ZoomNativeGesture) return;
    Event ev;
    ev.type = EventType::Zoom;
    ev.pt = PointOf(e.position());
    ev.modifiers = ModifiersOf(e.modifiers());
    // Each step out undoes the same step in.
    ev.factor = static_cast<float>(std::exp(std::clamp(e.value(), -1.0, 1.0)));
    Route(ev);
}

void CQtView::wheelEvent(QWheelEvent* e) {
    e->accept();
    if (RouteScroll(*e)) return;
    const int delta = e->angleDelta().y();
    // Part of a gesture that goes sideways.
    if (delta == 0) return;
    if (wheel_ != 0 && (wheel_ > 0) != (delta > 0)) wheel_ = 0;
    wheel_ += delta;
    const int notches = wheel_ / kNotch;
    wheel_ %= kNotch;
    if (notches == 0) return;
    Event ev;
    ev.type = EventType::MouseWheel;
    ev.pt = PointOf(e->position());
    ev.modifiers = ModifiersOf(e->modifiers());
    ev.wheelDelta = notches;
    Route(ev);
}

bool CQtView::RouteCommand(EditCommand command, const QString& pasted, uint32_t modifiers) {
    if (owner_ == nullptr || owner_->focus == nullptr) return false;
    Event ev;
    ev.type = EventType::Command;
    ev.command = command;
    ev.modifiers = modifiers;
    ev.text = pasted.toStdString();
    Route(ev);
    const bool copies = command == EditCommand::Copy || command == EditCommand::Cut;
    if (copies && ev.handled && !ev.text.empty()) {
        QGuiApplication::clipboard()->setText(QString::fromStdString(ev.text));
    }
    return ev.handled;
}

void CQtView::PastePrimary() {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    if (owner_ == nullptr || !clipboard->supportsSelection() || owner_->focus == nullptr) return;
    if (owner_->focus != owner_->HitTest(PointOf(lastPressAt_))) return;
    if (!IsEdit(owner_->focus->Accessibility().role)) return;
    RouteCommand(EditCommand::Paste, clipboard->text(QClipboard::Selection), 0);
}

void CQtView::OfferPrimary() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (owner_ == nullptr || !clipboard->supportsSelection() || owner_->focus == nullptr) return;
    const AccessibleInfo info = owner_->focus->Accessibility();
    if (info.role != AccessibleRole::Edit || info.selectionStart == info.selectionEnd) return;
    Event ev;
    ev.type = EventType::Command;
    ev.command = EditCommand::Copy;
    Route(ev);
    if (ev.handled && !ev.text.empty()) clipboard->setText(QString::fromStdString(ev.text), QClipboard::Selection);
}

// A mouse event, so that what is under the pointer knows before it moves.
void CQtView::HoldSpace(bool held) {
    if (std::exchange(spaceHeld_, held) == held || !inside_) return;
    const QPointF at = mapFromGlobal(QPointF(QCursor::pos()));
    RouteMouse(EventType::MouseMove, at, QGuiApplication::keyboardModifiers(), Qt::LeftButton);
}

void CQtView::AskForMenu(uint32_t modifiers) {
    if (owner_ == nullptr) return;
    const CControl* focus = owner_->focus;
    const Rect& area = focus != nullptr ? focus->rect : owner_->rect;
    Event ev;
    ev.type = EventType::ContextMenu;
    ev.modifiers = modifiers;
    ev.pt = {area.x + area.w / 2, area.y + area.h / 2};
    Rect caret;
    if (focus != nullptr && focus->CaretRect(caret)) ev.pt = {caret.x, caret.y + caret.h};
    Route(ev);
}

void CQtView::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_Space) HoldSpace(true);
    if (IsMenuKey(*e)) return AskForMenu(ModifiersOf(e->modifiers()));
    const uint32_t modifiers = ModifiersOf(e->modifiers());
    const EditCommand command = CommandOf(*e);
    if (command != EditCommand::None) {
        const bool paste = command == EditCommand::Paste;
        const QString pasted = paste ? QGuiApplication::clipboard()->text() : QString();
        if (RouteCommand(command, pasted, modifiers)) return;
    }
    Event ev;
    ev.type = EventType::KeyDown;
    ev.key = static_cast<uint16_t>(KeyOf(e->key()));
    ev.modifiers = modifiers;
    Route(ev);
    const QString typed = TypedBy(*e);
    if (!typed.isEmpty()) {
        Event text = TypedEvent(typed, modifiers);
        Route(text);
    }
    Event shortcut;
    shortcut.type = EventType::Shortcut;
    shortcut.key = ShortcutOf(*e);
    shortcut.modifiers = modifiers;
    const bool repeats = shortcut.key == '+' || shortcut.key == '-';
    if (shortcut.key != 0 && (repeats || !e->isAutoRepeat())) Route(shortcut);
}

void CQtView::keyReleaseEvent(QKeyEvent* e) {
    if (e->isAutoRepeat()) return;
    if (e->key() == Qt::Key_Space) HoldSpace(false);
    Event ev;
    ev.type = EventType::KeyUp;
    ev.key = static_cast<uint16_t>(KeyOf(e->key()));
    ev.modifiers = ModifiersOf(e->modifiers());
    Route(ev);
}

void CQtView::inputMethodEvent(QInputMethodEvent* e) {
    e->accept();
    if (e->commitString().isEmpty()) return;
    Event ev = TypedEvent(e->commitString(), 0);
    Route(ev);
}

QVariant CQtView::inputMethodQuery(Qt::InputMethodQuery query) const {
    Rect caret;
    if (query == Qt::ImCursorRectangle && owner_ != nullptr && owner_->focus != nullptr &&
        owner_->focus->CaretRect(caret)) {
        return QRect(caret.x, caret.y, caret.w, caret.h);
    }
    return QWidget::inputMethodQuery(query);
}

void CQtView::FollowControls() {
    if (owner_ == nullptr) return;
    const CControl* under = owner_->capture != nullptr ? owner_->capture : owner_->hover;
    const Qt::CursorShape shape = under != nullptr ? ShapeOf(under->Cursor()) : Qt::ArrowCursor;
    if (cursor().shape() != shape) setCursor(shape);
    FollowInput(*owner_);
    accessible_.Sync();
}

// Dead keys are composed only where text is wanted.
void CQtView::FollowInput(const CWindow& window) {
    Rect caret;
    const bool wanted = window.focus != nullptr && window.focus->CaretRect(caret);
    const bool secret = wanted && window.focus->Accessibility().role == AccessibleRole::PasswordEdit;
    const Qt::InputMethodHints hints =
        secret ? Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText
               : Qt::ImhNone;
    const bool changed = wanted != testAttribute(Qt::WA_InputMethodEnabled) || hints != inputMethodHints();
    if (changed) {
        setInputMethodHints(hints);
        setAttribute(Qt::WA_InputMethodEnabled, wanted);
        QGuiApplication::inputMethod()->update(Qt::ImQueryAll);
    } else if (wanted) {
        updateMicroFocus(Qt::ImCursorRectangle);
    }
}

void CQtView::dragEnterEvent(QDragEnterEvent* e) {
    if (owner_ == nullptr || IsBlocked() || !owner_->AcceptsFiles() || DroppedFile(e->mimeData()).empty()) return;
    e->setDropAction(Qt::CopyAction);
    e->accept();
}

void CQtView::dropEvent(QDropEvent* e) {
    e->setDropAction(Qt::CopyAction);
    e->accept();
    // The program that the file comes from waits until this returns, and the window may open a dialog.
    Soon(this, [this, path = DroppedFile(e->mimeData())] {
        if (IsBlocked()) return;
        Call([&path](CWindow& window) {
            if (window.AcceptsFiles()) window.OnDropFile(path);
        });
    });
}

}  // namespace Lx
