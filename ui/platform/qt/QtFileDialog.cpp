#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLibraryInfo>
#include <QLocale>
#include <QPointer>
#include <QSplitter>
#include <QTranslator>
#include <QTreeView>
#include <QWindow>
#include <atomic>
#include <clocale>

#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtTheme.h"
#include "ui/platform/qt/QtWindow.h"

namespace Lx {

namespace {

constexpr struct {
    const char* source;
    const char* spanish;
} kTexts[] = {
    {"Folder", "Carpeta"},
    {"File", "Archivo"},
    {"%1 File", "Archivo %1"},
    {"Look in:", "Buscar en:"},
    {"File &name:", "&Nombre de archivo:"},
    {"Files of type:", "Archivos de tipo:"},
    {"Date Modified", "Modificación"},
    {"Save in:", "Guardar en:"},
    {"%1 already exists.\nDo you want to replace it?", "Ya existe %1.\n¿Quieres sustituirlo?"},
    {"Ctrl", "Ctrl"},
    {"Shift", "Mayús"},
    {"Output &file:", "&Archivo de salida:"},
    {"Pages", "Páginas"},
    {"Page Set:", "Cuáles:"},
    {"Current Page", "Página actual"},
    {"Reverse", "Orden inverso"},
};

// What the translation that Qt comes with leaves in English, or says in other words than the program.
class CQtTexts : public QTranslator {
  public:
    using QTranslator::QTranslator;
    [[nodiscard]] QString translate(const char*, const char* source, const char*, int) const override {
        for (const auto& row : kTexts) {
            if (qstrcmp(row.source, source) == 0) return QString::fromUtf8(row.spanish);
        }
        return {};
    }
    [[nodiscard]] bool isEmpty() const override { return false; }
};

}  // namespace

void SpeakSpanish() {
    static QPointer<QTranslator> spoken;
    if (spoken != nullptr) return;
    QCoreApplication* app = QCoreApplication::instance();
    auto* translator = new QTranslator(app);
    if (translator->load("qtbase_es", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
    spoken = new CQtTexts(app);
    QCoreApplication::installTranslator(spoken);
    if (QLocale().language() != QLocale::Spanish) QLocale::setDefault(QLocale(QLocale::Spanish));
}

namespace {

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

// The dialog that Qt draws where the desktop has none of its own.
void Arrange(QFileDialog& dialog) {
    dialog.resize(860, 540);
    if (auto* splitter = dialog.findChild<QSplitter*>()) splitter->setSizes({170, 690});
    if (const auto* tree = dialog.findChild<QTreeView*>("treeView")) {
        constexpr int kWidths[] = {300, 80, 85, 175};
        for (int i = 0; i < 4; ++i) tree->header()->resizeSection(i, kWidths[i]);
    }
}

void Prepare(QFileDialog& dialog, const FileDialogRequest& request) {
    dialog.setWindowTitle(QString::fromStdString(request.title));
    dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(request.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setNameFilter(FilterOf(request.patterns));
    Arrange(dialog);
    const QFileInfo initial(QString::fromStdString(request.initialPath));
    if (request.initialPath.empty()) return;
    if (initial.isDir()) {
        dialog.setDirectory(initial.absoluteFilePath());
    } else if (initial.absoluteDir().exists()) {
        dialog.setDirectory(initial.absoluteDir());
        if (request.save || initial.exists()) dialog.selectFile(initial.fileName());
    }
}

}  // namespace

bool RunPlatformFileDialog(const FileDialogRequest& request, std::string& path) {
    path.clear();
    if (CQtApp::s_pInstance == nullptr) return false;
    SpeakSpanish();
    FollowTheme();
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
