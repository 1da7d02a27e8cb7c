#include "ui/platform/qt/QtControlAccessible.h"

#include <QWindow>
#include <algorithm>

#include "ui/platform/qt/QtAccessible.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtView.h"

namespace Lx {

namespace {

constexpr struct {
    AccessibleRole role;
    QAccessible::Role qt;
} kRoles[] = {
    {AccessibleRole::Button, QAccessible::Button},
    {AccessibleRole::ToggleButton, QAccessible::Button},
    {AccessibleRole::Label, QAccessible::StaticText},
    {AccessibleRole::Edit, QAccessible::EditableText},
    {AccessibleRole::PasswordEdit, QAccessible::EditableText},
    {AccessibleRole::ComboBox, QAccessible::ComboBox},
    {AccessibleRole::List, QAccessible::List},
    {AccessibleRole::Document, QAccessible::Document},
    {AccessibleRole::Notification, QAccessible::Notification},
};

QString Text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

// Controls count code points, Qt counts units of UTF-16.
int UnitsOf(const QString& text, int points) {
    int units = 0;
    for (; points > 0 && units < text.size(); --points) units += text[units].isHighSurrogate() ? 2 : 1;
    return std::min(units, static_cast<int>(text.size()));
}

class CQtAccessibleObject : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    CQtAccessibleObject(CQtAccessibleTree& tree, CControl* control) : tree_(tree), control_(control) {}

    bool isValid() const override { return tree_.Holds(control_); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return tree_.View().windowHandle(); }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        if (!isValid()) return {};
        const Rect& r = control_->rect;
        return {tree_.View().mapToGlobal(QPoint(r.x, r.y)), QSize(r.w, r.h)};
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  protected:
    [[nodiscard]] AccessibleInfo Info() const { return isValid() ? control_->Accessibility() : AccessibleInfo(); }
    [[nodiscard]] bool Accepts() const { return isValid() && control_->enabled && !tree_.View().IsBlocked(); }

    // From the event loop, not here: the tool waits for an answer, and a press may open a dialog.
    void Later(AccessibleAction action, int row) {
        if (!Accepts()) return;
        Soon(&tree_.View(), [&tree = tree_, control = control_, action, row] {
            if (!tree.Holds(control) || tree.View().IsBlocked()) return;
            tree.View().Call([&](CWindow&) { control->DoAccessibleAction(action, {}, row); });
        });
    }

    CQtAccessibleTree& tree_;
    CControl* control_;
};

class CQtAccessibleRow : public CQtAccessibleObject {
  public:
    CQtAccessibleRow(CQtAccessibleTree& tree, CControl* control, int row)
        : CQtAccessibleObject(tree, control), row_(row) {}

    bool isValid() const override {
        return CQtAccessibleObject::isValid() && row_ < static_cast<int>(control_->Accessibility().items.size());
    }
    QAccessibleInterface* parent() const override { return isValid() ? tree_.Interface(control_) : nullptr; }
    QRect rect() const override {
        if (!isValid()) return {};
        const Rect r = Item().rect;
        if (r.w < 1) return CQtAccessibleObject::rect();
        return {tree_.View().mapToGlobal(QPoint(r.x, r.y)), QSize(r.w, r.h)};
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QString text(QAccessible::Text t) const override {
        if (!isValid()) return {};
        if (t == QAccessible::Description) return Text(Item().description);
        return t == QAccessible::Name ? Text(Item().name) : QString();
    }
    QAccessible::State state() const override {
        QAccessible::State s;
        if (!isValid()) {
            s.invalid = true;
            return s;
        }
        s.selectable = s.focusable = control_->enabled;
        s.disabled = !control_->enabled;
        s.selected = Item().selected;
        s.offscreen = !rect().intersects(CQtAccessibleObject::rect());
        s.focused = s.selected && tree_.Window()->focus == control_;
        return s;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction() && isValid()) Later(AccessibleAction::SelectItem, row_);
    }

  private:
    [[nodiscard]] AccessibleItem Item() const { return Info().items[static_cast<size_t>(row_)]; }

