// Keys of Qt as the toolkit knows them.
#pragma once

#include <QKeyEvent>
#include <QString>
#include <string>

#include "ui/LxTypes.h"

namespace Lx {

[[nodiscard]] uint32_t ModifiersOf(Qt::KeyboardModifiers modifiers);
[[nodiscard]] KeyCode KeyOf(int key);
[[nodiscard]] EditCommand CommandOf(const QKeyEvent& e);
// What the key typed: empty for shortcuts and for control characters.
[[nodiscard]] QString TypedBy(const QKeyEvent& e);
// 'A' to 'Z', '+', '-' or '0' when it was pressed with Control alone or with Shift too; 0 otherwise. The key of '=' is
// that of '+' on many keyboards, and counts as it.
[[nodiscard]] uint16_t ShortcutOf(const QKeyEvent& e);
// The menu key, or Shift+F10.
[[nodiscard]] bool IsMenuKey(const QKeyEvent& e);
// A Char for one character 32 to 126, a Text for all else.
[[nodiscard]] Event TypedEvent(const QString& text, uint32_t modifiers);

}  // namespace Lx
