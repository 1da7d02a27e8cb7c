// The widget of one top-level window: carries input and painting between Qt and a CWindow.
#pragma once

#include <QMouseEvent>
#include <QRegion>
#include <QWidget>
#include <functional>
#include <map>

#include "ui/LxWindow.h"
#include "ui/platform/qt/QtAccessible.h"
#include "ui/platform/qt/QtCanvas.h"

namespace Lx {

// Handlers may close their window, and delete it, at any time: the widget goes on without an owner until the event loop
// frees it.
class CQtView : public QWidget {
  public:
    CQtView(CWindow* owner, const Size& clientSize);
    ~CQtView() override;
    CQtView(const CQtView&) = delete;
    CQtView& operator=(const CQtView&) = delete;

    // Null once the window is closed.
    [[nodiscard]] CWindow* Owner() const { return owner_; }
    // A modal window of the program lies above.
    [[nodiscard]] bool IsBlocked() const;
    // Gives the owner its size before it is first shown: no resize says it.
    void Announce();
    // Paints into nothing: what the first painting loads is there when the window system asks for it.
    void Rehearse();
    void Invalidate(const Rect* area);
    void Flush();
    bool StartTimer(unsigned id, unsigned ms);
    bool StopTimer(unsigned id);
    // What a close does once it is granted: OnDestroy and, but for dialogs, word to the application.
    void Teardown();
    // The owner goes away: as a teardown, but it hears nothing.
    CWindow* Detach();
    // Calls what belongs to the program, unless the window is closed.
    void Call(const std::function<void(CWindow&)>& task);
    void Route(Event& ev);

  protected:
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
    void timerEvent(QTimerEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override { mousePressEvent(e); }
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void focusInEvent(QFocusEvent* e) override;
    void enterEvent(QEnterEvent* e) override;
    void leaveEvent(QEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;
    bool focusNextPrevChild(bool) override { return false; }
    void inputMethodEvent(QInputMethodEvent* e) override;
    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dropEvent(QDropEvent* e) override;

  private:
    void RouteMouse(EventType type, const QPointF& at, Qt::KeyboardModifiers modifiers, Qt::MouseButton button);
    // Whether the control under the pointer scrolled.
    bool RouteScroll(const QWheelEvent& e);
    void RouteGesture(const QNativeGestureEvent& e);
    void HoldSpace(bool held);
    void AskForMenu(uint32_t modifiers);
    void SendOutside();
    // A modal window took the pointer away in the middle of a press.
    void EndPress();
    bool RouteCommand(EditCommand command, const QString& pasted, uint32_t modifiers);
    void PastePrimary();
    void OfferPrimary();
    // After the program ran: the pointer's shape, the input method and assistive tools follow the controls.
    void FollowControls();
    void FollowInput(const CWindow& window);

    CWindow* owner_;
    Size size_{-1, -1};  // as the owner knows it
    QRegion invalid_;
    std::map<unsigned, int> timers_;  // the owner's id: Qt's
    bool announced_ = false;
    bool inside_ = false;        // the owner was told of the pointer and not of its leaving
    bool leavePending_ = false;  // the pointer left while a button was down
    Qt::MouseButtons pressed_;   // as the owner knows them
    Qt::MouseButton lastButton_ = Qt::NoButton;
    ulong lastPress_ = 0;
    QPointF lastPressAt_;
    int clicks_ = 0;
    bool rehearsed_ = false;
    bool spaceHeld_ = false;
    int wheel_ = 0;  // eighths of a degree that make no whole notch yet
    CQtRasters rasters_;
    CQtAccessibleTree accessible_{*this};

    friend class CQtAccessibleWindow;
};

}  // namespace Lx