    int row_;
};

class CQtAccessibleControl : public CQtAccessibleObject,
                             public QAccessibleTextInterface,
                             public QAccessibleEditableTextInterface {
  public:
    using CQtAccessibleObject::CQtAccessibleObject;

    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(&tree_.View()); }
    QAccessibleInterface* child(int index) const override {
        return index >= 0 && index < childCount() ? tree_.Interface(control_, index) : nullptr;
    }
    int childCount() const override { return static_cast<int>(Info().items.size()); }
    int indexOfChild(const QAccessibleInterface* object) const override {
        for (int i = childCount() - 1; i >= 0; --i) {
            if (child(i) == object) return i;
        }
        return -1;
    }
    QAccessibleInterface* focusChild() const override {
        return isValid() && tree_.Window()->focus == control_ ? tree_.Focused() : nullptr;
    }
    QAccessible::Role role() const override {
        const AccessibleRole own = Info().role;
        for (const auto& row : kRoles) {
            if (row.role == own) return row.qt;
        }
        return QAccessible::NoRole;
    }
    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Name) return Text(Info().name);
        if (t == QAccessible::Description) return Text(Info().description);
        return t == QAccessible::Value ? Text(Info().value) : QString();
    }
    QAccessible::State state() const override;
    void setText(QAccessible::Text t, const QString& text) override {
        if (t == QAccessible::Value) SetValue(text);
    }
    void* interface_cast(QAccessible::InterfaceType type) override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;

    int cursorPosition() const override { return Offset(&AccessibleInfo::caret); }
    void setCursorPosition(int) override {}
    int selectionCount() const override {
        return Offset(&AccessibleInfo::selectionStart) < Offset(&AccessibleInfo::selectionEnd) ? 1 : 0;
    }
    void selection(int, int* start, int* end) const override {
        *start = Offset(&AccessibleInfo::selectionStart);
        *end = Offset(&AccessibleInfo::selectionEnd);
    }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    QString text(int start, int end) const override { return Text(Info().value).mid(start, end - start); }
    int characterCount() const override { return static_cast<int>(Text(Info().value).size()); }
    QRect characterRect(int) const override { return rect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

    void deleteText(int start, int end) override { replaceText(start, end, {}); }
    void insertText(int at, const QString& text) override { replaceText(at, at, text); }
    // A masked edit tells nothing of its text, so all of it is replaced.
    void replaceText(int start, int end, const QString& text) override {
        QString value = Text(Info().value);
        const int from = std::clamp(start, 0, static_cast<int>(value.size()));
        const int to = std::clamp(end, from, static_cast<int>(value.size()));
        SetValue(value.replace(from, to - from, text));
    }

  private:
    [[nodiscard]] bool IsEdit() const {
        const AccessibleRole own = Info().role;
        return own == AccessibleRole::Edit || own == AccessibleRole::PasswordEdit;
    }
    [[nodiscard]] int Offset(int AccessibleInfo::*field) const {
        const AccessibleInfo info = Info();
        return UnitsOf(Text(info.value), std::max(0, info.*field));
    }
    void SetValue(const QString& text) {
        if (!Accepts() || !IsEdit()) return;
        tree_.View().Call([control = control_, value = text.toStdString()](CWindow&) {
            control->DoAccessibleAction(AccessibleAction::SetText, value, -1);
        });
    }
};

QAccessible::State CQtAccessibleControl::state() const {
    QAccessible::State s;
    if (!isValid()) {
        s.invalid = true;
        return s;
    }
    const AccessibleInfo info = Info();
    s.disabled = !control_->enabled;
    s.invisible = !control_->visible;
    s.focusable = control_->enabled && control_->IsInteractive();
    s.focused = tree_.Window()->focus == control_ && tree_.View().isActiveWindow();
    s.checkable = info.role == AccessibleRole::ToggleButton;
    s.checked = info.checked;
    s.hasPopup = s.expandable = info.role == AccessibleRole::ComboBox;
    s.expanded = s.expandable && info.expanded;
    s.collapsed = s.expandable && !info.expanded;
    s.editable = info.role == AccessibleRole::Edit;
    s.selectableText = s.editable || info.role == AccessibleRole::Document;
    s.passwordEdit = info.role == AccessibleRole::PasswordEdit;
    s.editable = s.editable || s.passwordEdit;
    s.readOnly = info.role == AccessibleRole::Label || info.role == AccessibleRole::Document;
    return s;
}

void* CQtAccessibleControl::interface_cast(QAccessible::InterfaceType type) {
    const AccessibleRole own = Info().role;
    const bool text = IsEdit() || own == AccessibleRole::ComboBox || own == AccessibleRole::Document;
    if (type == QAccessible::TextInterface && text) return static_cast<QAccessibleTextInterface*>(this);
    if (type == QAccessible::EditableTextInterface && IsEdit()) {
        return static_cast<QAccessibleEditableTextInterface*>(this);
    }
    return CQtAccessibleObject::interface_cast(type);
}

QStringList CQtAccessibleControl::actionNames() const {
    const AccessibleRole own = Info().role;
    QStringList names;
    const bool presses = own == AccessibleRole::Button || own == AccessibleRole::ToggleButton;
    if (presses || own == AccessibleRole::ComboBox) names << pressAction();
    if (isValid() && control_->IsInteractive()) names << setFocusAction();
    return names;
}

void CQtAccessibleControl::doAction(const QString& name) {
    if (!actionNames().contains(name)) return;
    if (name == pressAction()) return Later(AccessibleAction::Press, -1);
    if (!Accepts()) return;
    tree_.View().activateWindow();
    tree_.View().Call([control = control_](CWindow& window) {
        window.SetFocusControl(control);
        window.InvalidateRect(nullptr);
    });
}

}  // namespace

QAccessibleInterface* NewAccessible(CQtAccessibleTree& tree, CControl* control, int row) {
    if (row >= 0) return new CQtAccessibleRow(tree, control, row);
    return new CQtAccessibleControl(tree, control);
}

}  // namespace Lx
