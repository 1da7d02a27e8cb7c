// The application object of Qt and its event loops.
#pragma once

#include <QApplication>
#include <QImage>
#include <QObject>
#include <QPainter>
#include <QSocketNotifier>
#include <QWidget>
#include <atomic>
#include <functional>
#include <map>
#include <memory>

#include "ui/LxBackend.h"
#include "ui/platform/qt/QtCanvas.h"

namespace Lx {

class CQtApp : public CAppBackend {
  public:
    // There must be a display.
    CQtApp();
    ~CQtApp() override;
    CQtApp(const CQtApp&) = delete;
    CQtApp& operator=(const CQtApp&) = delete;

    int RunLoop() override;
    void Quit(int code) override;
    void RunModal(std::atomic<bool>& done) override;
    void CallLater(unsigned ms, std::function<void()> task) override;
    void Post(std::function<void()> task) override;
    CCanvas* MeasuringCanvas() override { return &measuring_; }
    [[nodiscard]] bool OpenAddress(const std::string& address) override;
    void ShowInFolder(const std::string& path) override;
    void AskAppearance(std::function<void(ThemeSet)> told) override;
    unsigned Watch(int fd, std::function<void()> ready) override;
    void Unwatch(unsigned id) override;
    void SetClipboard(const std::string& utf8) override;
    [[nodiscard]] std::string Clipboard() override;

    [[nodiscard]] CQtFonts& Fonts() { return fonts_; }

    static CQtApp* s_pInstance;  // the one live backend

  private:
    std::unique_ptr<QApplication> app_;  // outlives the rest
    QObject tasks_;                      // what CallLater still owes ends with it
    std::map<unsigned, QSocketNotifier*> watched_;
    unsigned lastWatch_ = 0;
    std::atomic<bool> quit_ = false;
    int code_ = 0;
    CQtFonts fonts_;
    CQtRasters rasters_;
    QImage nowhere_;
    QPainter painter_;
    CQtCanvas measuring_;
    std::unique_ptr<QObject> appearance_;
};

// Runs what belongs to the program; an exception that it lets out ends here, with a line on standard error.
void Contain(const std::function<void()>& task);

// Runs the task from the event loop, as long as the widget exists then.
void Soon(QWidget* widget, std::function<void()> task);

}  // namespace Lx
