#include <QEvent>
#include <QKeySequence>
#include <QMenu>
#include <QPointer>
#include <atomic>

#include "ui/LxTheme.h"
#include "ui/LxWindow.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtTheme.h"
#include "ui/platform/qt/QtWindow.h"

namespace Lx {

namespace {

QString Css(ColorRole role) {
    const Color& c = ThemeColor(role);
    return QColor(c.r, c.g, c.b).name();
}

QString SheetOfTheme() {
    return QString(
               "QMenu { background: %1; color: %2; border: 1px solid %3; padding: 4px; }"
               "QMenu::item { padding: 4px 24px 4px 8px; border-radius: 4px; }"
               "QMenu::item:selected { background: %4; }"
               "QMenu::item:disabled { color: %5; background: transparent; }"
               "QMenu::separator { height: 1px; background: %6; margin: 4px 8px; }")
        .arg(Css(ColorRole::AppPanel), Css(ColorRole::AppText), Css(ColorRole::PopupBorder), Css(ColorRole::Selection),
             Css(ColorRole::ButtonDisabledText), Css(ColorRole::Hairline));
}

// As Qt knows them they are told apart from the name; what it doesn't know is shown as it stands.
void SetShortcut(QAction& action, const std::string& shown) {
    if (shown.empty()) return;
    const QString text = QString::fromStdString(shown);
    const QKeySequence keys =
        QKeySequence::fromString(QString(text).replace("Mayús", "Shift"), QKeySequence::PortableText);
    const bool known = keys.count() == 1 && keys[0].key() != Qt::Key_unknown;
    if (known) return action.setShortcut(keys);
    action.setText(action.text() + '\t' + text);
}

void Fill(QMenu& menu, const std::vector<MenuItem>& items) {
    for (const MenuItem& item : items) {
        if (item.text.empty()) {
            menu.addSeparator();
            continue;
        }
        const QString text = QString::fromStdString(item.text).replace('&', "&&");
        if (!item.items.empty()) {
            QMenu* inner = menu.addMenu(text);
            inner->setEnabled(item.enabled);
            Fill(*inner, item.items);
            continue;
        }
        QAction* action = menu.addAction(text);
        SetShortcut(*action, item.shortcut);
        action->setEnabled(item.enabled);
        action->setCheckable(item.checkable);
        action->setChecked(item.checked);
        action->setData(item.command);
    }
}

// A menu doesn't go with its window by itself.
class CGoesWithWindow : public QObject {
  public:
    CGoesWithWindow(QWidget& window, QMenu& menu) : QObject(&menu), menu_(menu) { window.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Hide) menu_.close();
        return false;
    }

  private:
    QMenu& menu_;
};

}  // namespace

int RunPlatformMenu(CWindow* owner, const std::vector<MenuItem>& items, const Point& at) {
    QWidget* window = WidgetOf(owner);
    if (window == nullptr || CQtApp::s_pInstance == nullptr || items.empty()) return 0;
    SpeakSpanish();
    FollowTheme();
    // The loop below may outlive the window's widget, and the menu with it.
    const QPointer<QMenu> menu = new QMenu(window);
    menu->setStyleSheet(SheetOfTheme());
    Fill(*menu, items);
    new CGoesWithWindow(*window, *menu);
    int chosen = 0;
    std::atomic<bool> done = false;
    const QObject here;
    QObject::connect(menu, &QMenu::triggered, &here, [&chosen](QAction* action) { chosen = action->data().toInt(); });
    QObject::connect(menu, &QMenu::aboutToHide, &here, [&done] { done = true; });
    QObject::connect(menu, &QObject::destroyed, &here, [&done] { done = true; });
    // The release of a press that opened the menu never reaches the window.
    owner->capture = nullptr;
    menu->popup(window->mapToGlobal(QPoint(at.x, at.y)));
    CQtApp::s_pInstance->RunModal(done);
    if (menu != nullptr) {
        menu->hide();
        menu->deleteLater();
    }
    return chosen;
}

}  // namespace Lx
