#include "ui/EditBuffer.h"

#include <algorithm>

#include "ui/Utf8.h"

namespace Lx {

namespace {

constexpr size_t kMaxHistory = 200;
constexpr size_t kSecretRoom = 512;

// A cleaned copy that leaves nothing behind when it is of a secret.
struct Cleaned {
    Cleaned(std::string_view raw, bool isSecret) : text(Utf8::Clean(raw)), secret(isSecret) {}
    ~Cleaned() {
        if (secret) WipeString(text);
    }
    Cleaned(const Cleaned&) = delete;
    Cleaned& operator=(const Cleaned&) = delete;

    std::string text;
    bool secret;
};

}  // namespace

void WipeString(std::string& text) {
    text.resize(text.capacity());
    volatile char* bytes = text.data();
    for (size_t i = 0; i < text.size(); ++i) bytes[i] = 0;
    text.clear();
}

EditBuffer::~EditBuffer() {
    if (masked_) Wipe();
}

std::string EditBuffer::Selected() const {
    return text_.substr(SelectionStart(), SelectionEnd() - SelectionStart());
}

void EditBuffer::SetText(std::string_view raw) {
    const Cleaned clean(raw, masked_);
    const size_t limit = static_cast<size_t>(maxLength_ > 0 ? maxLength_ : kLongest);
    Replace(0, text_.size(), std::string_view(clean.text).substr(0, Utf8::Bytes(clean.text, limit)));
    caret_ = anchor_ = text_.size();
    Forget();
}

void EditBuffer::SetMasked(bool value) {
    if (value) Forget();
    masked_ = value;
    if (masked_) Reserve(kSecretRoom);
}

void EditBuffer::SetMaxLength(int value) {
    maxLength_ = std::clamp(value, 0, kLongest);
    if (maxLength_ > 0 && Utf8::Count(text_) > static_cast<size_t>(maxLength_)) {
        const size_t keep = Utf8::Bytes(text_, static_cast<size_t>(maxLength_));
        Replace(keep, text_.size() - keep, {});
        Select(std::min(anchor_, keep), std::min(caret_, keep));
        Forget();
    }
}

void EditBuffer::Wipe() {
    WipeString(text_);
    caret_ = anchor_ = 0;
    Forget();
}

// The history may hold what was typed before the edit was masked.
void EditBuffer::Forget() {
    for (auto* list : {&undo_, &redo_}) {
        for (State& state : *list) WipeString(state.text);
        list->clear();
    }
    last_ = Change::None;
}

void EditBuffer::SetCaret(size_t pos, bool extend) {
    caret_ = std::min(pos, text_.size());
    if (!extend) anchor_ = caret_;
    EndGroup();
}

void EditBuffer::Select(size_t anchor, size_t caret) {
    anchor_ = std::min(anchor, text_.size());
    caret_ = std::min(caret, text_.size());
    EndGroup();
}

size_t EditBuffer::Left(bool word) const {
    if (!word) return Utf8::Previous(text_, caret_);
    return masked_ ? 0 : Utf8::WordStart(text_, caret_);
}

size_t EditBuffer::Right(bool word) const {
    if (!word) return Utf8::Next(text_, caret_);
    return masked_ ? text_.size() : Utf8::NextWord(text_, caret_);
}

bool EditBuffer::Type(std::string_view raw) {
    const bool wordBegins = caret_ > 0 && text_[caret_ - 1] == ' ' && raw != " ";
    if (wordBegins) EndGroup();
    return Insert(raw, Change::Typing);
}

// What was copied as a whole line ends in a line break that nobody means to paste.
bool EditBuffer::Paste(std::string_view raw) {
    while (!raw.empty() && (raw.back() == '\n' || raw.back() == '\r')) raw.remove_suffix(1);
    return Insert(raw, Change::Other);
}

bool EditBuffer::ReplaceAll(std::string_view raw) {
    SelectAll();
    return raw.empty() ? EraseSelection() : Insert(raw, Change::Other);
}

bool EditBuffer::EraseLeft(bool word) {
    return HasSelection() ? EraseSelection() : Erase(Left(word), caret_, word ? Change::Other : Change::Left);
}

bool EditBuffer::EraseRight(bool word) {
    return HasSelection() ? EraseSelection() : Erase(caret_, Right(word), word ? Change::Other : Change::Right);
}

bool EditBuffer::EraseSelection() {
    return Erase(SelectionStart(), SelectionEnd(), Change::Other);
}

bool EditBuffer::Undo() {
    return Restore(undo_, redo_);
}

bool EditBuffer::Redo() {
    return Restore(redo_, undo_);
}

bool EditBuffer::Restore(std::vector<State>& from, std::vector<State>& to) {
    EndGroup();
    if (from.empty()) return false;
    to.push_back({std::move(text_), caret_, anchor_});
    text_ = std::move(from.back().text);
    caret_ = from.back().caret;
    anchor_ = from.back().anchor;
    from.pop_back();
    return true;
}

void EditBuffer::Remember(Change change) {
    const bool goesOn = change == last_ && change != Change::Other && !HasSelection();
    last_ = change;
    redo_.clear();
    if (goesOn || masked_) return;
    if (undo_.size() >= kMaxHistory) undo_.erase(undo_.begin());
    undo_.push_back({text_, caret_, anchor_});
}

bool EditBuffer::Insert(std::string_view raw, Change change) {
    const Cleaned clean(raw, masked_);
    const size_t limit = static_cast<size_t>(maxLength_ > 0 ? maxLength_ : kLongest);
    const size_t start = SelectionStart();
    const size_t size = SelectionEnd() - start;
    const size_t kept = Utf8::Count(text_) - Utf8::Count(std::string_view(text_).substr(start, size));
    const std::string_view piece =
        std::string_view(clean.text).substr(0, Utf8::Bytes(clean.text, limit - std::min(limit, kept)));
    if (piece.empty()) return false;
    Remember(change);
    Replace(start, size, piece);
    caret_ = anchor_ = start + piece.size();
    return true;
}

bool EditBuffer::Erase(size_t from, size_t to, Change change) {
    if (from >= to) return false;
    Remember(change);
    Replace(from, to - from, {});
    caret_ = anchor_ = from;
    return true;
}

void EditBuffer::Replace(size_t pos, size_t size, std::string_view by) {
    const size_t before = text_.size();
    Reserve(before - size + by.size());
    text_.replace(pos, size, by);
    const size_t after = text_.size();
    if (!masked_ || after >= before) return;
    text_.resize(before);
    volatile char* bytes = text_.data();
    for (size_t i = after; i < before; ++i) bytes[i] = 0;
    text_.resize(after);
}

// The string itself would give its old memory back with the secret in it.
void EditBuffer::Reserve(size_t size) {
    if (!masked_ || text_.capacity() >= size) return;
    const size_t room = std::max(size, 2 * text_.capacity());
    std::string copy;
    copy.reserve(text_.size());
    copy = text_;
    WipeString(text_);
    text_.reserve(room);
    text_ = copy;
    WipeString(copy);
}

}  // namespace Lx
