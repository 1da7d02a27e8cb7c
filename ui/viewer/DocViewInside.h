// What a CDocView is made of. The members are grouped by the file that works on them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ui/LxCanvas.h"
#include "ui/LxTheme.h"
#include "ui/viewer/LxDocView.h"
#include "ui/viewer/PageLayout.h"
#include "ui/viewer/PageTexts.h"
#include "ui/viewer/SearchModel.h"
#include "ui/viewer/Selection.h"
#include "ui/viewer/TileCache.h"
#include "ui/viewer/TileRequests.h"
#include "ui/viewer/ViewBar.h"

namespace Lx {

struct CDocView::Inside {
    explicit Inside(CDocView& owner) : view(owner) {}
    ~Inside();

    CDocView& view;
    // How many callbacks of a document are being run; gone with the view, for what is called later.
    std::shared_ptr<int> alive = std::make_shared<int>(0);

    // Calls the task from the event loop, unless the view is gone by then. False without a loop.
    bool Later(unsigned ms, std::function<void()> task);
    // Tells the application; from the event loop, when this is a repaint.
    template <class... T, class... V>
    void Tell(const std::function<void(T...)>& what, V... values) {
        if (!what) return;
        // A copy: it may be replaced from within.
        const std::function<void(T...)> copy = what;
        if (painting)
            Later(0, [copy, values...] { copy(values...); });
        else
            copy(values...);
    }
    // For what a document is asked: the answer is dropped when the view has another one by then.
    template <class F>
    auto Answer(F answer) {
        return [this, answer, of = epoch, token = std::weak_ptr<int>(alive)](auto&&... values) {
            const std::shared_ptr<int> running = token.lock();
            if (!running || of != epoch) return;
            ++*running;
            answer(std::forward<decltype(values)>(values)...);
            --*running;
        };
    }
    void Repaint() { view.Invalidate(&view.rect); }

    // --- DocViewDocument.cpp: which document there is

    enum class Coming { None, Fresh, Again };
    std::unique_ptr<Pdf::IPages> pages, next;  // what is shown, and what is being opened to be shown
    Coming coming = Coming::None;
    bool opening = false;
    std::string path, comingPath, lastError;
    std::optional<ViewPlace> comingPlace;
    uint32_t epoch = 0;   // of the document that is shown
    unsigned starts = 0;  // documents that were begun to be opened

    void Start(const std::string& file, Coming how);
    void OnAnswer(const Pdf::Opened& opened);
    void Adopt(const Pdf::Opened& opened);
    void Drop();  // what is shown
    // Its callbacks may be running.
    void Bury(std::unique_ptr<Pdf::IPages> document);
    [[nodiscard]] bool Has() const { return pages && layout.Count() > 0; }

    // --- DocViewPlace.cpp: what is seen of it, in device pixels

    PageLayout layout;
    LayoutSetup setup;
    Rect laidOut;  // where the control was then
    bool arranged = false;
    std::optional<ViewPlace> unplaced;                 // until the control has room for it
    int64_t left = 0, top = 0, width = 1, height = 1;  // of the view in the window, without the bars
    bool wide = false;                                 // the lower bar is there
    int64_t scrollX = 0, scrollY = 0;
    double restX = 0, restY = 0;  // scrolled by less than a pixel
    double beyond = 0;            // past the end of a single page
    int direction = 1;
    int32_t chosen = -1;    // the page that was gone to, until something is scrolled
    int32_t reported = -1;  // to the application
    std::vector<ViewPlace> back, forward;

    [[nodiscard]] Area Seen() const { return {scrollX, scrollY, width, height}; }
    // A client point in the content.
    [[nodiscard]] std::pair<int64_t, int64_t> InContent(const Point& pt) const;
    // In device pixels of the window, cut to a little more than what is seen.
    [[nodiscard]] Rect OnDevice(const Area& area) const;
    [[nodiscard]] Rect OnClient(const Area& area) const;
    // Brings the layout up to date with the control and the screen.
    void Sync(double scale);
    void Sync();
    void Arrange();
    void Keep(const PageLayout::Anchor& anchor, int64_t viewX, int64_t viewY);
    void ArrangeKeepingTop();
    [[nodiscard]] PageLayout::Anchor TopAnchor() const;
    void Clamp();
    void ScrollTo(int64_t x, int64_t y);
    void ScrollBy(double dx, double dy);  // client pixels
    bool TurnPageBy(double dy);
    void Moved();
    void CheckPage();
    [[nodiscard]] int32_t Current() const;
    void ShowTop(int32_t page);
    void ShowSingle(int32_t page, bool atEnd);
    void ZoomTo(double zoom, int64_t viewX, int64_t viewY);
    [[nodiscard]] bool HasRoom() const;
    void SetPlace(const ViewPlace& place);
    [[nodiscard]] ViewPlace Place() const;
    void Reveal(int32_t page, const Pdf::Box& box, bool middle);
    void Travel(std::vector<ViewPlace>& from, std::vector<ViewPlace>& to);

    // --- DocViewTiles.cpp: the pictures of it

