// Rows of several texts under a header of columns, or one card per row; single selection.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ui/LxControl.h"

namespace Lx {

class CListView : public CControl {
  public:
    static constexpr int kRows = 1;
    static constexpr int kCards = 2;

    CListView() = default;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;

    // `width` in pixels; 0 shares what the others leave.
    void AddColumn(const std::string& title, int width);
    void SetColumnWidth(int column, int width);
    // kRows: one line per item, below the header. kCards: one card per item: the first text in bold, the others, each
    // under its column's title, below it; values beyond the columns stand at the card's right.
    void SetMode(int mode);
    // Texts by column; there may be more values than columns. Gives the item's index.
    int AddItem(const std::vector<std::string>& values);
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
};

}  // namespace Lx
