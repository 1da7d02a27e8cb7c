#include "ui/LxEdit.h"

#include <algorithm>
#include <utility>

#include "ui/Drawing.h"
#include "ui/EditBuffer.h"
#include "ui/LxApp.h"
#include "ui/LxTheme.h"
#include "ui/Utf8.h"

namespace Lx {

namespace {

constexpr int kPadding = 9;
constexpr int kCaretWidth = 1;
constexpr int kDot = 6;         // diameter of a masked character
constexpr int kDotAdvance = 9;  // from one to the next
constexpr unsigned kAutoscrollMs = 60;

constexpr struct {
    EditCommand command;
    const char* text;
    const char* shortcut;
} kMenu[] = {
    {EditCommand::Undo, "Deshacer", "Ctrl+Z"},
    {EditCommand::None, "", ""},
    {EditCommand::Cut, "Cortar", "Ctrl+X"},
    {EditCommand::Copy, "Copiar", "Ctrl+C"},
    {EditCommand::Paste, "Pegar", "Ctrl+V"},
    {EditCommand::None, "", ""},
    {EditCommand::SelectAll, "Seleccionar todo", "Ctrl+A"},
};

struct SecretCopy {
    SecretCopy(const std::string& of, bool isSecret) : text(of), secret(isSecret) {}
    ~SecretCopy() {
        if (secret) WipeString(text);
    }
    SecretCopy(const SecretCopy&) = delete;
    SecretCopy& operator=(const SecretCopy&) = delete;

    std::string text;
    bool secret;
};

}  // namespace

CEdit::CEdit(const std::string& text) : buffer_(std::make_unique<EditBuffer>()), alive_(std::make_shared<bool>(true)) {
    buffer_->SetText(text);
}

CEdit::~CEdit() = default;

void CEdit::OnEvent(Event& ev) {
    if (!enabled && ev.type != EventType::KillFocus) return;
    switch (ev.type) {
        case EventType::MouseMove:
            return OnMove(ev);
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:
            return OnPress(ev);
        case EventType::MouseUp:
            ev.handled = dragging_;
            dragging_ = false;
            if (ev.button != kRightButton || !rect.Contains(ev.pt)) return;
            [[fallthrough]];
        case EventType::ContextMenu:
            return OnMenu(ev);
        case EventType::KeyDown:
            return OnKey(ev);
        case EventType::Char:
        case EventType::Text:
            return OnTyped(ev);
        case EventType::Command:
            return OnCommand(ev);
        case EventType::SetFocus:
        case EventType::KillFocus:
            return OnFocusEvent(ev);
        default:
            return;
    }
}

// A press that brings the focus comes after the event and puts the caret where it points. A secret is not selected:
// nobody would see that the next key replaces it.
void CEdit::OnFocusEvent(Event& ev) {
    ev.handled = true;
    caretVisible = true;
    clicks_ = 0;
    dragging_ = false;
    buffer_->EndGroup();
    if (ev.type == EventType::SetFocus) {
        const size_t end = buffer_->Text().size();
        buffer_->Select(buffer_->Masked() ? end : 0, end);
        ShowCaret();
    }
    Invalidate(&rect);
}

void CEdit::OnPress(Event& ev) {
    if (ev.button != kLeftButton || !rect.Contains(ev.pt)) return;
    ev.handled = true;
    clicks_ = ev.type == EventType::MouseDown ? 1 : std::max(clicks_, 1) + 1;
    dragging_ = clicks_ == 1;
    const size_t pos = PositionAt(ev.pt.x);
    if (clicks_ == 1) {
        dragPoint_ = ev.pt;
        return MoveCaret(pos, (ev.modifiers & kShift) != 0);
    }
    const std::string& text = buffer_->Text();
    const size_t inside = pos < text.size() ? pos : Utf8::Previous(text, pos);
    const bool all = clicks_ > 2 || buffer_->Masked();
    const size_t end = all ? text.size() : Utf8::RunEnd(text, inside);
    buffer_->Select(all ? 0 : Utf8::RunStart(text, end), end);
    Invalidate(&rect);
}

void CEdit::OnMove(Event& ev) {
    const bool inside = rect.Contains(ev.pt);
    if (inside != hovered_) {
        hovered_ = inside;
        Invalidate(&rect);
    }
    ev.handled = inside || dragging_;
    if (!dragging_) return;
    dragPoint_ = ev.pt;
    MoveCaret(PositionAt(ev.pt.x), true);
    ScrollWhileOutside();
}

void CEdit::ScrollWhileOutside() {
    const Rect box = TextRect();
    const bool outside = dragPoint_.x < box.x || dragPoint_.x >= box.x + box.w;
    if (!outside || !dragging_ || scrollPending_ || LxApp::s_pApp == nullptr) return;
    if (LxApp::s_pApp->backend == nullptr) return;
    scrollPending_ = true;
    LxApp::s_pApp->backend->CallLater(kAutoscrollMs, [this, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.expired()) return;
        scrollPending_ = false;
        if (!dragging_) return;
        MoveCaret(PositionAt(dragPoint_.x), true);
        ScrollWhileOutside();
    });
}

