// A print job on a printer of Qt's, or into a PDF file.
#pragma once

#include <QPainter>
#include <QPrinter>
#include <QRectF>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxBackend.h"

namespace Lx {

enum class PrintScale {
    Actual,  // one point of the page is one point of the sheet; into a file, the sheet is as large as the page
    Fitted,  // as large as the sheet's printable area allows
};

class CQtPrintJob : public IPrintJob {
  public:
    // The printer is as the person wants it. `pages` from 0.
    CQtPrintJob(std::unique_ptr<QPrinter> printer, std::vector<int> pages, PrintScale scale);
    // A job that wasn't finished is given up, and leaves no file.
    ~CQtPrintJob() override;
    CQtPrintJob(const CQtPrintJob&) = delete;
    CQtPrintJob& operator=(const CQtPrintJob&) = delete;

    [[nodiscard]] const std::vector<int>& Pages() const override { return pages_; }
    [[nodiscard]] bool BeginPage(float width, float height, Size& device, int& turn) override;
    [[nodiscard]] bool DrawBand(const unsigned char* rows, int width, int height, int stride, int top) override;
    [[nodiscard]] bool Finish() override;

  private:
    [[nodiscard]] bool IsFile() const { return !printer_->outputFileName().isEmpty(); }
    [[nodiscard]] bool BeginSheet();
    // The page's place on the sheet, in the printer's pixels, and the turn that it lies there with.
    [[nodiscard]] QRectF Place(float width, float height, int& turn) const;

    std::unique_ptr<QPrinter> printer_;
    QPainter painter_;
    std::vector<int> pages_;
    PrintScale scale_;
    QRectF place_;
    bool begun_ = false, finished_ = false;
};

}  // namespace Lx
