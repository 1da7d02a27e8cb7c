// Printing is in a library of its own, so that a program that doesn't print never loads it.
#include "ui/platform/qt/QtPrint.h"

#include <dlfcn.h>

#include <QCoreApplication>
#include <QFile>

#include "ui/LxWindow.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtTheme.h"
#include "ui/platform/qt/QtWindow.h"

namespace Lx {

namespace {

constexpr const char* kLibrary = "/complementos/libvelmora-impresion.so";

// Once opened it stays open: Qt keeps pointers into it.
PrintEntry FindEntry() {
    const QString path = QCoreApplication::applicationDirPath() + kLibrary;
    void* library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    return library != nullptr ? reinterpret_cast<PrintEntry>(dlsym(library, kPrintEntry)) : nullptr;
}

}  // namespace

std::unique_ptr<IPrintJob> RunPlatformPrintDialog(const PrintRequest& request, std::string& error) {
    error.clear();
    if (CQtApp::s_pInstance == nullptr || request.pages < 1) return nullptr;
    const PrintEntry entry = FindEntry();
    if (entry == nullptr) {
        error = "No se puede imprimir: falta el paquete libqt6printsupport6. Instálalo y vuelve a intentarlo.";
        return nullptr;
    }
    SpeakSpanish();
    FollowTheme();
    const PrintWait wait = [](std::atomic<bool>& done) { CQtApp::s_pInstance->RunModal(done); };
    if (request.owner != nullptr) request.owner->capture = nullptr;
    return std::unique_ptr<IPrintJob>(entry(request, WidgetOf(request.owner), wait));
}

}  // namespace Lx
