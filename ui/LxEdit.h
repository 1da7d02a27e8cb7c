// Single-line edit: caret, selection, clipboard, undo, word moves, horizontal scrolling; masked for secrets.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ui/LxControl.h"

namespace Lx {

class CEdit : public CControl {
  public:
    explicit CEdit(const std::string& text = "");
    // A masked edit wipes its text and its undo history.
    ~CEdit() override;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;
    [[nodiscard]] bool CaretRect(Rect& caret) const override;
    [[nodiscard]] CursorShape Cursor() const override;

    // Replaces the text, puts the caret at its end and forgets undo. Line breaks become spaces, what isn't UTF-8 goes.
    void SetText(const std::string& utf8);
    [[nodiscard]] const std::string& GetText() const;
    // Shown in grey while there is no text.
    void SetPlaceholder(const std::string& utf8);
    // Shows a dot per character, and neither copies, cuts nor moves by word.
    void SetMasked(bool value);
    // In code points; 0 is no limit.
    void SetMaxLength(int value);
    void SetEnabled(bool value);
    void SetStyle(const std::string& css);
    void SelectAll();
    // Overwrites the text in memory and empties it.
    void Wipe();

    // Enter was pressed. With a handler the edit consumes the key, without one the window sees it.
    template <class T>
    void OnEnter(T* obj, void (T::*fn)(const std::string&)) {
        onEnter = [obj, fn](const std::string& s) { (obj->*fn)(s); };
    }
    // The text changed by the user's hand (or an assistive tool's).
    template <class T>
    void OnChange(T* obj, void (T::*fn)(const std::string&)) {
        onChange = [obj, fn](const std::string& s) { (obj->*fn)(s); };
    }

    std::function<void(const std::string&)> onEnter;
    std::function<void(const std::string&)> onChange;
    bool caretVisible = true;  // a window may blink the caret with a timer; typing and moving show it again
};

}  // namespace Lx
