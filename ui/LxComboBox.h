// One choice of a fixed list that drops down over the controls below, or above when there is no room.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxControl.h"
#include "ui/LxStyle.h"

namespace Lx {

class ScrollBar;
struct FieldLook;

class CComboBox : public CControl {
  public:
    CComboBox();
    ~CComboBox() override;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] bool IsOverlayPaint() const override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;

    void SetItems(const std::vector<std::string>& items);
    [[nodiscard]] const std::vector<std::string>& GetItems() const;
    // -1 is no choice; a value that is no index is taken as -1. Never notifies.
    void SetSelected(int index);
    [[nodiscard]] int GetSelected() const;
    void SetEnabled(bool value);
    void SetStyle(const std::string& css);
    [[nodiscard]] bool IsOpen() const;

    // The user chose another item.
    template <class T>
    void OnSelectionChanged(T* obj, void (T::*fn)(int)) {
        onSelectionChanged = [obj, fn](int index) { (obj->*fn)(index); };
    }

    std::function<void(int)> onSelectionChanged;

  private:
    void Open();
    void Close();
    void CloseIfLost();
    // Takes an item by the user's hand, with the list closed; calls onSelectionChanged last.
    void Choose(int index);
    void Highlight(int index, bool reveal);
    void OnMouse(Event& ev);
    void OnMouseOpen(Event& ev);
    void OnKey(Event& ev);
    void OnLetter(const std::string& utf8);

    // Where the open list stands, and its part with the items.
    [[nodiscard]] Rect ListRect() const;
    [[nodiscard]] Rect ItemsRect() const;
    // Pixels for the text of the box, and of an item of its list.
    [[nodiscard]] int TextRoom() const;
    [[nodiscard]] int ItemTextRoom() const;
    [[nodiscard]] int ItemAt(const Point& pt) const;
    void Arrange();
    void DrawList(CCanvas& canvas, const FieldLook& look);

    std::vector<std::string> items_;
    CStyleSheet style_;
    int selected_ = -1;
    bool open_ = false;
    bool hovered_ = false;
    int highlighted_ = -1;
    int listWidth_ = 0;
    std::unique_ptr<ScrollBar> scroll_;
};

}  // namespace Lx
