#include "ui/Drawing.h"

#include <algorithm>
#include <variant>

#include "ui/LxLabel.h"
#include "ui/LxTheme.h"
#include "ui/LxWindow.h"
#include "ui/Utf8.h"

namespace Lx {

namespace {

constexpr float kFocusWidth = 2.0F;

float Number(const CStyleSheet& sheet, const std::string& key, float def) {
    const StyleValue value = sheet.GetProperty(key, def);
    if (const auto* whole = std::get_if<int32_t>(&value)) return static_cast<float>(*whole);
    const auto* real = std::get_if<float>(&value);
    return real != nullptr ? *real : def;
}

FieldLook ReadLook(const CStyleSheet& sheet, FieldLook look) {
    look.background = sheet.GetColor("background-color", look.background);
    look.text = sheet.GetColor("color", look.text);
    look.border = sheet.GetColor("border-color", look.border);
    look.focus = sheet.GetColor("focus-color", look.focus);
    look.radius = Number(sheet, "border-radius", look.radius);
    look.borderWidth = Number(sheet, "border-width", look.borderWidth);
    look.family = sheet.GetString("font-family", look.family);
    look.fontSize = sheet.GetInt("font-size", look.fontSize);
    look.bold = sheet.GetBool("font-weight-bold", look.bold);
    look.italic = sheet.GetBool("font-style-italic", look.italic);
    look.align = sheet.GetString("text-align", look.align);
    return look;
}

Color Darker(const Color& color, uint8_t by) {
    const auto less = [by](uint8_t part) { return static_cast<uint8_t>(part > by ? part - by : 0); };
    return {less(color.r), less(color.g), less(color.b), color.a};
}

}  // namespace

FieldLook LookOf(const CStyleSheet& own, bool enabled) {
    const CButtonStyle& theme = CStyleManager::Instance().DefaultButtonStyle();
    FieldLook normal = ReadLook(theme.Get(ButtonState::Normal), {});
    normal.background = ThemeColor(ColorRole::Field);
    normal.focus = ThemeColor(ColorRole::Accent);
    normal = ReadLook(own, normal);
    if (enabled) return normal;
    const FieldLook disabled = ReadLook(theme.Get(ButtonState::Disabled), {});
    normal.background = disabled.background;
    normal.text = disabled.text;
    normal.border = disabled.border;
    return normal;
}

void DrawField(CCanvas& canvas, const Rect& rect, const FieldLook& look, bool focused, bool hovered) {
    canvas.FillRoundRect(rect, look.radius, look.background);
    if (focused) {
        canvas.DrawRoundRect(rect, look.radius, look.focus, std::max(kFocusWidth, look.borderWidth));
    } else if (look.borderWidth > 0) {
        canvas.DrawRoundRect(rect, look.radius, hovered ? Darker(look.border, 30) : look.border, look.borderWidth);
    }
}

Size Measure(CCanvas& canvas, const std::string& text, const FieldLook& look) {
    return canvas.MeasureText(text, look.family, look.fontSize, look.bold, look.italic);
}

int DrawLineOfText(CCanvas& canvas, const std::string& text, const Rect& box, const FieldLook& look) {
    const std::string shown = Elide(canvas, text, box.w, look);
    if (shown.empty()) return 0;
    const Size size = Measure(canvas, shown, look);
    const Point corner{box.x, box.y + (box.h - size.cy) / 2};
    canvas.DrawText(shown, corner, look.text, look.family, look.fontSize, look.bold, look.italic);
    return size.cx;
}

std::string Elide(CCanvas& canvas, const std::string& text, int width, const FieldLook& look) {
    static const std::string kEllipsis = "…";
    if (width < 1 || text.empty()) return {};
    // Measuring a book to show its first words would cost too much; no field is this wide.
    const std::string head = text.substr(0, Utf8::Bytes(text, 1000));
    if (Measure(canvas, head, look).cx <= width) return head;
    size_t fits = 0;
    size_t tooMany = Utf8::Count(head);
    while (fits + 1 < tooMany) {
        const size_t middle = (fits + tooMany) / 2;
        const bool good = Measure(canvas, head.substr(0, Utf8::Bytes(head, middle)) + kEllipsis, look).cx <= width;
        (good ? fits : tooMany) = middle;
    }
    std::string cut = head.substr(0, Utf8::Bytes(head, fits));
    while (!cut.empty() && cut.back() == ' ') cut.pop_back();
    return cut + kEllipsis;
}

Rect Inset(const Rect& rect, int by) {
    return {rect.x + by, rect.y + by, std::max(0, rect.w - 2 * by), std::max(0, rect.h - 2 * by)};
}

std::string LabelBefore(const CControl* control) {
    const CWindow* window = WindowOf(control);
    if (window == nullptr) return {};
    const auto here = std::find(window->controls.begin(), window->controls.end(), control);
    if (here == window->controls.begin() || here == window->controls.end()) return {};
    const auto* label = dynamic_cast<const CLabel*>(*(here - 1));
    if (label == nullptr) return {};
    std::string name = label->text;
    while (!name.empty() && (name.back() == ':' || name.back() == ' ')) name.pop_back();
    return name;
}

}  // namespace Lx
