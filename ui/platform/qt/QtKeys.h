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
// 'A' to 'Z' when the letter was pressed with Control alone or with Shift too; 0 otherwise.
[[nodiscard]] uint16_t ShortcutOf(const QKeyEvent& e);
// A Char for one character 32 to 126, a Text for all else.
[[nodiscard]] Event TypedEvent(const QString& text, uint32_t modifiers);

}  // namespace Lx
