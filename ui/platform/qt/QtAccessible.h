// What assistive tools see of a window: its visible controls, and the rows of the lists among them.
#pragma once

#include <QAccessible>
#include <map>
#include <vector>

#include "ui/LxAccessible.h"

namespace Lx {

class CControl;
class CQtView;
class CWindow;

// Once, when the application object of Qt exists.
void InstallAccessibility();

// The accessible objects of one window's controls. Controls come and go without a word: what is known of them is
// compared with the window after each dispatch.
class CQtAccessibleTree {
  public:
    explicit CQtAccessibleTree(CQtView& view) : view_(view) {}
    ~CQtAccessibleTree();
    CQtAccessibleTree(const CQtAccessibleTree&) = delete;
    CQtAccessibleTree& operator=(const CQtAccessibleTree&) = delete;

    // Tells what changed since the last call. Cheap while no tool listens.
    void Sync();
    // The focus is told anew: the desktop has just said that it is on the window itself.
    void Refocus();
    void Clear();

    [[nodiscard]] CQtView& View() const { return view_; }
    // The window while it is open.
    [[nodiscard]] CWindow* Window() const;
    // Visible ones that tell a role, as they are read.
    [[nodiscard]] std::vector<CControl*> Controls() const;
    [[nodiscard]] bool Holds(const CControl* control) const;
    // Row -1 is the control itself.
    [[nodiscard]] QAccessibleInterface* Interface(CControl* control, int row = -1);
    // The focused control, or the chosen row of a list; null without one.
    [[nodiscard]] QAccessibleInterface* Focused();

  private:
    struct Known {
        std::map<int, QAccessible::Id> ids;  // by row
        AccessibleInfo told;
    };
    void Tell(CControl* control, Known& known);
    void TellText(QAccessibleInterface* object, const AccessibleInfo& before, const AccessibleInfo& now);
    void Bury(Known& known);

    CQtView& view_;
    std::map<CControl*, Known> known_;
    std::vector<QAccessible::Id> dead_;  // freed by the event loop: one of them may be at work
    QAccessible::Id focused_ = 0;
};

}  // namespace Lx
