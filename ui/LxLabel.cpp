#include "ui/LxLabel.h"

#include <algorithm>
#include <string_view>

#include "ui/Drawing.h"
#include "ui/LxStyle.h"
#include "ui/LxTheme.h"

namespace Lx {

namespace {

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    for (;;) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line);
        if (end == std::string_view::npos) return lines;
        text.remove_prefix(end + 1);
    }
}

bool IsDark(const Color& color) {
    return color.a > 0 && Luminance(color) < kDarkBelow;
}

}  // namespace

CLabel::CLabel(const std::string& caption) : text(caption) {}

bool CLabel::IsInteractive() const {
    return false;
}

void CLabel::SetText(const std::string& utf8) {
    text = utf8;
    Invalidate(nullptr);
}

void CLabel::SetStyle(const std::string& css) {
    const CStyleSheet sheet = CStyleSheet::Parse(css);
    hasTextColor = hasTextColor || sheet.HasProperty("color");
    textColor = sheet.GetColor("color", textColor);
    backColor = sheet.GetColor("background-color", backColor);
    fontFamily = sheet.GetString("font-family", fontFamily);
    fontSize = sheet.GetInt("font-size", fontSize);
    bold = sheet.GetBool("font-weight-bold", bold);
    italic = sheet.GetBool("font-style-italic", italic);
    if (sheet.HasProperty("text-align")) {
        const std::string side = sheet.GetString("text-align", "");
        align = side == "center" ? 1 : side == "right" ? 2 : 0;
    }
    Invalidate(nullptr);
}

void CLabel::SetTextColor(const Color& color) {
    textColor = color;
    hasTextColor = true;
    Invalidate(nullptr);
}

Color CLabel::ResolveTextColor() const {
    if (hasTextColor) return textColor;
    const Color behind = backColor.a > 0 ? backColor : BackdropOf(this);
    return ThemeColor(IsDark(behind) ? ColorRole::LabelOnDark : ColorRole::LabelOnLight);
}

AccessibleInfo CLabel::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::Label;
    info.name = text;
    return info;
}

std::string CLabel::ToolTip(const Point& /*pt*/) const {
    CCanvas* canvas = MeasuringCanvas();
    if (canvas == nullptr || text.empty()) return {};
    const Block block = Lay(*canvas);
    const bool whole = block.lines == SplitLines(text) && block.Height() <= rect.h;
    return whole ? std::string() : text;
}

CLabel::Block CLabel::Lay(CCanvas& canvas) const {
    FieldLook look;
    look.family = fontFamily;
    look.fontSize = fontSize;
    look.bold = bold;
    look.italic = italic;
    Block block;
    for (const std::string& line : SplitLines(text)) {
        const Size box = line.empty() ? Size{} : Measure(canvas, line, look);
        const bool fits = box.cx <= rect.w;
        block.lines.push_back(fits ? line : Elide(canvas, line, rect.w, look));
        block.widths.push_back(fits ? box.cx : Measure(canvas, block.lines.back(), look).cx);
        block.lineHeight = std::max(block.lineHeight, box.cy);
    }
    if (block.lineHeight < 1) block.lineHeight = fontSize;
    return block;
}

void CLabel::OnPaint(CCanvas* canvas) {
    if (backColor.a > 0) canvas->FillRect(rect, backColor);
    if (text.empty()) return;
    const auto [lines, widths, height] = Lay(*canvas);
    Color color = ResolveTextColor();
    if (!enabled) color = ThemeColor(IsDark(color) ? ColorRole::DisabledDark : ColorRole::DisabledLight);
    // Too tall a block starts at the top of the label and loses its last lines. In 64 bits: both factors are free.
    int64_t y = rect.y + std::max<int64_t>(0, (rect.h - static_cast<int64_t>(lines.size()) * height) / 2);
    for (size_t i = 0; i < lines.size(); ++i, y += height) {
        const int room = rect.w - widths[i];
        const int indent = align == 1 ? room / 2 : align == 2 ? room : 0;
        if (lines[i].empty()) continue;
        const Point at{rect.x + indent, static_cast<int32_t>(y)};
        canvas->DrawText(lines[i], at, color, fontFamily, fontSize, bold, italic);
    }
}

}  // namespace Lx
