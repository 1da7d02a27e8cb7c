// Geometry, colour and input records of the toolkit. Lengths are client pixels (logical: one of them may be several
// device pixels), with the origin at the top left and y growing downwards.
#pragma once

#include <cstdint>
#include <string>

namespace Lx {

struct Point {
    int32_t x = 0, y = 0;
};

struct Size {
    int32_t cx = 0, cy = 0;
};

struct Rect {
    int32_t x = 0, y = 0, w = 0, h = 0;

    // The right and bottom edges lie outside.
    [[nodiscard]] constexpr bool Contains(const Point& p) const {
        return int64_t{p.x} >= x && p.x < int64_t{x} + w && int64_t{p.y} >= y && p.y < int64_t{y} + h;
    }
    bool operator==(const Rect&) const = default;
};

struct Color {
    uint8_t r = 0, g = 0, b = 0, a = 0;  // a: 255 is opaque

    bool operator==(const Color&) const = default;
};

enum class EventType : uint32_t {
    None = 0,
    MouseMove = 1,  // also on entering, and at (-9999, -9999) on leaving
    MouseDown = 2,
    MouseUp = 3,
    MouseDoubleClick = 4,  // left button, second and further clicks; instead of MouseDown
    MouseWheel = 5,
    KeyDown = 6,
    KeyUp = 7,
    Char = 8,  // codes 32 to 126 only, right after the KeyDown that produced it
    SetFocus = 9,
    KillFocus = 10,
    // Beyond the ten: for the focused control only, no window handler sees them.
    Text = 11,     // text that isn't one character 32 to 126: accents, dead keys, input methods
    Command = 12,  // an edit command, in `command`
    // A letter, '+', '-' or '0' pressed with Control that no control took as an edit command; for the window only
    // (OnShortcut).
    Shortcut = 13,
    // For the control under the pointer only. Where a MouseWheel would come too, it comes when this wasn't handled.
    Scroll = 14,  // by `scroll`, in client pixels; of a wheel, a touchpad or a touch screen
    Zoom = 15,    // by `factor`: pinch
    // The menu key, Shift+F10: for the focused control, then the window (OnContextMenu). Its `pt` is where the menu
    // goes.
    ContextMenu = 16,
};

enum class EditCommand : uint16_t { None, Copy, Cut, Paste, SelectAll, Undo, Redo, Delete };

enum class KeyCode : uint16_t {
    Unknown = 0,
    Backspace = 8,
    Tab = 9,
    Enter = 13,  // of the keypad too
    Escape = 27,
    Delete = 127,
    Up = 256,
    Down = 257,
    Left = 258,
    Right = 259,
    Home = 260,
    End = 261,
    PageUp = 262,
    PageDown = 263,
    F1 = 282,
    F2 = 283,
    F3 = 284,
    F4 = 285,
    F5 = 286,
    F6 = 287,
    F7 = 288,
    F8 = 289,
    F9 = 290,
    F10 = 291,
    F11 = 292,
    F12 = 293,
    Shift = 340,
    Control = 341,
    Alt = 342,
    Command = 343,
};

// Bits of Event::modifiers.
constexpr uint32_t kShift = 1;
constexpr uint32_t kControl = 2;
constexpr uint32_t kOption = 4;      // Alt
constexpr uint32_t kCommand = 8;     // Super
constexpr uint32_t kSpaceHeld = 16;  // of mouse events: the space bar is down

constexpr uint8_t kLeftButton = 0;  // and any button beyond the three
constexpr uint8_t kRightButton = 1;
constexpr uint8_t kMiddleButton = 2;

// Where the pointer is said to be when it has left the window.
constexpr Point kOutside{-9999, -9999};

// One record for all input; what a type does not use is zero.
struct Event {
    EventType type = EventType::None;
    Point pt;                        // mouse events: client coordinates of the window
    uint8_t button = 0;              // MouseDown, MouseUp, MouseDoubleClick
    uint16_t key = 0;                // KeyDown, KeyUp: a KeyCode. Char, Shortcut: the code
    uint32_t modifiers = 0;          // kShift and so on
    int32_t wheelDelta = 0;          // whole notches, never 0; positive away from the user
    bool handled = false;            // set by a control that consumed the event
    float scrollX = 0, scrollY = 0;  // Scroll: positive towards the start of what is scrolled, as `wheelDelta`
    float factor = 1;                // Zoom

    // UTF-8. Text: what was typed. Command Paste: the clipboard's text. Commands Copy and Cut: the control puts the
    // text for the clipboard here and marks the event handled; without text the clipboard stays as it is.
    std::string text;
    EditCommand command = EditCommand::None;  // Command
};

// What a dialog ends with, where it is not closed by its title bar (0).
enum DialogResult : int { kAccepted = 1, kCancelled = 2 };

[[nodiscard]] constexpr bool IsMouseEvent(EventType type) {
    return type >= EventType::MouseMove && type <= EventType::MouseWheel;
}

}  // namespace Lx