void CEdit::MoveCaret(size_t pos, bool extend) {
    buffer_->SetCaret(pos, extend);
    caretVisible = true;
    ShowCaret();
    Invalidate(&rect);
}

void CEdit::OnKey(Event& ev) {
    if ((ev.modifiers & (kOption | kCommand)) != 0) return;
    const bool word = (ev.modifiers & kControl) != 0;
    const bool extend = (ev.modifiers & kShift) != 0;
    const bool collapse = buffer_->HasSelection() && !extend && !word;
    const auto key = static_cast<KeyCode>(ev.key);
    ev.handled = true;
    switch (key) {
        case KeyCode::Left:
            return MoveCaret(collapse ? buffer_->SelectionStart() : buffer_->Left(word), extend);
        case KeyCode::Right:
            return MoveCaret(collapse ? buffer_->SelectionEnd() : buffer_->Right(word), extend);
        case KeyCode::Home:
            return MoveCaret(0, extend);
        case KeyCode::End:
            return MoveCaret(buffer_->Text().size(), extend);
        case KeyCode::Up:
        case KeyCode::Down:
            return;
        case KeyCode::Backspace:
            return Edited(buffer_->EraseLeft(word));
        case KeyCode::Delete:
            return Edited(buffer_->EraseRight(word));
        case KeyCode::Enter:
            ev.handled = static_cast<bool>(onEnter);
            return Notify(onEnter);
        default:
            ev.handled = false;
    }
}

void CEdit::OnTyped(Event& ev) {
    const uint32_t held = ev.modifiers & (kControl | kOption | kCommand);
    // Control and Alt together are the third level of some keyboards.
    if (held != 0 && held != (kControl | kOption)) return;
    ev.handled = true;
    const char code = static_cast<char>(ev.key);
    const bool changed = buffer_->Type(ev.type == EventType::Char ? std::string_view(&code, 1) : ev.text);
    if (buffer_->Masked()) WipeString(ev.text);
    Edited(changed);
}

// The edit may be gone when the menu is.
void CEdit::OnMenu(Event& ev) {
    ev.handled = true;
    const bool marked = buffer_->HasSelection() && !buffer_->Masked();
    std::vector<MenuItem> items;
    for (const auto& row : kMenu) {
        const bool takes = row.command == EditCommand::Cut || row.command == EditCommand::Copy;
        items.push_back({.text = row.text,
                         .shortcut = row.shortcut,
                         .enabled = !takes || marked,
                         .command = static_cast<int>(row.command)});
    }
    const std::weak_ptr<bool> alive = alive_;
    const int chosen = RunPlatformMenu(WindowOf(this), items, ev.pt);
    if (chosen < 1 || alive.expired()) return;
    CAppBackend& desktop = *LxApp::s_pApp->backend;
    Event command;
    command.type = EventType::Command;
    command.command = static_cast<EditCommand>(chosen);
    if (command.command == EditCommand::Paste) command.text = desktop.Clipboard();
    const bool copies = command.command == EditCommand::Copy || command.command == EditCommand::Cut;
    OnCommand(command);
    if (copies && !command.text.empty()) desktop.SetClipboard(command.text);
}

