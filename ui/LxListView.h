// Rows of several texts under a header of columns, or one card per row; single selection.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxControl.h"

namespace Lx {

class ScrollBar;
struct FieldLook;

class CListView : public CControl {
  public:
    static constexpr int kRows = 1;
    static constexpr int kCards = 2;

    CListView();
    ~CListView() override;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;

    // `width` in pixels; 0 shares what the others leave. On a card it is the least that the column's text takes.
    void AddColumn(const std::string& title, int width);
    void SetColumnWidth(int column, int width);
    // kRows: one line per item, below the header. kCards: one card per item: the first text in bold, the others, each
    // under its column's title, below it; values beyond the columns stand at the card's right.
    void SetMode(int mode);
    // Texts by column; there may be more values than columns. Gives the item's index.
    int AddItem(const std::vector<std::string>& values);
    // Draws the item in grey; it can be selected all the same. `why` is its description for assistive tools.
    void DimItem(int index, const std::string& why);
    void Clear();
    [[nodiscard]] int GetCount() const;
    [[nodiscard]] const std::vector<std::string>& GetItem(int index) const;
    // Shown in grey in the middle while there are no items.
    void SetPlaceholder(const std::string& utf8);

    // -1 is none. Scrolls the item into view. Never notifies.
    void SetSelected(int index);
    [[nodiscard]] int GetSelected() const;
    void SetEnabled(bool value);

    // The user selected another item.
    template <class T>
    void OnSelectionChanged(T* obj, void (T::*fn)(int)) {
        onSelectionChanged = [obj, fn](int index) { (obj->*fn)(index); };
    }
    // An item was double clicked, or Enter pressed on it. Without a handler Enter goes to the window.
    template <class T>
    void OnActivate(T* obj, void (T::*fn)(int)) {
        onActivate = [obj, fn](int index) { (obj->*fn)(index); };
    }

    std::function<void(int)> onSelectionChanged;
    std::function<void(int)> onActivate;

  private:
    struct Column {
        std::string title;
        int width = 0;
    };
    struct Item {
        std::vector<std::string> values;
        bool dimmed = false;
        std::string why;
    };
    struct Cut {
        Rect box;
        std::string text;
    };
    struct Piece;  // a column's title and text on a card

    void OnMouse(Event& ev);
    void OnPress(Event& ev);
    void OnKey(Event& ev);
    // By the user's hand: calls onSelectionChanged last.
    void Select(int index);
    void Hover(const Point& pt);

    [[nodiscard]] Rect ViewRect() const;
    [[nodiscard]] int HeaderHeight() const;
    // From the top of one item to the top of the next.
    [[nodiscard]] int Pitch() const;
    [[nodiscard]] int ItemAt(const Point& pt) const;
    // What is drawn of an item, without the gap below it.
    [[nodiscard]] Rect ItemRect(int index) const;
    [[nodiscard]] std::vector<int> ColumnWidths(int total) const;
    void Arrange();
    void Reveal(int index);
    // One line in its box; what is cut is remembered for the tool tip.
    void Write(CCanvas& canvas, const std::string& text, const Rect& box, const FieldLook& look) const;
    void DrawHeader(CCanvas& canvas, const FieldLook& look) const;
    void DrawRow(CCanvas& canvas, int index, const FieldLook& look) const;
    // What the item's texts are drawn in.
    [[nodiscard]] Color TextOf(int index, const Color& color) const;
    void DrawCard(CCanvas& canvas, int index, const FieldLook& look) const;
    [[nodiscard]] std::vector<Piece> PiecesOf(CCanvas& canvas, const std::vector<std::string>& values, const Rect& box,
                                              const FieldLook& look) const;
    int DrawPill(CCanvas& canvas, const std::vector<std::string>& values, const Rect& box, bool marked) const;

    std::vector<Column> columns_;
    std::vector<Item> items_;
    std::string placeholder_;
    int mode_ = kRows;
    int selected_ = -1;
    int hovered_ = -1;
    int armed_ = -1;  // the item that a second click activates
    std::unique_ptr<ScrollBar> scroll_;
    mutable std::vector<Cut> cut_;  // texts that the last repaint cut, and where
};

}  // namespace Lx
