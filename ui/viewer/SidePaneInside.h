// What a CSidePane is made of.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ui/LxTheme.h"
#include "ui/viewer/DocViewInside.h"
#include "ui/viewer/LxSidePane.h"
#include "ui/viewer/ViewBar.h"

namespace Lx {

struct CSidePane::Inside {
    static constexpr int kTabs = 3;

    Inside(CSidePane& owner, CDocView& document) : pane(owner), view(document) {}

    CSidePane& pane;
    CDocView& view;
    std::shared_ptr<int> alive = std::make_shared<int>(0);

    // What each tab shows.
    struct List {
        int64_t scroll = 0;
        int32_t chosen = -1;  // a row
        bool asked = false, there = false, failed = false;
    };
    Tab tab = Tab::Thumbnails;
    List lists[kTabs];
    int32_t page = 0;
    uint32_t epoch = 0;  // of the view's document
    std::vector<Pdf::OutlineItem> outline;
    std::vector<bool> folded;
    std::vector<int32_t> shown;  // rows of the outline that no folded one hides
    std::vector<Pdf::Attachment> attachments;
    ViewBar bar{true};
    int32_t hovered = -1;
    bool atTabs = false;  // the keyboard is among the tabs

    std::set<int32_t> noThumbnail;
    Pdf::IPages::Id drawing = 0;
    unsigned settling = 0;

    [[nodiscard]] List& Now() { return lists[static_cast<size_t>(tab)]; }
    [[nodiscard]] const List& Now() const { return lists[static_cast<size_t>(tab)]; }
    [[nodiscard]] CDocView::Inside& Doc() const { return *view.in_; }

    // --- SidePaneRows.cpp: what there is
    void Renew();
    void Ask();
    void Unfold();
    [[nodiscard]] bool HasChildren(int32_t item) const;
    [[nodiscard]] int32_t Rows() const;
    [[nodiscard]] std::string NameOf(int32_t row) const;
    [[nodiscard]] std::string Message() const;
    void Activate(int32_t row);
    void SetFolded(int32_t row, bool fold);
    // Small pictures, when the pane has come to rest.
    void Settle();
    void AskThumbnails();
    [[nodiscard]] Pdf::TileSpec ThumbnailOf(int32_t page) const;
    template <class F>
    auto Guarded(F answer) {
        return Doc().Answer([answer, token = std::weak_ptr<int>(alive)](auto&&... values) {
            if (!token.expired()) answer(std::forward<decltype(values)>(values)...);
        });
    }

    // --- LxSidePane.cpp: where it is
    [[nodiscard]] Rect TabRect(int index) const;
    [[nodiscard]] Rect Body() const;
    [[nodiscard]] int Pitch() const;
    // How much higher than wide the page is.
    [[nodiscard]] double ShapeOf(int32_t row) const;
    [[nodiscard]] Rect RowRect(int32_t row) const;
    [[nodiscard]] Rect PictureBox(int32_t row) const;
    [[nodiscard]] int32_t RowAt(const Point& pt) const;
    // The first and the last row in sight.
    [[nodiscard]] std::pair<int32_t, int32_t> InSight() const;
    void Arrange();
    void ScrollTo(int64_t position);
    void Reveal(int32_t row);
    void Choose(int32_t row, bool activate);
    void OnMouse(Event& ev);
    bool OnKey(KeyCode key, uint32_t modifiers);
    bool OnTreeKey(KeyCode key);
    void Repaint() { pane.Invalidate(&pane.rect); }

    // --- SidePanePaint.cpp
    void Paint(CCanvas& canvas, bool focused);
    void PaintTabs(CCanvas& canvas, bool focused) const;
    void PaintThumbnail(CCanvas& canvas, int32_t row) const;
    void PaintOutline(CCanvas& canvas, int32_t row) const;
    void PaintAttachment(CCanvas& canvas, int32_t row) const;
    void PaintMark(CCanvas& canvas, int32_t row, const Rect& box) const;
    void PaintMessage(CCanvas& canvas) const;
};

inline constexpr int kPaneFont = 12;
inline constexpr int kPaneIndent = 16;  // for each level of the outline
inline constexpr int kPanePadding = 8;
inline constexpr int kPaneArrow = 16;  // where an outline's row is folded
inline constexpr int kPaneLevels = 6;  // that are indented

// "12 kB"; empty when it isn't known.
[[nodiscard]] std::string SizeText(int64_t bytes);
// As much of the text as fits, with an ellipsis behind it when that isn't all.
[[nodiscard]] std::string Shortened(CCanvas& canvas, const std::string& text, int width, int fontSize);

}  // namespace Lx
