#include "ui/platform/qt/QtAccessible.h"

#include <QAccessibleWidget>
#include <algorithm>
#include <utility>

#include "ui/LxDialog.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtControlAccessible.h"
#include "ui/platform/qt/QtView.h"

namespace Lx {

class CQtAccessibleWindow : public QAccessibleWidget {
  public:
    explicit CQtAccessibleWindow(CQtView* view) : QAccessibleWidget(view, QAccessible::Window), view_(*view) {}

    int childCount() const override { return static_cast<int>(view_.accessible_.Controls().size()); }
    QAccessibleInterface* child(int index) const override {
        const std::vector<CControl*> controls = view_.accessible_.Controls();
        const bool valid = index >= 0 && index < static_cast<int>(controls.size());
        return valid ? view_.accessible_.Interface(controls[static_cast<size_t>(index)]) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* object) const override {
        for (int i = childCount() - 1; i >= 0; --i) {
            if (child(i) == object) return i;
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = childCount() - 1; i >= 0; --i) {
            if (child(i)->rect().contains(x, y)) return child(i);
        }
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override { return view_.accessible_.Focused(); }
    QAccessible::Role role() const override { return IsDialog() ? QAccessible::Dialog : QAccessible::Window; }
    QAccessible::State state() const override {
        QAccessible::State s = QAccessibleWidget::state();
        s.modal = IsDialog();
        return s;
    }

  private:
    [[nodiscard]] bool IsDialog() const { return dynamic_cast<const CDialog*>(view_.Owner()) != nullptr; }

    CQtView& view_;
};

namespace {

// As it is read: from the top to the bottom, what stands beside each other from the left to the right. A control stands
// beside another when it begins within the upper half of it.
void SortAsRead(std::vector<CControl*>& controls) {
    const auto above = [](const CControl* a, const CControl* b) { return a->rect.y < b->rect.y; };
    std::stable_sort(controls.begin(), controls.end(), above);
    for (auto row = controls.begin(); row != controls.end();) {
        const int top = (*row)->rect.y;
        int half = (*row)->rect.h / 2;
        auto end = row + 1;
        for (; end != controls.end() && (*end)->rect.y - top < half; ++end) half = std::min(half, (*end)->rect.h / 2);
        std::stable_sort(row, end, [](const CControl* a, const CControl* b) { return a->rect.x < b->rect.x; });
        row = end;
    }
}

bool IsNotice(const AccessibleInfo& info) {
    return info.role == AccessibleRole::Notification;
}

void TellShown(QAccessibleInterface* object) {
    QAccessibleEvent shown(object, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}

}  // namespace

void InstallAccessibility() {
    QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
        auto* view = dynamic_cast<CQtView*>(object);
        return view != nullptr ? new CQtAccessibleWindow(view) : nullptr;
    });
}

CQtAccessibleTree::~CQtAccessibleTree() {
    Clear();
    for (const QAccessible::Id id : dead_) QAccessible::deleteAccessibleInterface(id);
}

CWindow* CQtAccessibleTree::Window() const {
    return view_.Owner();
}

std::vector<CControl*> CQtAccessibleTree::Controls() const {
    std::vector<CControl*> found;
    const CWindow* window = Window();
    if (window == nullptr) return found;
    std::copy_if(window->controls.begin(), window->controls.end(), std::back_inserter(found),
                 [](const CControl* c) { return c->visible && c->Accessibility().role != AccessibleRole::None; });
    SortAsRead(found);
    return found;
}

bool CQtAccessibleTree::Holds(const CControl* control) const {
    const CWindow* window = Window();
    return window != nullptr &&
           std::find(window->controls.begin(), window->controls.end(), control) != window->controls.end();
}

QAccessibleInterface* CQtAccessibleTree::Interface(CControl* control, int row) {
    QAccessible::Id& id = known_[control].ids[row];
    if (id == 0) id = QAccessible::registerAccessibleInterface(NewAccessible(*this, control, row));
    return QAccessible::accessibleInterface(id);
}

QAccessibleInterface* CQtAccessibleTree::Focused() {
    const CWindow* window = Window();
    CControl* control = window != nullptr ? window->focus : nullptr;
    if (control == nullptr || !control->visible || !Holds(control)) return nullptr;
    const AccessibleInfo info = control->Accessibility();
    if (info.role == AccessibleRole::None) return nullptr;
    if (info.role == AccessibleRole::List) {
        for (size_t i = 0; i < info.items.size(); ++i) {
            if (info.items[i].selected) return Interface(control, static_cast<int>(i));
        }
    }
    return Interface(control);
}

void CQtAccessibleTree::Bury(Known& known) {
    if (dead_.empty()) {
        Soon(&view_, [this] {
            for (const QAccessible::Id id : std::exchange(dead_, {})) QAccessible::deleteAccessibleInterface(id);
        });
    }
    for (const auto& [row, id] : known.ids) dead_.push_back(id);
}

void CQtAccessibleTree::Clear() {
    for (auto& [control, known] : known_) Bury(known);
    known_.clear();
    focused_ = 0;
}

void CQtAccessibleTree::Sync() {
    if (!QAccessible::isActive() || Window() == nullptr) return;
    const std::vector<CControl*> controls = Controls();
    for (auto it = known_.begin(); it != known_.end();) {
        if (std::find(controls.begin(), controls.end(), it->first) != controls.end()) {
            ++it;
            continue;
        }
        QAccessibleEvent gone(QAccessible::accessibleInterface(it->second.ids[-1]), QAccessible::ObjectDestroyed);
        if (it->second.ids[-1] != 0) QAccessible::updateAccessibility(&gone);
        Bury(it->second);
        it = known_.erase(it);
    }
    for (CControl* control : controls) {
        const bool fresh = known_.count(control) == 0;
        QAccessibleInterface* object = Interface(control);
        Known& known = known_[control];
        if (fresh) {
            known.told = control->Accessibility();
            QAccessibleEvent created(object, QAccessible::ObjectCreated);
            QAccessible::updateAccessibility(&created);
            if (IsNotice(known.told)) TellShown(object);
        } else {
            Tell(control, known);
        }
    }
    QAccessibleInterface* focused = Focused();
    const QAccessible::Id id = focused != nullptr ? QAccessible::uniqueId(focused) : 0;
    if (std::exchange(focused_, id) == id || focused == nullptr) return;
    QAccessibleEvent event(focused, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

void CQtAccessibleTree::Refocus() {
    focused_ = 0;
    Sync();
}

void CQtAccessibleTree::Tell(CControl* control, Known& known) {
    const AccessibleInfo now = control->Accessibility();
    const AccessibleInfo before = std::exchange(known.told, now);
    QAccessibleInterface* object = Interface(control);
    if (now.name != before.name) {
        QAccessibleEvent event(object, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
    if (now.checked != before.checked || now.expanded != before.expanded) {
        QAccessible::State changed;
        changed.checked = now.checked != before.checked;
        changed.expanded = now.expanded != before.expanded;
        QAccessibleStateChangeEvent event(object, changed);
        QAccessible::updateAccessibility(&event);
    }
    // Another notice in the place of the last.
    if (IsNotice(now) && now.name != before.name) TellShown(object);
    if (now.role == AccessibleRole::Edit || now.role == AccessibleRole::Document) TellText(object, before, now);
    if (now.role == AccessibleRole::ComboBox && now.value != before.value) {
        QAccessibleValueChangeEvent event(object, QString::fromStdString(now.value));
        QAccessible::updateAccessibility(&event);
    }
    for (size_t i = 0; i < now.items.size(); ++i) {
        if (!now.items[i].selected || (i < before.items.size() && before.items[i].selected)) continue;
        QAccessibleEvent event(Interface(control, static_cast<int>(i)), QAccessible::Selection);
        QAccessible::updateAccessibility(&event);
    }
}

void CQtAccessibleTree::TellText(QAccessibleInterface* object, const AccessibleInfo& before,
                                 const AccessibleInfo& now) {
    if (now.value != before.value) {
        QAccessibleTextUpdateEvent event(object, 0, QString::fromStdString(before.value),
                                         QString::fromStdString(now.value));
        QAccessible::updateAccessibility(&event);
    }
    if (now.caret != before.caret && object->textInterface() != nullptr) {
        QAccessibleTextCursorEvent event(object, object->textInterface()->cursorPosition());
        QAccessible::updateAccessibility(&event);
    }
    const bool selected = now.selectionStart != before.selectionStart || now.selectionEnd != before.selectionEnd;
    if (selected && object->textInterface() != nullptr) {
        int start = 0, end = 0;
        object->textInterface()->selection(0, &start, &end);
        QAccessibleTextSelectionEvent event(object, start, end);
        QAccessible::updateAccessibility(&event);
    }
}

}  // namespace Lx
