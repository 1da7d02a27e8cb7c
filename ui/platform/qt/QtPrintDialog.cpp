// The library that prints: the dialog, and the job that comes of it.
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdlib>

#include "ui/platform/qt/QtPrint.h"
#include "ui/platform/qt/QtPrintJob.h"

namespace Lx {

namespace {

// A tab of the dialog.
class CScaleTab : public QWidget {
  public:
    CScaleTab() : actual_(new QRadioButton("Tamaño real")), fitted_(new QRadioButton("Ajustar al papel")) {
        setWindowTitle("Tamaño");
        auto* layout = new QVBoxLayout(this);
        layout->addWidget(actual_);
        layout->addWidget(fitted_);
        layout->addStretch();
        actual_->setChecked(true);
    }
    [[nodiscard]] PrintScale Scale() const { return fitted_->isChecked() ? PrintScale::Fitted : PrintScale::Actual; }

  private:
    QRadioButton* actual_;
    QRadioButton* fitted_;
};

// What the person chose, from 0, in the order and as often as it is to be printed where the printer doesn't see to it.
std::vector<int> ChosenPages(const QPrinter& printer, const PrintRequest& request) {
    std::vector<int> chosen;
    const auto add = [&chosen, &request](int from, int to) {
        for (int page = std::max(from, 1); page <= std::min(to, request.pages); ++page) chosen.push_back(page - 1);
    };
    switch (printer.printRange()) {
        case QPrinter::CurrentPage:
            add(request.current + 1, request.current + 1);
            break;
        case QPrinter::PageRange:
            for (const auto& range : printer.pageRanges().toRangeList()) add(range.from, range.to);
            break;
        case QPrinter::AllPages:
        case QPrinter::Selection:
            add(1, request.pages);
            break;
    }
    if (printer.pageOrder() == QPrinter::LastPageFirst) std::reverse(chosen.begin(), chosen.end());
    const std::vector<int> once = chosen;
    const int copies = printer.supportsMultipleCopies() ? 1 : std::clamp(printer.copyCount(), 1, 999);
    for (int i = 1; i < copies; ++i) chosen.insert(chosen.end(), once.begin(), once.end());
    return chosen;
}

void Prepare(QPrintDialog& dialog, const PrintRequest& request, QWidget* scale) {
    dialog.setWindowTitle("Imprimir");
    dialog.setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintPageRange |
                      QAbstractPrintDialog::PrintCurrentPage | QAbstractPrintDialog::PrintShowPageSize |
                      QAbstractPrintDialog::PrintCollateCopies);
    dialog.setMinMax(1, request.pages);
    dialog.setFromTo(1, request.pages);
    dialog.setOptionTabs({scale});
    dialog.setWindowModality(Qt::ApplicationModal);
}

bool Agreed(QWidget* window, QPrinter& printer, const PrintRequest& request, const PrintWait& wait,
            PrintScale& chosenScale) {
    // The loop below may outlive the window, and the dialog with it.
    const QPointer<QPrintDialog> dialog = new QPrintDialog(&printer, window);
    auto* scale = new CScaleTab;
    Prepare(*dialog, request, scale);
    bool agreed = false;
    std::atomic<bool> done = false;
    const QObject here;
    QObject::connect(dialog, &QDialog::finished, &here, [&](int result) {
        agreed = result == QDialog::Accepted;
        if (agreed) chosenScale = scale->Scale();
        done = true;
    });
    QObject::connect(dialog, &QObject::destroyed, &here, [&done] { done = true; });
    dialog->show();
    wait(done);
    // The printer goes with the job: the dialog must be gone before.
    delete dialog;
    return agreed;
}

IPrintJob* Print(const PrintRequest& request, QWidget* window, const PrintWait& wait) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setDocName(QString::fromStdString(request.title));
    PrintScale scale = PrintScale::Actual;
    if (!Agreed(window, *printer, request, wait, scale)) return nullptr;
    std::vector<int> pages = ChosenPages(*printer, request);
    if (pages.empty()) return nullptr;
    return new CQtPrintJob(std::move(printer), std::move(pages), scale);
}

}  // namespace

}  // namespace Lx

extern "C" __attribute__((visibility("default"))) Lx::IPrintJob* VelmoraImprimir(const Lx::PrintRequest& request,
                                                                                 QWidget* window,
                                                                                 const Lx::PrintWait& wait) {
    return Lx::Print(request, window, wait);
}

extern "C" __attribute__((visibility("default"))) Lx::IPrintJob* VelmoraImprimirEnFichero(
    const char* path, bool fitted, const std::vector<int>& pages) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(QString::fromUtf8(path));
    return new Lx::CQtPrintJob(std::move(printer), pages, fitted ? Lx::PrintScale::Fitted : Lx::PrintScale::Actual);
}