void CEdit::OnCommand(Event& ev) {
    const bool open = !buffer_->Masked();
    bool changed = false;
    ev.handled = true;
    switch (ev.command) {
        case EditCommand::Copy:
        case EditCommand::Cut:
            ev.text = open ? buffer_->Selected() : std::string();
            changed = open && ev.command == EditCommand::Cut && buffer_->EraseSelection();
            break;
        case EditCommand::Paste:
            changed = buffer_->Paste(ev.text);
            if (!open) WipeString(ev.text);
            break;
        case EditCommand::SelectAll:
            buffer_->SelectAll();
            break;
        case EditCommand::Undo:
            changed = buffer_->Undo();
            break;
        case EditCommand::Redo:
            changed = buffer_->Redo();
            break;
        case EditCommand::Delete:
            changed = buffer_->EraseRight(false);
            break;
        default:
            ev.handled = false;
            return;
    }
    Edited(changed);
}

void CEdit::Edited(bool changed) {
    caretVisible = true;
    ShowCaret();
    Invalidate(&rect);
    if (changed) Notify(onChange);
}

// The handler may delete the edit, and with it the text and the handler itself.
void CEdit::Notify(const Notification& slot) const {
    if (!slot) return;
    const Notification handler = slot;
    const SecretCopy copy(buffer_->Text(), buffer_->Masked());
    handler(copy.text);
}

AccessibleInfo CEdit::Accessibility() const {
    AccessibleInfo info;
    info.name = LabelBefore(this);
    (info.name.empty() ? info.name : info.description) = placeholder_;
    info.maxLength = buffer_->MaxLength() > 0 ? buffer_->MaxLength() : -1;
    info.role = buffer_->Masked() ? AccessibleRole::PasswordEdit : AccessibleRole::Edit;
    if (buffer_->Masked()) return info;
    const std::string_view text = buffer_->Text();
    const auto points = [&](size_t pos) { return static_cast<int>(Utf8::Count(text.substr(0, pos))); };
    info.value = text;
    info.caret = points(buffer_->Caret());
    info.selectionStart = points(buffer_->SelectionStart());
    info.selectionEnd = points(buffer_->SelectionEnd());
    return info;
}

bool CEdit::DoAccessibleAction(AccessibleAction action, const std::string& text, int /*index*/) {
    if (!enabled || action != AccessibleAction::SetText) return false;
    Edited(buffer_->ReplaceAll(text));
    return true;
}

bool CEdit::CaretRect(Rect& caret) const {
    CCanvas* canvas = MeasuringCanvas();
    if (!enabled || !HasFocus() || canvas == nullptr) return false;
    const Rect box = TextRect();
    const int height = std::min(Measure(*canvas, "X", Look()).cy, box.h);
    const int x = std::clamp(TextLeft() + WidthUpTo(buffer_->Caret()), box.x, std::max(box.x, box.x + box.w - 1));
    caret = {x, box.y + (box.h - height) / 2, kCaretWidth, height};
    return true;
}

CursorShape CEdit::Cursor() const {
    return enabled ? CursorShape::Text : CursorShape::Arrow;
}

void CEdit::SetText(const std::string& utf8) {
    buffer_->SetText(utf8);
    scroll_ = 0;
    ShowCaret();
    Invalidate(&rect);
}

const std::string& CEdit::GetText() const {
    return buffer_->Text();
}

void CEdit::SetPlaceholder(const std::string& utf8) {
    placeholder_ = Utf8::Clean(utf8);
    Invalidate(&rect);
}

void CEdit::SetMasked(bool value) {
    buffer_->SetMasked(value);
    scroll_ = 0;
    Edited(false);
}

void CEdit::SetMaxLength(int value) {
    buffer_->SetMaxLength(value);
    Edited(false);
}

void CEdit::SetEnabled(bool value) {
    enabled = value;
    hovered_ = dragging_ = false;
    Invalidate(&rect);
}

void CEdit::SetStyle(const std::string& css) {
    style_ = CStyleSheet::Parse(css);
    Invalidate(&rect);
}

void CEdit::SelectAll() {
    buffer_->SelectAll();
    Edited(false);
}

void CEdit::Wipe() {
    buffer_->Wipe();
    scroll_ = 0;
    Edited(false);
}

