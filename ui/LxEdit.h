// Single-line edit: caret, selection, clipboard, undo, word moves, horizontal scrolling; masked for secrets.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ui/LxControl.h"
#include "ui/LxStyle.h"

namespace Lx {

class EditBuffer;
struct FieldLook;

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
    // In code points; 0 is no limit but that of every edit, 8191.
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

  private:
    using Notification = std::function<void(const std::string&)>;

    void OnPress(Event& ev);
    void OnMove(Event& ev);
    void OnKey(Event& ev);
    void OnMenu(Event& ev);
    void OnCommand(Event& ev);
    void OnTyped(Event& ev);
    void OnFocusEvent(Event& ev);
    void MoveCaret(size_t pos, bool extend);
    // What follows an edit; calls onChange last.
    void Edited(bool changed);
    void Notify(const Notification& slot) const;
    void DragTo(const Point& pt);
    void ScrollWhileOutside();

    [[nodiscard]] FieldLook Look() const;
    [[nodiscard]] Rect TextRect() const;
    // Pixels of the text up to a byte offset.
    [[nodiscard]] int WidthUpTo(size_t pos) const;
    // Where the text begins when all of it is drawn; left of the field while it is scrolled.
    [[nodiscard]] int TextLeft() const;
    [[nodiscard]] size_t PositionAt(int x) const;
    void ShowCaret();
    void DrawContent(CCanvas& canvas, const FieldLook& look, const Rect& box) const;

    std::unique_ptr<EditBuffer> buffer_;
    std::string placeholder_;
    CStyleSheet style_;
    int scroll_ = 0;
    int clicks_ = 0;
    bool dragging_ = false;
    bool hovered_ = false;
    bool scrollPending_ = false;
    Point dragPoint_;
    std::shared_ptr<bool> alive_;  // what a delayed call looks at before it touches the control
};

}  // namespace Lx
