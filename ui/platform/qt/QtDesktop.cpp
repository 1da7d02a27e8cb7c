// What is asked of the desktop around the program.
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>
#include <QUrl>
#include <utility>

#include "ui/LxStyle.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtDesktop.h"

namespace Lx {

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr const char* kGroup = "org.freedesktop.appearance";
constexpr const char* kKey = "color-scheme";
constexpr uint kPrefersDark = 1, kPrefersLight = 2;

// A value may come wrapped more than once.
QVariant Bare(QVariant value) {
    for (int depth = 0; depth < 4 && value.userType() == qMetaTypeId<QDBusVariant>(); ++depth)
        value = value.value<QDBusVariant>().variant();
    return value;
}

ThemeSet SetOfPalette() {
    const QColor window = QGuiApplication::palette().color(QPalette::Window);
    const auto part = [](int value) { return static_cast<uint8_t>(value); };
    return Luminance({part(window.red()), part(window.green()), part(window.blue()), 255}) < kDarkBelow
               ? ThemeSet::Dark
               : ThemeSet::Light;
}

void ShowFolderOf(const QString& path) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

// Calls `answered` with the reply, an error too, from the event loop.
void Ask(QObject* owner, const QDBusMessage& call, std::function<void(const QDBusMessage&)> answered) {
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner, [watcher, answered = std::move(answered)] {
        watcher->deleteLater();
        answered(watcher->reply());
    });
}

}  // namespace

CAppearance::CAppearance(std::function<void(ThemeSet)> told) : told_(std::move(told)), desktop_(SetOfPalette()) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        CQtApp::s_pInstance->CallLater(0, [self = QPointer<CAppearance>(this)] {
            if (self != nullptr) self->Tell(0);
        });
        return;
    }
    // The slot's types are looked up by name, and this one has none before the bus was used.
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    bus.connect(kPortal, kPortalPath, kSettings, "SettingChanged", this,
                SLOT(OnSetting(QString, QString, QDBusVariant)));
    Read("ReadOne");
}

void CAppearance::Read(const char* method) {
    QDBusMessage call = QDBusMessage::createMethodCall(kPortal, kPortalPath, kSettings, method);
    call.setArguments({QString(kGroup), QString(kKey)});
    Ask(this, call, [this, method](const QDBusMessage& reply) {
        const bool good = reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty();
        // Older portals know only the other name.
        if (!good && qstrcmp(method, "ReadOne") == 0) return Read("Read");
        Tell(good ? Bare(reply.arguments().constFirst()).toUInt() : 0);
    });
}

void CAppearance::OnSetting(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group == kGroup && key == kKey) Tell(Bare(value.variant()).toUInt());
}

void CAppearance::Tell(uint wish) {
    const ThemeSet set = wish == kPrefersDark ? ThemeSet::Dark : wish == kPrefersLight ? ThemeSet::Light : desktop_;
    Contain([this, set] { told_(set); });
}

void CQtApp::AskAppearance(std::function<void(ThemeSet)> told) {
    appearance_ = std::make_unique<CAppearance>(std::move(told));
}

bool CQtApp::OpenAddress(const std::string& address) {
    if (!IsPublicAddress(address)) return false;
    const QUrl url(QString::fromStdString(address), QUrl::StrictMode);
    return url.isValid() && QDesktopServices::openUrl(url);
}

void CQtApp::ShowInFolder(const std::string& path) {
    const QString file = QString::fromStdString(path);
    if (!QDBusConnection::sessionBus().isConnected()) return ShowFolderOf(file);
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                       "org.freedesktop.FileManager1", "ShowItems");
    call.setArguments(
        {QStringList(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()).toString(QUrl::FullyEncoded)), QString()});
    Ask(&tasks_, call, [file](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) ShowFolderOf(file);
    });
}

}  // namespace Lx
