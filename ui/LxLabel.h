// Static text of one or more lines. It takes no input: clicks reach what lies below.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ui/LxControl.h"

namespace Lx {

class CLabel : public CControl {
  public:
    explicit CLabel(const std::string& text = "");

    void OnPaint(CCanvas* canvas) override;
    [[nodiscard]] bool IsInteractive() const override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;

    void SetText(const std::string& utf8);
    // Takes what the sheet declares of color, background-color, font-*, text-align; the rest stays.
    void SetStyle(const std::string& css);
    void SetTextColor(const Color& color);
    // The explicit colour, else a light or a dark one that reads on the background.
    [[nodiscard]] Color ResolveTextColor() const;

    std::string text;  // lines end with \n or \r\n
    std::string fontFamily = "system";
    int fontSize = 13;
    bool bold = false;
    bool italic = false;
    Color textColor;
    bool hasTextColor = false;
    Color backColor;  // nothing is filled while its alpha is 0
    int align = 0;    // 0 left, 1 centre, 2 right

  private:
    // The lines as they are drawn: one that doesn't fit ends in an ellipsis.
    struct Block {
        std::vector<std::string> lines;
        std::vector<int> widths;
        int lineHeight = 0;
        [[nodiscard]] int64_t Height() const { return static_cast<int64_t>(lines.size()) * lineHeight; }
    };
    [[nodiscard]] Block Lay(CCanvas& canvas) const;
};

}  // namespace Lx
