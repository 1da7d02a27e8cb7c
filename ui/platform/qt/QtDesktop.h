// The colours that the desktop wants, by its settings portal.
#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <functional>

#include "ui/LxTheme.h"

namespace Lx {

// Asks once, without waiting, and listens from then on. Where the portal is absent or has no wish, what Qt's palette
// said before the program had one of its own.
class CAppearance : public QObject {
    Q_OBJECT

  public:
    explicit CAppearance(std::function<void(ThemeSet)> told);

  private slots:
    void OnSetting(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void Read(const char* method);
    void Tell(uint wish);

    std::function<void(ThemeSet)> told_;
    ThemeSet desktop_;
};

}  // namespace Lx
