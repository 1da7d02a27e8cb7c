#include "ui/LxApp.h"

#include <algorithm>
#include <utility>

namespace Lx {

LxApp* LxApp::s_pApp = nullptr;

LxApp::LxApp(int argCount, char** args) : argc(argCount), argv(args) {
    s_pApp = this;
    backend = CreatePlatformBackend();
}

LxApp::~LxApp() {
    LxApp::ExitInstance();
    delete std::exchange(backend, nullptr);
    if (s_pApp == this) s_pApp = nullptr;
}

bool LxApp::InitInstance() {
    if (!mainWindow || !mainWindow->Create()) return false;
    open_.push_back(mainWindow);
    mainWindow->Center();
    mainWindow->Show();
    return true;
}

int LxApp::ExitInstance() {
    DeleteClosed();
    open_.clear();
    for (const CWindow* window : std::exchange(others_, {})) delete window;
    delete std::exchange(mainWindow, nullptr);
    return 0;
}

int LxApp::Run() {
    if (!backend) return -1;
    if (!InitInstance()) {
        ExitInstance();
        return 1;
    }
    const int loop = backend->RunLoop();
    const int exit = ExitInstance();
    return exit != 0 ? exit : loop;
}

bool LxApp::AddWindow(CWindow* window) {
    if (!window || !backend || !window->Create()) {
        delete window;
        return false;
    }
    others_.push_back(window);
    open_.push_back(window);
    // The desktop places it where it doesn't hide the others.
    window->Show();
    return true;
}

std::vector<CWindow*> LxApp::Windows() const {
    return open_;
}

void LxApp::WindowClosed(CWindow* window) {
    // The last one stays for ExitInstance.
    if (std::erase(open_, window) == 0 || open_.empty()) return Quit(0);
    if (window == mainWindow) mainWindow = nullptr;
    std::erase(others_, window);
    closed_.push_back(window);
}

void LxApp::DeleteClosed() {
    for (const CWindow* window : std::exchange(closed_, {})) delete window;
}

void LxApp::ChangeTheme(ThemeSet set) {
    SetTheme(set);
    std::vector<CWindow*> windows = open_;
    windows.insert(windows.end(), dialogs_.begin(), dialogs_.end());
    for (CWindow* window : windows) {
        window->OnThemeChanged();
        // By index: a control may add another.
        for (size_t i = 0; i < window->controls.size(); ++i) window->controls[i]->OnThemeChanged();
        window->InvalidateRect(nullptr);
    }
}

void LxApp::Quit(int code) {
    if (backend) backend->Quit(code);
}

CCanvas* MeasuringCanvas() {
    const LxApp* app = LxApp::s_pApp;
    return app && app->backend ? app->backend->MeasuringCanvas() : nullptr;
}

}  // namespace Lx
