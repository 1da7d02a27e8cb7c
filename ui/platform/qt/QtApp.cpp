#include "ui/platform/qt/QtApp.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QAbstractEventDispatcher>
#include <QClipboard>
#include <QDir>
#include <QEventLoop>
#include <QIcon>
#include <QLibraryInfo>
#include <QPointer>
#include <QSettings>
#include <QTimer>
#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "ui/LxApp.h"
#include "ui/platform/qt/QtAccessible.h"

namespace Lx {

namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

bool ReachesX() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool reached = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reached;
}

bool ReachesWayland() {
    if (!Variable("WAYLAND_SOCKET").empty()) return true;
    std::string path = Variable("WAYLAND_DISPLAY");
    if (path.empty()) return false;
    if (path[0] != '/') path = Variable("XDG_RUNTIME_DIR") + "/" + path;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    path.copy(address.sun_path, path.size());
    const int s = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool reached = connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(s);
    return reached;
}

// The plug-in comes in a package of its own.
bool HasWaylandPlugin() {
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    return !plugins.entryList({"libqwayland*"}, QDir::Files).isEmpty();
}

// Qt ends the process when it finds no display, so the question comes first. It tries several platforms in turn where
// they are told so: "wayland;xcb".
bool HasDisplay() {
    const QString wanted = qEnvironmentVariable("QT_QPA_PLATFORM");
    for (const QString& one : (wanted.isEmpty() ? "xcb;wayland" : wanted).split(';', Qt::SkipEmptyParts)) {
        const bool x = one.startsWith("xcb"), wayland = one.startsWith("wayland");
        if (!x && !wayland) return true;
        if (x && ReachesX()) return true;
        if (!wayland || !ReachesWayland() || !HasWaylandPlugin()) continue;
        if (wanted.isEmpty()) setenv("QT_QPA_PLATFORM", "wayland", 1);
        return true;
    }
    return false;
}

// As installed, else the one beside the program in a build tree.
void SetProgramIcon() {
    const QString name = QCoreApplication::applicationName();
    const QIcon icon = QIcon::fromTheme(name);
    QGuiApplication::setWindowIcon(icon.isNull() ? QIcon(QCoreApplication::applicationDirPath() + "/" + name + ".png")
                                                 : icon);
}

// Searching the icon themes takes a tenth of the start: the window is there first.
constexpr unsigned kIconAfterMs = 100;

std::unique_ptr<QApplication> NewApplication() {
    // Arguments are the program's business: Qt gets none, or a file called "-style" would vanish.
    static char name[] = "velmora";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    // Qt's file dialog would keep a history of what was opened, for all of its programs.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
    QCoreApplication::setApplicationName(name);
    QGuiApplication::setDesktopFileName(name);
    auto app = std::make_unique<QApplication>(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt takes every category from the environment; numbers are read and written with a point here.
    std::setlocale(LC_NUMERIC, "C");
    return app;
}

}  // namespace

CQtApp* CQtApp::s_pInstance = nullptr;

CQtApp::CQtApp()
    : app_(NewApplication()),
      nowhere_(1, 1, QImage::Format_ARGB32_Premultiplied),
      painter_(&nowhere_),
      measuring_(painter_, fonts_, rasters_, QRegion()) {
    s_pInstance = this;
    InstallAccessibility();
    CQtApp::CallLater(kIconAfterMs, SetProgramIcon);
}

CQtApp::~CQtApp() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    s_pInstance = nullptr;
}

int CQtApp::RunLoop() {
    quit_ = false;
    code_ = 0;
    QEventLoop loop;
    while (!quit_) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
        if (LxApp::s_pApp != nullptr) LxApp::s_pApp->DeleteClosed();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return code_;
}

void CQtApp::Quit(int code) {
    code_ = code;
    quit_ = true;
    if (auto* dispatcher = QAbstractEventDispatcher::instance(app_->thread())) dispatcher->wakeUp();
}

void CQtApp::RunModal(std::atomic<bool>& done) {
    QEventLoop loop;
    while (!done && !quit_) loop.processEvents(QEventLoop::WaitForMoreEvents);
}

void CQtApp::CallLater(unsigned ms, std::function<void()> task) {
    auto* timer = new QTimer(&tasks_);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, task = std::move(task)] {
        timer->deleteLater();
        Contain(task);
    });
    timer->start(static_cast<int>(std::min<unsigned>(ms, INT_MAX)));
}

void CQtApp::Post(std::function<void()> task) {
    QMetaObject::invokeMethod(
        &tasks_, [task = std::move(task)] { Contain(task); }, Qt::QueuedConnection);
}

unsigned CQtApp::Watch(int fd, std::function<void()> ready) {
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, &tasks_);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [ready = std::move(ready)] { Contain(ready); });
    watched_[++lastWatch_] = notifier;
    return lastWatch_;
}

void CQtApp::Unwatch(unsigned id) {
    const auto watched = watched_.find(id);
    if (watched == watched_.end()) return;
    // It may be the one that is being told.
    watched->second->setEnabled(false);
    watched->second->deleteLater();
    watched_.erase(watched);
}

std::string CQtApp::Clipboard() {
    return QGuiApplication::clipboard()->text().toStdString();
}

void CQtApp::SetClipboard(const std::string& utf8) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(utf8));
}

void Contain(const std::function<void()>& task) {
    try {
        task();
    } catch (...) {
        std::fputs("velmora: una acción terminó por una excepción.\n", stderr);
    }
}

void Soon(QWidget* widget, std::function<void()> task) {
    if (CQtApp::s_pInstance == nullptr) return;
    CQtApp::s_pInstance->CallLater(0, [widget = QPointer<QWidget>(widget), task = std::move(task)] {
        if (widget != nullptr) task();
    });
}

CAppBackend* CreatePlatformBackend() {
    if (HasDisplay()) return new CQtApp;
    std::fputs("No hay pantalla: no se encontró ningún servidor X ni Wayland (DISPLAY, WAYLAND_DISPLAY).\n", stderr);
    return nullptr;
}

}  // namespace Lx