FieldLook CEdit::Look() const {
    return LookOf(style_, enabled);
}

Rect CEdit::TextRect() const {
    return {rect.x + kPadding, rect.y + 2, std::max(0, rect.w - 2 * kPadding), std::max(0, rect.h - 4)};
}

int CEdit::WidthUpTo(size_t pos) const {
    const std::string_view head = std::string_view(buffer_->Text()).substr(0, pos);
    if (buffer_->Masked()) return static_cast<int>(Utf8::Count(head)) * kDotAdvance;
    CCanvas* canvas = MeasuringCanvas();
    return canvas == nullptr || head.empty() ? 0 : Measure(*canvas, std::string(head), Look()).cx;
}

int CEdit::TextLeft() const {
    const Rect box = TextRect();
    const std::string align = style_.GetString("text-align", "");
    if (align != "center" && align != "right") return box.x - scroll_;
    const int room = std::max(0, box.w - kCaretWidth - WidthUpTo(buffer_->Text().size()));
    return box.x + (align == "center" ? room / 2 : room) - scroll_;
}

size_t CEdit::PositionAt(int x) const {
    const std::string& text = buffer_->Text();
    std::vector<size_t> stops{0};
    while (stops.back() < text.size()) stops.push_back(Utf8::Next(text, stops.back()));
    const int wanted = x - TextLeft();
    size_t left = 0;
    size_t right = stops.size() - 1;
    while (right - left > 1) {
        const size_t middle = (left + right) / 2;
        (WidthUpTo(stops[middle]) <= wanted ? left : right) = middle;
    }
    return 2 * wanted > WidthUpTo(stops[left]) + WidthUpTo(stops[right]) ? stops[right] : stops[left];
}

void CEdit::ShowCaret() {
    const int room = std::max(0, TextRect().w - kCaretWidth);
    const int caret = WidthUpTo(buffer_->Caret());
    const int last = std::max(0, WidthUpTo(buffer_->Text().size()) - room);
    scroll_ = std::min(std::clamp(scroll_, std::max(0, caret - room), caret), std::max(last, caret - room));
}

void CEdit::OnPaint(CCanvas* canvas) {
    ShowCaret();
    const FieldLook look = Look();
    const bool focused = enabled && HasFocus();
    DrawField(*canvas, rect, look, focused, enabled && hovered_);
    const CCanvasState saved(*canvas);
    const Rect box = TextRect();
    canvas->ClipRect({box.x - 1, box.y, box.w + 2, box.h});
    DrawContent(*canvas, look, box);
    Rect caret;
    if (focused && caretVisible && CaretRect(caret)) canvas->FillRect(caret, look.text);
}

void CEdit::DrawContent(CCanvas& canvas, const FieldLook& look, const Rect& box) const {
    const std::string& text = buffer_->Text();
    if (text.empty()) {
        FieldLook hint = look;
        if (enabled) hint.text = ThemeColor(ColorRole::HintText);
        DrawLineOfText(canvas, placeholder_, box, hint);
        return;
    }
    const int left = TextLeft();
    const int height = Measure(canvas, "X", look).cy;
    const int top = box.y + (box.h - height) / 2;
    if (buffer_->HasSelection() && enabled && HasFocus()) {
        const int from = WidthUpTo(buffer_->SelectionStart());
        const int to = WidthUpTo(buffer_->SelectionEnd());
        canvas.FillRect({left + from, top - 1, to - from, height + 2}, ThemeColor(ColorRole::SelectedText));
    }
    if (!buffer_->Masked()) {
        canvas.DrawText(text, {left, top}, look.text, look.family, look.fontSize, look.bold, look.italic);
        return;
    }
    const auto count = static_cast<int>(Utf8::Count(text));
    const int first = std::max(0, (box.x - left) / kDotAdvance - 1);
    for (int i = first; i < count && left + i * kDotAdvance < box.x + box.w; ++i) {
        const int gap = (kDotAdvance - kDot) / 2;
        canvas.FillEllipse({left + i * kDotAdvance + gap, box.y + (box.h - kDot) / 2, kDot, kDot}, look.text);
    }
}

}  // namespace Lx