    TileCache cache;
    std::map<Pdf::IPages::Id, Pdf::TileSpec> drawing;
    std::map<int32_t, std::pair<int32_t, Pdf::Outcome>> failed;  // by page: at which width, and why
    mutable std::set<int32_t> sliced;
    bool zooming = false, held = false;  // a step was just made; more than one: nothing is drawn until they end
    unsigned zoomStep = 0;
    Pdf::IPages::Id askingSizes = 0;
    int32_t measured = 0;  // the pages before it have sizes
    bool firstPageDue = false;
    std::pair<int32_t, int32_t> thumbnails{0, -1};  // the first and last that are seen beside the view

    [[nodiscard]] bool IsSliced(int32_t page) const;
    [[nodiscard]] WantedTiles Plan() const;
    void Pump();
    void AskTile(const Pdf::TileSpec& tile);
    void OnTile(const Pdf::TileSpec& tile, Pdf::Outcome outcome, const Pdf::Picture& picture);
    void AskSizes();
    void AskSizesOf(int32_t first, int32_t last);
    void AskSizesAhead();
    void ZoomStepMade();
    void TrimTo(size_t limit);
    [[nodiscard]] bool IsThere(const Pdf::TileSpec& tile) const;
    void CheckFirstPage();

    // --- DocViewText.cpp: text, links, search

    PageTexts texts;
    Selection selection;
    SearchModel search;
    std::string pattern;
    bool exactly = false;
    Pdf::IPages::Id searching = 0, askingText = 0, askingLinks = 0;
    int32_t textOf = -1;                // the page whose text is on its way
    std::set<int32_t> noText, noLinks;  // pages that gave none
    mutable int32_t spoken = -1;        // the page whose text assistive tools have asked for
    std::optional<Pdf::Hit> revealing;  // as soon as its page's text is there
    struct CopyJob {
        TextPlace from, to;
        int32_t page = 0;
        std::string text;
        std::function<void(const std::string&)> done;
    };
    std::optional<CopyJob> copying;

    void AskTexts();
    [[nodiscard]] int32_t NextText() const;
    void AskText(int32_t page);
    void OnText(int32_t page);
    void GoOnCopying();
    void StartSearch(int32_t from);
    void EndSearch();
    void StepSearch(bool forwards);
    void RevealHit();
    [[nodiscard]] std::optional<std::string> Selected() const;
    void DropText();

    // --- DocViewInput.cpp

    enum class Drag { None, Pan, Select, Link };
    ViewBar downBar{true}, acrossBar{false};
    Drag drag = Drag::None;
    Point pressed, pannedTo;  // client
    Point pointer = kOutside;
    bool spaceHeld = false;
    int clicks = 0;
    bool dragged = false, creeping = false;
    int spaces = 0;                                    // typed since the space bar went down
    std::optional<std::pair<int32_t, size_t>> tabbed;  // the link that the keyboard is at: its page, which of its links

    struct Spot {
        int32_t page = -1;  // -1: beside the pages
        float x = 0, y = 0;
        bool text = false;
        const Pdf::Link* link = nullptr;
    };
    [[nodiscard]] Spot SpotAt(const Point& pt) const;
    void OnPress(Event& ev);
    void OnMove(Event& ev);
    void OnRelease(Event& ev);
    void OnScroll(Event& ev);
    void OnKey(Event& ev);
    bool OnPlainKey(KeyCode key);
    void OnSpace(Event& ev);
    bool TabLinks(bool backwards);
    [[nodiscard]] const Pdf::Link* Tabbed() const;
    void OnCommand(Event& ev);
    bool OnBars(Event& ev);
    void SelectTo(const Point& pt);
    void Creep();
    void Follow(const Pdf::Target& target);

    // --- DocViewPaint.cpp

    bool painting = false;
    struct Bare {
        unsigned number = 0;
        bool late = false;  // it has been so for long
    };
    std::map<int32_t, Bare> bare;  // pages that are seen and have nothing to show
    unsigned bareNumber = 0;
    struct {
        int32_t page = -1;
        Pdf::Box box;
        unsigned number = 0;
    } flash;

    void Paint(CCanvas& canvas);
    void PaintPages(CCanvas& canvas);
    void PaintPage(CCanvas& canvas, int32_t page);
    void PaintFrame(CCanvas& canvas, const Area& page) const;
    bool PaintTiles(CCanvas& canvas, int32_t page, const Area& seen) const;
    void PaintStandIns(CCanvas& canvas, int32_t page, const Area& seen, bool& any) const;
    void PaintTile(CCanvas& canvas, const Tile& tile) const;
    void PaintMarks(CCanvas& canvas, int32_t page) const;
    void PaintMessage(CCanvas& canvas, const std::string& text, const Rect& area, ColorRole color) const;
    void PaintOutline(CCanvas& canvas, int32_t page, const Pdf::Box& box) const;
    [[nodiscard]] bool IsBare(int32_t page);
    void ArrangeBars();
};

// What the user reads in a page's place.
[[nodiscard]] std::string SentenceOf(Pdf::Outcome outcome);

}  // namespace Lx
