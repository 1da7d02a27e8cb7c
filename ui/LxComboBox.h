// One choice of a fixed list that drops down over the controls below, or above when there is no room.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ui/LxControl.h"

namespace Lx {

class CComboBox : public CControl {
  public:
    CComboBox() = default;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] bool IsOverlayPaint() const override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
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
};

}  // namespace Lx
