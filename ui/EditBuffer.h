// The text of an edit with its caret, selection and history: all of an edit but its look. Positions are byte offsets
// that stand between characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Lx {

// Overwrites all that the string holds in memory, in a way that the compiler may not leave out, and empties it.
void WipeString(std::string& text);

class EditBuffer {
  public:
    // More than anyone types; backends shape no longer lines, and a pasted book must not stop the program.
    static constexpr int kLongest = 8191;

    EditBuffer() = default;
    ~EditBuffer();
    EditBuffer(const EditBuffer&) = delete;
    EditBuffer& operator=(const EditBuffer&) = delete;

    [[nodiscard]] const std::string& Text() const { return text_; }
    [[nodiscard]] size_t Caret() const { return caret_; }
    [[nodiscard]] size_t SelectionStart() const { return caret_ < anchor_ ? caret_ : anchor_; }
    [[nodiscard]] size_t SelectionEnd() const { return caret_ < anchor_ ? anchor_ : caret_; }
    [[nodiscard]] bool HasSelection() const { return caret_ != anchor_; }
    [[nodiscard]] std::string Selected() const;
    [[nodiscard]] bool Masked() const { return masked_; }
    [[nodiscard]] int MaxLength() const { return maxLength_; }

    // Forgets the history; the caret goes to the end.
    void SetText(std::string_view raw);
    // A masked text has no history, and what it held in memory is overwritten wherever it gives memory up.
    void SetMasked(bool value);
    void SetMaxLength(int value);
    void Wipe();

    void SetCaret(size_t pos, bool extend);
    void Select(size_t anchor, size_t caret);
    void SelectAll() { Select(0, text_.size()); }
    // Where the caret goes from here; a masked text is one word.
    [[nodiscard]] size_t Left(bool word) const;
    [[nodiscard]] size_t Right(bool word) const;

    // These take the place of the selection, when there is one, and tell whether anything changed.
    bool Type(std::string_view raw);
    bool Paste(std::string_view raw);
    bool ReplaceAll(std::string_view raw);
    bool EraseLeft(bool word);
    bool EraseRight(bool word);
    bool EraseSelection();
    bool Undo();
    bool Redo();
    // What is typed from here on is undone by itself.
    void EndGroup() { last_ = Change::None; }

  private:
    enum class Change { None, Typing, Left, Right, Other };
    struct State {
        std::string text;
        size_t caret = 0, anchor = 0;
    };

    void Remember(Change change);
    bool Insert(std::string_view raw, Change change);
    bool Erase(size_t from, size_t to, Change change);
    void Replace(size_t pos, size_t size, std::string_view by);
    void Reserve(size_t size);
    bool Restore(std::vector<State>& from, std::vector<State>& to);
    void Forget();

    std::string text_;
    size_t caret_ = 0, anchor_ = 0;
    int maxLength_ = 0;
    bool masked_ = false;
    Change last_ = Change::None;
    std::vector<State> undo_, redo_;
};

}  // namespace Lx
