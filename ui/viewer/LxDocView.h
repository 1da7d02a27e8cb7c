// Shows a PDF document: all pages one below the other, or one at a time, at any zoom; search, selection, links.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "ui/LxControl.h"
#include "ui/LxPages.h"

namespace Lx {

// Where a reader is in a document, to come back to it: the page, how far down it the top of the view is (0 to 1), and
// how it is shown.
struct ViewPlace {
    enum class Fit : uint8_t { Free, Width, Page };
    int32_t page = 0;
    double down = 0;
    double across = 0;  // of the page's width, 0 to 1: its left edge in the view
    double zoom = 1;    // 1: a point is 1/72 inch of a screen with 96 client pixels to the inch
    Fit fit = Fit::Width;
    int32_t turn = 0;     // quarter turns clockwise, 0 to 3
    bool single = false;  // one page at a time

    bool operator==(const ViewPlace&) const = default;
};

struct SearchState {
    int32_t hits = 0;     // found so far
    int32_t current = 0;  // from 1; 0: none yet
    int32_t pagesDone = 0;
    bool running = false;
};

class CDocView : public CControl {
  public:
    static constexpr double kMinZoom = 0.1, kMaxZoom = 8;

    CDocView();
    ~CDocView() override;

    // The device pixels across the first page of a document, as a view with that rect shows it at first: for
    // Pdf::OpenAhead.
    [[nodiscard]] static int32_t FirstWidth(const Rect& rect, double scale);

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;
    [[nodiscard]] CursorShape Cursor() const override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;

    // --- The document

    // Begins to open it; onOpened tells how that ended. What is shown stays until then, and goes when it fails. At
    // `place`, else at the start, as wide as the view.
    void Open(const std::string& path, const ViewPlace* place = nullptr);
    // The same path once more, at the same place: what is shown stays until the new pages are there, and for good when
    // the file can't be opened any more. onReloaded tells.
    void Reload();
    // As Open with another path, but as Reload for the eye: the new document is the old one with something added.
    void Replace(const std::string& path);
    void Unlock(const std::string& password);
    void Close();
    [[nodiscard]] bool HasDocument() const;  // with pages
    [[nodiscard]] bool IsOpening() const;
    [[nodiscard]] const std::string& GetPath() const;
    [[nodiscard]] const std::string& GetLastError() const;
    // Null without a document. Owned by the view.
    [[nodiscard]] Pdf::IPages* Pages() const;

    // --- Where

    [[nodiscard]] int GetPageCount() const;
    // The page that takes most of the view.
    [[nodiscard]] int GetCurrentPage() const;
    // To its top. False outside the document.
    bool SetCurrentPage(int page);
    void GoTo(const Pdf::Target& target);  // of Kind::Page; remembered for GoBack
    bool GoBack();
    bool GoForward();
    [[nodiscard]] ViewPlace GetPlace() const;
    void SetPlace(const ViewPlace& place);
    // Scrolls as little as is needed for the box to be seen.
    void Reveal(int page, const Pdf::Box& box);
    [[nodiscard]] bool IsInSight(int page, const Pdf::Box& box) const;
    // Of the box, in client coordinates; empty where nothing of it is seen.
    [[nodiscard]] Rect RectOf(int page, const Pdf::Box& box) const;
    // Outlines it for a moment.
    void Flash(int page, const Pdf::Box& box);

    // --- How

    [[nodiscard]] double GetZoom() const;
    // At the middle of the view.
    void SetZoom(double zoom);
    // Steps of the usual ladder, up when positive, about `about` (client coordinates) or the middle.
    void ZoomBy(int steps, const Point* about = nullptr);
    void SetFit(ViewPlace::Fit fit);
    [[nodiscard]] ViewPlace::Fit GetFit() const;
    void Turn(int quarters);
    void SetSingle(bool single);
    [[nodiscard]] bool IsSingle() const;

    // --- Search and selection

    // Starts a search from what is seen and goes to its first hit; an empty pattern ends it.
    void Search(const std::string& pattern, bool exact);
    void SearchNext();
    void SearchPrevious();
    [[nodiscard]] const SearchState& GetSearch() const;
    [[nodiscard]] bool HasSelection() const;
    // Empty while the text isn't there yet; `copied` of CopySelection gets it then.
    [[nodiscard]] std::string SelectedText() const;
    void CopySelection(std::function<void(const std::string&)> copied);
    void SelectAll();

    // The pixels of other scales and of pages out of sight go.
    void Shrink();

    // --- What is told. From the event loop; the view may be changed from within.

    std::function<void(const Pdf::Opened&)> onOpened;
    std::function<void(const Pdf::Opened&)> onReloaded;      // after Reload and Replace
    std::function<void(int page, int count)> onPageChanged;  // page -1 without a document
    std::function<void()> onZoomChanged;                     // zoom, fit, turn, single
    std::function<void()> onSearch;
    std::function<void(const std::string& address)> onAddress;  // a link that leads out of the document was chosen
    std::function<void(const Point& pt)> onContextMenu;
    std::function<void()> onFirstPage;  // the first page of a newly opened document is on the screen, or why it isn't

  private:
    friend class CSidePane;  // shows the same pictures, smaller
    struct Inside;
    std::unique_ptr<Inside> in_;
};

}  // namespace Lx
