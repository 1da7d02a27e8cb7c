// The application object: owns the backend and the main window. One thread runs all of the toolkit.
#pragma once

#include <string>
#include <vector>

#include "ui/LxBackend.h"
#include "ui/LxWindow.h"

namespace Lx {

class LxApp {
  public:
    LxApp(int argc, char** argv);
    virtual ~LxApp();
    LxApp(const LxApp&) = delete;
    LxApp& operator=(const LxApp&) = delete;

    // Creates, centres and shows the main window. False without one or when it can't be created.
    virtual bool InitInstance();
    // Deletes the main windows; 0.
    virtual int ExitInstance();

    // The exit status: what ExitInstance gave unless that is 0, else the loop's code; -1 without a backend and 1
    // when InitInstance failed.
    int Run();
    // Creates and shows one more main window; takes it over, and deletes it when it has closed. The program
    // ends with the last one. False when it can't be created: it is deleted then.
    bool AddWindow(CWindow* window);
    // All main windows that are open, the oldest first.
    [[nodiscard]] std::vector<CWindow*> Windows() const;
    // A window without keepAppOnClose was closed: from the backend. It is deleted by DeleteClosed, which the loop of
    // the application calls when no handler is at work.
    void WindowClosed(CWindow* window);
    void DeleteClosed();
    // Changes the colours of the program, and of every window that is open.
    void ChangeTheme(ThemeSet set);
    void Quit(int code);

    int argc;
    char** argv;
    std::string name = "default";
    CWindow* mainWindow = nullptr;   // owned; set before Run. The first; null once it has closed and others go on
    CAppBackend* backend = nullptr;  // owned

    static LxApp* s_pApp;  // the one live application

  private:
    friend class CDialog;

    std::vector<CWindow*> open_;     // main windows
    std::vector<CWindow*> others_;   // owned: all that AddWindow took over
    std::vector<CWindow*> closed_;   // owned
    std::vector<CWindow*> dialogs_;  // at work
};

}  // namespace Lx
