// Shows one page of a PDF document at a time, as wide as the control, with a thin scrollbar of its own.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxControl.h"
#include "ui/LxPdf.h"
#include "ui/LxTheme.h"

namespace Lx {

class CPdfView : public CControl {
  public:
    CPdfView();
    ~CPdfView() override;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    void OnThemeChanged() override;

    // False, with the sentence in GetLastError, when the file can't be opened: the view is then empty.
    bool LoadDocument(const std::string& path);
    void CloseDocument();
    void Reset();
    [[nodiscard]] bool HasDocument() const { return document != nullptr; }
    [[nodiscard]] const std::string& GetPath() const { return path; }
    [[nodiscard]] const std::string& GetLastError() const { return lastError; }
    [[nodiscard]] int GetCurrentPage() const { return currentPage; }
    [[nodiscard]] int GetPageCount() const { return pageCount; }

    // Pages count from 0. False outside the document.
    bool SetCurrentPage(int page);
    // "1" for page 0; empty outside the document.
    [[nodiscard]] std::string GetPageLabel(int page) const;
    // Client pixels, positive towards the end of the page.
    void ScrollBy(int dy);
    void ScrollToTop();
    void ScrollToBottom();
    void ClampScroll();
    [[nodiscard]] int MaxScrollY() const;
    [[nodiscard]] bool SaveCurrentPageJpg(const std::string& path, unsigned quality, std::string& error, int width);

    [[nodiscard]] Rect ViewportRect() const;
    // In device pixels: what the page is drawn at.
    [[nodiscard]] int DesiredRasterWidth() const;
    // Height of the page at the viewport's width; 0 without a raster.
    [[nodiscard]] int DisplayedHeight() const;
    [[nodiscard]] Rect VTrackRect() const;
    [[nodiscard]] Rect VThumbRect() const;
    [[nodiscard]] bool EnsureRaster(std::string& error);
    void DrawScrollbar(CCanvas* canvas);
    void FirePageChanged();

    // Page and page count; page -1 without a document.
    template <class T>
    void OnPageChanged(T* obj, void (T::*fn)(int, int)) {
        onPageChanged = [obj, fn](int page, int count) { (obj->*fn)(page, count); };
    }

    Pdf::IDocument* document = nullptr;  // owned
    std::string path;
    std::string lastError;
    int currentPage = 0;
    int pageCount = 0;
    int margin = 14;
    int scrollY = 0;
    Color background = ThemeColor(ColorRole::View);
    Pdf::Raster raster;
    int rasterPage = -1;
    int rasterWidth = 0;
    bool draggingThumb = false;
    bool panning = false;
    int lastPanY = 0;
    int thumbGrab = 0;
    std::function<void(int, int)> onPageChanged;

  private:
    enum class Sheet { Shown, Pending, Failed };

    [[nodiscard]] Sheet PrepareSheet(std::string& error);
    void PaintSheet(CCanvas* canvas, Sheet sheet);
    static void PaintMessage(CCanvas* canvas, const std::string& text, const Rect& area, ColorRole color);
    void PaintAgainSoon();

    [[nodiscard]] bool HasRaster() const;
    [[nodiscard]] bool IsScrollable() const;
    // How far the page is taller than the viewport; not positive when it isn't.
    [[nodiscard]] int64_t Excess() const;
    void DropRaster();
    void GoToPage(int page);
    void TurnTo(int page);
    void ScrollTo(int64_t y);

    void OnPress(Event& ev);
    void OnDrag(Event& ev);
    void OnWheel(Event& ev);
    void OnKey(Event& ev);

    // A backend may know pixels by their address, so those of the last raster live until there are new ones.
    std::vector<unsigned char> retired_;
    // The page that failed, at which width and why: it isn't drawn again at every repaint.
    int failedPage_ = -1;
    int failedWidth_ = 0;
    std::string failure_;
    int pendingPage_ = -1;  // the page that the last repaint had to do without
    bool repaintDue_ = false;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);  // gone with the view, for what is called later
};

}  // namespace Lx
