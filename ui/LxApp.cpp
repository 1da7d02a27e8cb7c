#include "ui/LxApp.h"

#include <utility>

namespace Lx {

LxApp* LxApp::s_pApp = nullptr;

LxApp::LxApp(int argCount, char** args) : argc(argCount), argv(args) {
    s_pApp = this;
    backend = CreatePlatformBackend();
}

LxApp::~LxApp() {
    delete std::exchange(mainWindow, nullptr);
    delete std::exchange(backend, nullptr);
    if (s_pApp == this) s_pApp = nullptr;
}

bool LxApp::InitInstance() {
    if (!mainWindow || !mainWindow->Create()) return false;
    mainWindow->Center();
    mainWindow->Show();
    return true;
}

int LxApp::ExitInstance() {
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
    delete window;
    return false;
}

std::vector<CWindow*> LxApp::Windows() const {
    return {mainWindow};
}

void LxApp::WindowClosed(CWindow* /*window*/) {
    Quit(0);
}

void LxApp::ChangeTheme(ThemeSet set) {
    SetTheme(set);
}

void LxApp::Quit(int code) {
    if (backend) backend->Quit(code);
}

CCanvas* MeasuringCanvas() {
    const LxApp* app = LxApp::s_pApp;
    return app && app->backend ? app->backend->MeasuringCanvas() : nullptr;
}

}  // namespace Lx
