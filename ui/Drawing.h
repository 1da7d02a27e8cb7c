// What the controls with a white field (edit, combo box, list) share in their look.
#pragma once

#include <string>

#include "ui/LxCanvas.h"
#include "ui/LxControl.h"
#include "ui/LxStyle.h"

namespace Lx {

struct FieldLook {
    Color background, text, border, focus;
    float radius = 0;
    float borderWidth = 0;
    std::string family;
    int fontSize = 0;
    bool bold = false, italic = false;
    std::string align;
};

// The theme's look for a field, with what `own` declares in place of it; a disabled field keeps the theme's colours.
[[nodiscard]] FieldLook LookOf(const CStyleSheet& own, bool enabled);
// Background and border; a focused field has a thicker one in the focus colour.
void DrawField(CCanvas& canvas, const Rect& rect, const FieldLook& look, bool focused, bool hovered);

[[nodiscard]] Size Measure(CCanvas& canvas, const std::string& text, const FieldLook& look);
// Draws one line in `box`, in the middle of its height, cut with an ellipsis where it doesn't fit. Gives the width
// drawn.
int DrawLineOfText(CCanvas& canvas, const std::string& text, const Rect& box, const FieldLook& look);
// The text itself, or as much of it as fits in `width` with an ellipsis behind it.
[[nodiscard]] std::string Elide(CCanvas& canvas, const std::string& text, int width, const FieldLook& look);
[[nodiscard]] Rect Inset(const Rect& rect, int by);

// The text of the label that stands right before the control in its window's list, without its colon; or empty.
[[nodiscard]] std::string LabelBefore(const CControl* control);

}  // namespace Lx
