#include "ui/LxDialog.h"

#include <utility>

#include "ui/LxApp.h"
#include "ui/LxTheme.h"

namespace Lx {

CDialog::CDialog(CWindow* ownerWindow) : owner(ownerWindow) {
    backColor = ThemeColor(ColorRole::Window);
    title = "Dialog";
    rect = {0, 0, 400, 300};
    keepAppOnClose = true;
}

void CDialog::OnDestroy() {
    CWindow::OnDestroy();
    done = true;
}

int CDialog::DoModal() {
    done = false;
    result = 0;
    LxApp* app = LxApp::s_pApp;
    if (!app || !app->backend) return -1;
    if (!Create()) {
        delete std::exchange(impl, nullptr);
        return -1;
    }
    // The release of a press that opened the dialog never reaches the owner.
    if (owner) owner->capture = nullptr;
    Center();
    Show();
    app->dialogs_.push_back(this);
    app->backend->RunModal(done);
    std::erase(app->dialogs_, this);
    delete std::exchange(impl, nullptr);
    if (owner) owner->InvalidateRect(nullptr);
    return result;
}

void CDialog::EndDialog(int code) {
    result = code;
    if (impl) impl->Destroy();
    done = true;
}

}  // namespace Lx
