#include "ui/platform/qt/QtKeys.h"

#include <QKeySequence>

namespace Lx {

namespace {

constexpr struct {
    int key;
    KeyCode code;
} kKeys[] = {
    {Qt::Key_Backspace, KeyCode::Backspace},
    {Qt::Key_Tab, KeyCode::Tab},
    {Qt::Key_Backtab, KeyCode::Tab},
    {Qt::Key_Return, KeyCode::Enter},
    {Qt::Key_Enter, KeyCode::Enter},
    {Qt::Key_Escape, KeyCode::Escape},
    {Qt::Key_Delete, KeyCode::Delete},
    {Qt::Key_Up, KeyCode::Up},
    {Qt::Key_Down, KeyCode::Down},
    {Qt::Key_Left, KeyCode::Left},
    {Qt::Key_Right, KeyCode::Right},
    {Qt::Key_Home, KeyCode::Home},
    {Qt::Key_End, KeyCode::End},
    {Qt::Key_PageUp, KeyCode::PageUp},
    {Qt::Key_PageDown, KeyCode::PageDown},
    {Qt::Key_Shift, KeyCode::Shift},
    {Qt::Key_Control, KeyCode::Control},
    {Qt::Key_Alt, KeyCode::Alt},
    {Qt::Key_AltGr, KeyCode::Alt},
    {Qt::Key_Meta, KeyCode::Command},
    {Qt::Key_Super_L, KeyCode::Command},
    {Qt::Key_Super_R, KeyCode::Command},
};

constexpr struct {
    QKeySequence::StandardKey key;
    EditCommand command;
} kCommands[] = {
    {QKeySequence::Copy, EditCommand::Copy},   {QKeySequence::Cut, EditCommand::Cut},
    {QKeySequence::Paste, EditCommand::Paste}, {QKeySequence::SelectAll, EditCommand::SelectAll},
    {QKeySequence::Undo, EditCommand::Undo},   {QKeySequence::Redo, EditCommand::Redo},
};

// Modifiers with which a key types nothing. AltGr types: it is a modifier of its own, whatever else it sets.
bool IsChord(Qt::KeyboardModifiers m) {
    return !(m & Qt::GroupSwitchModifier) && (m & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
}

constexpr struct {
    int key;
    char shortcut;
} kSigns[] = {{Qt::Key_Plus, '+'}, {Qt::Key_Equal, '+'}, {Qt::Key_Minus, '-'}, {Qt::Key_0, '0'}};

bool IsControlAlone(Qt::KeyboardModifiers m) {
    return (m & Qt::ControlModifier) && !(m & (Qt::AltModifier | Qt::MetaModifier | Qt::GroupSwitchModifier));
}

}  // namespace

uint32_t ModifiersOf(Qt::KeyboardModifiers m) {
    return (m & Qt::ShiftModifier ? kShift : 0) | (m & Qt::ControlModifier ? kControl : 0) |
           (m & Qt::AltModifier ? kOption : 0) | (m & Qt::MetaModifier ? kCommand : 0);
}

KeyCode KeyOf(int key) {
    for (const auto& row : kKeys) {
        if (row.key == key) return row.code;
    }
    if (key < Qt::Key_F1 || key > Qt::Key_F12) return KeyCode::Unknown;
    return static_cast<KeyCode>(static_cast<int>(KeyCode::F1) + key - Qt::Key_F1);
}

EditCommand CommandOf(const QKeyEvent& e) {
    if (e.modifiers() & Qt::GroupSwitchModifier) return EditCommand::None;
    for (const auto& row : kCommands) {
        if (e.matches(row.key)) return row.command;
    }
    const bool redo = e.key() == Qt::Key_Y && IsControlAlone(e.modifiers()) && !(e.modifiers() & Qt::ShiftModifier);
    return redo ? EditCommand::Redo : EditCommand::None;
}

QString TypedBy(const QKeyEvent& e) {
    const QString text = e.text();
    if (text.isEmpty() || IsChord(e.modifiers())) return {};
    return text[0].unicode() < 32 || text[0].unicode() == 127 ? QString() : text;
}

uint16_t ShortcutOf(const QKeyEvent& e) {
    if (!IsControlAlone(e.modifiers())) return 0;
    if (e.key() >= Qt::Key_A && e.key() <= Qt::Key_Z) return static_cast<uint16_t>('A' + e.key() - Qt::Key_A);
    for (const auto& row : kSigns) {
        if (row.key == e.key()) return static_cast<uint16_t>(row.shortcut);
    }
    return 0;
}

bool IsMenuKey(const QKeyEvent& e) {
    const Qt::KeyboardModifiers m = e.modifiers() & ~Qt::KeypadModifier;
    return (e.key() == Qt::Key_Menu && m == Qt::NoModifier) || (e.key() == Qt::Key_F10 && m == Qt::ShiftModifier);
}

Event TypedEvent(const QString& text, uint32_t modifiers) {
    Event ev;
    ev.modifiers = modifiers;
    if (text.size() == 1 && text[0].unicode() >= 32 && text[0].unicode() <= 126) {
        ev.type = EventType::Char;
        ev.key = text[0].unicode();
    } else {
        ev.type = EventType::Text;
        ev.text = text.toStdString();
    }
    return ev;
}

}  // namespace Lx
