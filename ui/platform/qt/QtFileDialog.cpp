#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QPointer>
#include <QTranslator>
#include <QWindow>
#include <atomic>
#include <clocale>

#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtWindow.h"

namespace Lx {

namespace {

// Only this dialog shows texts of Qt's own.
void SpeakSpanish() {
    static QPointer<QTranslator> translator;
    if (translator != nullptr) return;
    translator = new QTranslator(QCoreApplication::instance());
    if (translator->load("qtbase_es", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
    if (QLocale().language() != QLocale::Spanish) QLocale::setDefault(QLocale(QLocale::Spanish));
}

// "*.pdf" as "*.[pP][dD][fF]": some desktops tell letter case apart.
QString EitherCase(const QString& pattern) {
    QString result;
    for (const QChar c : pattern) {
        const QChar lower = c.toLower(), upper = c.toUpper();
        result += lower == upper ? QString(c) : QString("[%1%2]").arg(lower).arg(upper);
    }
    return result;
}

QString FilterOf(const std::vector<std::string>& patterns) {
    QStringList shown, matched;
    for (const std::string& pattern : patterns) {
        const QString text = QString::fromStdString(pattern).trimmed();
        if (text.isEmpty()) continue;
        shown << text;
        matched << EitherCase(text);
    }
    if (shown.isEmpty()) return "Todos los archivos (*)";
    return "Archivos " + shown.join(", ") + " (" + matched.join(' ') + ")";
}

void Prepare(QFileDialog& dialog, const FileDialogRequest& request) {
    dialog.setWindowTitle(QString::fromStdString(request.title));
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setNameFilter(FilterOf(request.patterns));
    const QFileInfo initial(QString::fromStdString(request.initialPath));
    if (request.initialPath.empty()) return;
    if (initial.isDir()) {
        dialog.setDirectory(initial.absoluteFilePath());
    } else if (initial.absoluteDir().exists()) {
        dialog.setDirectory(initial.absoluteDir());
        if (initial.exists()) dialog.selectFile(initial.fileName());
    }
}

}  // namespace

bool RunPlatformFileDialog(const FileDialogRequest& request, std::string& path) {
    path.clear();
    if (CQtApp::s_pInstance == nullptr) return false;
    SpeakSpanish();
    // The loop below may outlive the owner's widget, and the dialog with it.
    const QPointer<QFileDialog> dialog = new QFileDialog(WidgetOf(request.owner));
    Prepare(*dialog, request);
    std::atomic<bool> done = false;
    QString chosen;
    const QObject here;
    QObject::connect(dialog, &QFileDialog::finished, &here, [&done, &chosen, &dialog](int result) {
        if (result == QDialog::Accepted && dialog != nullptr) chosen = dialog->selectedFiles().value(0);
        done = true;
    });
    QObject::connect(dialog, &QObject::destroyed, &here, [&done] { done = true; });
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->show();
    CQtApp::s_pInstance->RunModal(done);
    if (dialog != nullptr) {
        dialog->hide();
        dialog->deleteLater();
    }
    // The desktop's dialog may bring a toolkit that takes the locale from the environment once more.
    std::setlocale(LC_NUMERIC, "C");
    path = chosen.toStdString();
    return !path.empty();
}

}  // namespace Lx
