// The look of the side pane.
#include <algorithm>
#include <cmath>

#include "ui/viewer/SidePaneInside.h"

namespace Lx {

namespace {

constexpr int kMark = 3;  // around the current page's picture

void DrawCentred(CCanvas& canvas, const std::string& text, const Rect& box, ColorRole color, bool bold) {
    const Size size = canvas.MeasureText(text, "system", kPaneFont, bold, false);
    canvas.DrawText(text, {box.x + (box.w - size.cx) / 2, box.y + (box.h - size.cy) / 2}, ThemeColor(color), "system",
                    kPaneFont, bold, false);
}

void DrawAtLeft(CCanvas& canvas, const std::string& text, const Rect& box, ColorRole color) {
    const std::string cut = Shortened(canvas, text, box.w, kPaneFont);
    const Size size = canvas.MeasureText(cut, "system", kPaneFont, false, false);
    canvas.DrawText(cut, {box.x, box.y + (box.h - size.cy) / 2}, ThemeColor(color), "system", kPaneFont, false, false);
}

Rect Grown(const Rect& rect, int by) {
    return {rect.x - by, rect.y - by, rect.w + 2 * by, rect.h + 2 * by};
}

}  // namespace

std::string Shortened(CCanvas& canvas, const std::string& text, int width, int fontSize) {
    const auto fits = [&](const std::string& line) {
        return canvas.MeasureText(line, "system", fontSize, false, false).cx <= width;
    };
    if (fits(text)) return text;
    // Between characters, never within one.
    std::vector<size_t> ends{0};
    for (size_t i = 1; i <= text.size(); ++i)
        if (i == text.size() || (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) ends.push_back(i);
    size_t most = 0, least = ends.size();
    while (most + 1 < least) {
        const size_t middle = (most + least) / 2;
        (fits(text.substr(0, ends[middle]) + "…") ? most : least) = middle;
    }
    return text.substr(0, ends[most]) + "…";
}

void CSidePane::Inside::Paint(CCanvas& canvas, bool focused) {
    if (epoch != Doc().epoch) Renew();
    Arrange();
    canvas.FillRect(pane.rect, ThemeColor(ColorRole::CardGround));
    PaintTabs(canvas, focused);
    {
        const CCanvasState state(canvas);
        canvas.ClipRect(Body());
        PaintMessage(canvas);
        const auto [first, last] = InSight();
        for (int32_t row = first; row <= last; ++row) {
            if (tab == Tab::Thumbnails)
                PaintThumbnail(canvas, row);
            else
                tab == Tab::Outline ? PaintOutline(canvas, row) : PaintAttachment(canvas, row);
        }
        bar.Paint(canvas);
    }
    const Rect edge{pane.rect.x + pane.rect.w - 1, pane.rect.y, 1, pane.rect.h};
    canvas.FillRect(edge, ThemeColor(ColorRole::Hairline));
    if (focused) canvas.DrawRect(pane.rect, ThemeColor(ColorRole::Accent), 1.0F);
    Settle();
}

void CSidePane::Inside::PaintTabs(CCanvas& canvas, bool focused) const {
    constexpr const char* kNames[] = {"Miniaturas", "Índice", "Adjuntos"};
    const Rect all{pane.rect.x, pane.rect.y, pane.rect.w, TabRect(0).h};
    canvas.FillRect(all, ThemeColor(ColorRole::ListHeader));
    canvas.FillRect({all.x, all.y + all.h - 1, all.w, 1}, ThemeColor(ColorRole::Hairline));
    for (int i = 0; i < kTabs; ++i) {
        const Rect box = TabRect(i);
        const bool current = i == static_cast<int>(tab);
        DrawCentred(canvas, Shortened(canvas, kNames[i], box.w, kPaneFont), box,
                    current ? ColorRole::AppText : ColorRole::QuietText, current);
        if (current) canvas.FillRect({box.x + 6, box.y + box.h - 3, box.w - 12, 3}, ThemeColor(ColorRole::Accent));
        if (current && focused && atTabs)
            canvas.DrawRoundRect(Grown(box, -3), 4.0F, ThemeColor(ColorRole::Accent), 1.0F);
    }
}

void CSidePane::Inside::PaintMark(CCanvas& canvas, int32_t row, const Rect& box) const {
    const bool chosen = row == Now().chosen;
    if (!chosen && row != hovered) return;
    canvas.FillRoundRect(box, 4.0F, ThemeColor(chosen ? ColorRole::Selection : ColorRole::Hover));
}

void CSidePane::Inside::PaintThumbnail(CCanvas& canvas, int32_t row) const {
    const Rect cell = RowRect(row);
    const Rect box = PictureBox(row);
    const bool current = row == page;
    PaintMark(canvas, row, {cell.x + kPanePadding, cell.y + 2, cell.w - 2 * kPanePadding, cell.h - 4});
    const double scale = static_cast<double>(canvas.DeviceScale());
    const auto device = [&](int at) { return static_cast<int32_t>(std::lround(at * scale)); };
    const Rect where{device(box.x), device(box.y), device(box.x + box.w) - device(box.x),
                     device(box.y + box.h) - device(box.y)};
    canvas.FillDevice(where, ThemeColor(ColorRole::Paper));
    if (const Tile* const tile = Doc().cache.SmallOf(row, Doc().layout.Setup().turn)) {
        const Pdf::Picture& picture = tile->picture;
        Rect dest = where;
        // As it is, where rounding alone makes the difference.
        if (std::abs(picture.width - where.w) <= 1 && std::abs(picture.height - where.h) <= 1) {
            dest.w = picture.width;
            dest.h = picture.height;
        }
        canvas.DrawPixels(picture.data, picture.width, picture.height, picture.stride,
                          {0, 0, picture.width, picture.height}, dest);
    }
    canvas.DrawRect(Grown(box, current ? kMark : 1), ThemeColor(current ? ColorRole::Accent : ColorRole::PaperBorder),
                    current ? 2.0F : 1.0F);
    const int top = box.y + box.h + kMark;
    DrawCentred(canvas, std::to_string(row + 1), {cell.x, top, cell.w, cell.y + cell.h - top},
                current ? ColorRole::AppText : ColorRole::QuietText, current);
}

void CSidePane::Inside::PaintOutline(CCanvas& canvas, int32_t row) const {
    const int32_t item = shown[static_cast<size_t>(row)];
    const Rect cell = RowRect(row);
    PaintMark(canvas, row, {cell.x + 4, cell.y + 1, cell.w - 8, cell.h - 2});
    const int x =
        cell.x + kPanePadding + kPaneIndent * std::clamp(outline[static_cast<size_t>(item)].depth, 0, kPaneLevels);
    if (HasChildren(item)) {
        const Point middle{x + kPaneArrow / 2 - 2, cell.y + cell.h / 2};
        const Color color = ThemeColor(ColorRole::QuietText);
        if (folded[static_cast<size_t>(item)]) {
            canvas.DrawLine({middle.x - 2, middle.y - 4}, {middle.x + 2, middle.y}, color, 1.5F);
            canvas.DrawLine({middle.x + 2, middle.y}, {middle.x - 2, middle.y + 4}, color, 1.5F);
        } else {
            canvas.DrawLine({middle.x - 4, middle.y - 2}, {middle.x, middle.y + 2}, color, 1.5F);
            canvas.DrawLine({middle.x, middle.y + 2}, {middle.x + 4, middle.y - 2}, color, 1.5F);
        }
    }
    const int text = x + kPaneArrow;
    DrawAtLeft(canvas, outline[static_cast<size_t>(item)].title,
               {text, cell.y, cell.x + cell.w - kPanePadding - text, cell.h}, ColorRole::AppText);
}

void CSidePane::Inside::PaintAttachment(CCanvas& canvas, int32_t row) const {
    const Pdf::Attachment& file = attachments[static_cast<size_t>(row)];
    const Rect cell = RowRect(row);
    PaintMark(canvas, row, {cell.x + 4, cell.y + 1, cell.w - 8, cell.h - 2});
    const Rect line{cell.x + kPanePadding + 4, cell.y + 4, cell.w - 2 * kPanePadding - 8, (cell.h - 8) / 2};
    DrawAtLeft(canvas, file.name, line, ColorRole::AppText);
    DrawAtLeft(canvas, SizeText(file.bytes), {line.x, line.y + line.h, line.w, line.h}, ColorRole::QuietText);
}

void CSidePane::Inside::PaintMessage(CCanvas& canvas) const {
    const std::string text = Message();
    if (text.empty()) return;
    const Rect body = Body();
    // In two lines where one is too short.
    const size_t middle = text.find(' ', text.size() / 2);
    const bool fits = Shortened(canvas, text, body.w - 2 * kPanePadding, kPaneFont) == text;
    if (fits || middle == std::string::npos)
        return DrawCentred(canvas, Shortened(canvas, text, body.w - 2 * kPanePadding, kPaneFont),
                           {body.x, body.y + 20, body.w, 20}, ColorRole::QuietText, false);
    DrawCentred(canvas, text.substr(0, middle), {body.x, body.y + 20, body.w, 20}, ColorRole::QuietText, false);
    DrawCentred(canvas, text.substr(middle + 1), {body.x, body.y + 40, body.w, 20}, ColorRole::QuietText, false);
}

}  // namespace Lx
