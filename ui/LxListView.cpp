#include "ui/LxListView.h"

#include <algorithm>

#include "ui/Drawing.h"
#include "ui/ListKeys.h"
#include "ui/LxTheme.h"
#include "ui/ScrollBar.h"
#include "ui/Utf8.h"

namespace Lx {

namespace {

constexpr int kFrame = 5;  // from the border to what it holds
constexpr int kHeaderHeight = 30;
constexpr int kRowHeight = 30;
constexpr int kRowPadding = 9;
constexpr int kNarrowestColumn = 40;
constexpr int kCardHeight = 66;
constexpr int kCardGap = 6;
constexpr int kCardPadding = 13;
constexpr int kNameHeight = 20;
constexpr int kPieceHeight = 17;
constexpr int kPieceGap = 18;
constexpr int kPillHeight = 20;

FieldLook ListLook(bool enabled) {
    return LookOf(CStyleSheet(), enabled);
}

FieldLook With(FieldLook look, int fontSize, const Color& text, bool bold) {
    look.fontSize = fontSize;
    look.text = text;
    look.bold = bold;
    return look;
}

}  // namespace

struct CListView::Piece {
    std::string caption, value;
    int captionWidth = 0;
    int line = 0;
    int x = 0, width = 0;
};

CListView::CListView() : scroll_(std::make_unique<ScrollBar>()) {}

CListView::~CListView() = default;

void CListView::OnEvent(Event& ev) {
    if (!enabled) return;
    switch (ev.type) {
        case EventType::MouseMove:
        case EventType::MouseUp:
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:
        case EventType::MouseWheel:
            return OnMouse(ev);
        case EventType::KeyDown:
            return OnKey(ev);
        case EventType::SetFocus:
        case EventType::KillFocus:
            ev.handled = true;
            armed_ = -1;
            scroll_->StopDragging();
            return Invalidate(&rect);
        default:
            return;
    }
}

void CListView::OnMouse(Event& ev) {
    Arrange();
    const bool inside = rect.Contains(ev.pt);
    if (ev.button == kLeftButton && scroll_->OnMouse(ev)) {
        ev.handled = true;
        armed_ = -1;
        return Invalidate(&rect);
    }
    if (ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick) return OnPress(ev);
    if (ev.type == EventType::MouseWheel) {
        if (!scroll_->Needed()) return;
        scroll_->SetPosition(scroll_->Position() - ev.wheelDelta * (mode_ == kCards ? Pitch() : 3 * Pitch()));
        Invalidate(&rect);
    }
    ev.handled = inside;
    Hover(ev.pt);
}

void CListView::Hover(const Point& pt) {
    const int item = ItemAt(pt);
    if (item == hovered_) return;
    hovered_ = item;
    Invalidate(&rect);
}

void CListView::OnPress(Event& ev) {
    if (ev.button != kLeftButton || !rect.Contains(ev.pt)) return;
    ev.handled = true;
    const int item = ItemAt(ev.pt);
    const bool again = ev.type == EventType::MouseDoubleClick && item >= 0 && item == armed_;
    // A third press is no second activation.
    armed_ = again ? -1 : item;
    if (item < 0) return;
    if (!again || item != selected_) return Select(item);
    if (!onActivate) return;
    const auto handler = onActivate;
    handler(item);
}

void CListView::OnKey(Event& ev) {
    if ((ev.modifiers & (kControl | kOption | kCommand)) != 0) return;
    Arrange();
    const auto key = static_cast<KeyCode>(ev.key);
    if (key == KeyCode::Enter) {
        if (!onActivate || selected_ < 0) return;
        ev.handled = true;
        const auto handler = onActivate;
        return handler(selected_);
    }
    const auto to = ItemByKey(key, selected_, std::max(1, ViewRect().h / Pitch() - 1), GetCount());
    if (!to) return;
    ev.handled = true;
    armed_ = -1;
    Select(*to);
}

void CListView::Select(int index) {
    Reveal(index);
    Invalidate(&rect);
    if (index == selected_) return;
    selected_ = index;
    if (!onSelectionChanged) return;
    const auto handler = onSelectionChanged;
    handler(index);
}

void CListView::Reveal(int index) {
    Arrange();
    if (index >= 0) scroll_->Reveal(index * Pitch(), ItemRect(index).h);
}

int CListView::HeaderHeight() const {
    return mode_ == kCards || columns_.empty() ? 0 : kHeaderHeight;
}

int CListView::Pitch() const {
    return mode_ == kCards ? kCardHeight + kCardGap : kRowHeight;
}

Rect CListView::ViewRect() const {
    const int header = HeaderHeight();
    return {rect.x + kFrame, rect.y + header + kFrame, std::max(0, rect.w - 2 * kFrame),
            std::max(0, rect.h - header - 2 * kFrame)};
}

void CListView::Arrange() {
    const Rect view = ViewRect();
    const int content = GetCount() * Pitch() - (mode_ == kCards ? kCardGap : 0);
    scroll_->Arrange({view.x + view.w - ScrollBar::kWidth, view.y, ScrollBar::kWidth, view.h}, content);
}

Rect CListView::ItemRect(int index) const {
    const Rect view = ViewRect();
    const int bar = scroll_->Needed() ? ScrollBar::kWidth + 4 : 0;
    const int height = mode_ == kCards ? kCardHeight : kRowHeight;
    return {view.x, view.y + index * Pitch() - scroll_->Position(), std::max(0, view.w - bar), height};
}

int CListView::ItemAt(const Point& pt) const {
    const Rect view = ViewRect();
    if (!view.Contains(pt)) return -1;
    const int index = (pt.y - view.y + scroll_->Position()) / Pitch();
    return index < GetCount() && ItemRect(index).Contains(pt) ? index : -1;
}

std::vector<int> CListView::ColumnWidths(int total) const {
    int taken = 0;
    int sharing = 0;
    for (const Column& column : columns_) {
        taken += column.width;
        sharing += column.width == 0 ? 1 : 0;
    }
    std::vector<int> widths;
    for (const Column& column : columns_) {
        const int share = sharing > 0 ? std::max(kNarrowestColumn, (total - taken) / sharing) : 0;
        widths.push_back(column.width > 0 ? column.width : share);
    }
    return widths;
}

void CListView::OnPaint(CCanvas* canvas) {
    Arrange();
    cut_.clear();
    FieldLook look = ListLook(enabled);
    if (mode_ == kCards && enabled) look.background = ThemeColor(ColorRole::CardGround);
    const bool focused = enabled && HasFocus();
    canvas->FillRoundRect(rect, look.radius, look.background);
    if (HeaderHeight() > 0) DrawHeader(*canvas, look);
    const Rect view = ViewRect();
    {
        const CCanvasState saved(*canvas);
        canvas->ClipRect(view);
        for (int i = scroll_->Position() / Pitch(); i < GetCount() && ItemRect(i).y < view.y + view.h; ++i)
            mode_ == kCards ? DrawCard(*canvas, i, look) : DrawRow(*canvas, i, look);
        scroll_->Paint(*canvas);
        if (items_.empty()) {
            const FieldLook hint = With(look, look.fontSize, ThemeColor(ColorRole::HintText), false);
            const std::string text = Elide(*canvas, placeholder_, view.w - 2 * kRowPadding, hint);
            const Size size = Measure(*canvas, text, hint);
            DrawLineOfText(*canvas, text, {view.x + (view.w - size.cx) / 2, view.y, size.cx, view.h}, hint);
        }
    }
    canvas->DrawRoundRect(rect, look.radius, focused ? look.focus : look.border, focused ? 2.0F : 1.0F);
}

void CListView::Write(CCanvas& canvas, const std::string& text, const Rect& box, const FieldLook& look) const {
    DrawLineOfText(canvas, text, box, look);
    if (!text.empty() && Measure(canvas, text, look).cx > box.w) cut_.push_back({box, text});
}

std::string CListView::ToolTip(const Point& pt) const {
    const auto hit = std::find_if(cut_.begin(), cut_.end(), [&pt](const Cut& one) { return one.box.Contains(pt); });
    return hit != cut_.end() ? hit->text : std::string();
}

void CListView::DrawHeader(CCanvas& canvas, const FieldLook& look) const {
    const Rect header{rect.x, rect.y, rect.w, kHeaderHeight};
    canvas.FillRoundRect(header, look.radius, ThemeColor(ColorRole::ListHeader));
    canvas.FillRect({header.x, header.y + kHeaderHeight / 2, header.w, kHeaderHeight / 2},
                    ThemeColor(ColorRole::ListHeader));
    const int bottom = header.y + header.h;
    canvas.FillRect({header.x, bottom - 1, header.w, 1}, look.border);
    const Rect row = ItemRect(0);
    const std::vector<int> widths = ColumnWidths(row.w);
    const FieldLook title = With(look, look.fontSize - 1, enabled ? ThemeColor(ColorRole::QuietText) : look.text, true);
    const CCanvasState saved(canvas);
    canvas.ClipRect({row.x, header.y, row.w, header.h});
    int x = row.x;
    for (size_t c = 0; c < columns_.size(); ++c) {
        if (c > 0) canvas.FillRect({x, header.y + 8, 1, header.h - 16}, look.border);
        const int room = std::min(widths[c], row.x + row.w - x) - 2 * kRowPadding;
        Write(canvas, columns_[c].title, {x + kRowPadding, header.y, room, header.h}, title);
        x += widths[c];
    }
}

void CListView::DrawRow(CCanvas& canvas, int index, const FieldLook& look) const {
    const Rect row = ItemRect(index);
    const bool marked = enabled && (index == selected_ || index == hovered_);
    if (marked) {
        canvas.FillRoundRect({row.x, row.y, row.w, row.h - 1}, 4.0F,
                             ThemeColor(index == selected_ ? ColorRole::Selection : ColorRole::Hover));
    }
    canvas.FillRect({row.x, row.y + row.h - 1, row.w, 1}, ThemeColor(ColorRole::Hairline));
    const std::vector<std::string>& values = GetItem(index);
    const FieldLook texts = With(look, look.fontSize, TextOf(index, look.text), look.bold);
    const std::vector<int> widths = ColumnWidths(row.w);
    int x = row.x;
    for (size_t c = 0; c < std::min(columns_.size(), values.size()); ++c) {
        const int room = std::min(widths[c], row.x + row.w - x) - 2 * kRowPadding;
        Write(canvas, values[c], {x + kRowPadding, row.y, room, row.h}, texts);
        x += widths[c];
    }
}

Color CListView::TextOf(int index, const Color& color) const {
    const bool dimmed = enabled && items_[static_cast<size_t>(index)].dimmed;
    return dimmed ? ThemeColor(ColorRole::QuietText) : color;
}

void CListView::DrawCard(CCanvas& canvas, int index, const FieldLook& look) const {
    const Rect card = ItemRect(index);
    const bool selected = index == selected_;
    const bool hovered = enabled && index == hovered_;
    const std::vector<std::string>& values = GetItem(index);
    const Color fill = selected && enabled ? ThemeColor(ColorRole::Selection)
                       : hovered           ? ThemeColor(ColorRole::Hover)
                                           : ListLook(enabled).background;
    canvas.FillRoundRect(card, look.radius, fill);
    const Color border = selected && enabled ? look.focus : hovered ? look.border : ThemeColor(ColorRole::CardBorder);
    canvas.DrawRoundRect(card, look.radius, border, selected && enabled ? 1.5F : 1.0F);
    const Rect box{card.x + kCardPadding, card.y, std::max(0, card.w - 2 * kCardPadding), card.h};
    const Color text = TextOf(index, look.text);
    const FieldLook small = With(look, look.fontSize - 1, text, false);
    const FieldLook caption =
        With(small, small.fontSize, enabled ? ThemeColor(ColorRole::QuietText) : look.text, false);
    const std::vector<Piece> pieces = PiecesOf(canvas, values, box, small);
    const int lines = pieces.empty() ? 0 : pieces.back().line + 1;
    const int top = card.y + (card.h - kNameHeight - lines * kPieceHeight) / 2;
    const int pill = DrawPill(canvas, values, {box.x, top, box.w, kNameHeight}, selected || hovered);
    if (!values.empty()) {
        Write(canvas, values[0], {box.x, top, box.w - pill, kNameHeight}, With(look, look.fontSize, text, true));
    }
    for (const Piece& piece : pieces) {
        const Rect line{piece.x, top + kNameHeight + piece.line * kPieceHeight, piece.width, kPieceHeight};
        DrawLineOfText(canvas, piece.caption, line, caption);
        const Rect value{line.x + piece.captionWidth, line.y, line.w - piece.captionWidth, line.h};
        Write(canvas, piece.value, value, small);
    }
}

// One line when all fits, else two.
std::vector<CListView::Piece> CListView::PiecesOf(CCanvas& canvas, const std::vector<std::string>& values,
                                                  const Rect& box, const FieldLook& look) const {
    std::vector<Piece> pieces;
    const int right = box.x + box.w;
    int x = box.x;
    int line = 0;
    for (size_t c = 1; c < std::min(columns_.size(), values.size()); ++c) {
        if (values[c].empty()) continue;
        Piece piece;
        piece.caption = columns_[c].title.empty() ? std::string() : columns_[c].title + ": ";
        piece.value = values[c];
        piece.captionWidth = piece.caption.empty() ? 0 : Measure(canvas, piece.caption, look).cx;
        const int width = piece.captionWidth + Measure(canvas, piece.value, look).cx;
        if (x > box.x && x + width > right && line == 0) {
            line = 1;
            x = box.x;
        }
        if (x + piece.captionWidth + kNarrowestColumn > right) break;
        piece.line = line;
        piece.x = x;
        piece.width = std::min(width, right - x);
        x += std::max(width + kPieceGap, columns_[c].width);
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

int CListView::DrawPill(CCanvas& canvas, const std::vector<std::string>& values, const Rect& box, bool marked) const {
    std::string text;
    for (size_t c = columns_.size(); c < values.size(); ++c) {
        if (!values[c].empty()) text += (text.empty() ? "" : " · ") + values[c];
    }
    if (text.empty()) return 0;
    const FieldLook theme = ListLook(enabled);
    const FieldLook look =
        With(theme, theme.fontSize - 2, enabled ? ThemeColor(ColorRole::QuietText) : theme.text, false);
    const std::string shown = Elide(canvas, text, box.w / 2, look);
    const int width = Measure(canvas, shown, look).cx + 18;
    const Rect pill{box.x + box.w - width, box.y + (box.h - kPillHeight) / 2, width, kPillHeight};
    canvas.FillRoundRect(pill, kPillHeight / 2.0F, marked && enabled ? theme.background : ThemeColor(ColorRole::Pill));
    DrawLineOfText(canvas, shown, {pill.x + 9, pill.y, pill.w - 18, pill.h}, look);
    if (shown != text) cut_.push_back({pill, text});
    return width + kPieceGap;
}

AccessibleInfo CListView::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::List;
    info.name = LabelBefore(this);
    info.description = items_.empty() ? placeholder_ : std::string();
    for (size_t i = 0; i < items_.size(); ++i) {
        std::string name;
        const std::vector<std::string>& values = items_[i].values;
        for (size_t c = 0; c < values.size(); ++c) {
            if (values[c].empty()) continue;
            const bool titled = c > 0 && c < columns_.size() && !columns_[c].title.empty();
            name += (name.empty() ? "" : ", ") + (titled ? columns_[c].title + ": " : "") + values[c];
        }
        info.items.push_back(
            {std::move(name), static_cast<int>(i) == selected_, items_[i].why, ItemRect(static_cast<int>(i))});
    }
    return info;
}

bool CListView::DoAccessibleAction(AccessibleAction action, const std::string& /*text*/, int index) {
    if (!enabled || action != AccessibleAction::SelectItem || index < 0 || index >= GetCount()) return false;
    Select(index);
    return true;
}

void CListView::AddColumn(const std::string& title, int width) {
    columns_.push_back({Utf8::Clean(title), std::max(0, width)});
    Invalidate(&rect);
}

void CListView::SetColumnWidth(int column, int width) {
    if (column < 0 || column >= static_cast<int>(columns_.size())) return;
    columns_[static_cast<size_t>(column)].width = std::max(0, width);
    Invalidate(&rect);
}

void CListView::SetMode(int mode) {
    mode_ = mode == kCards ? kCards : kRows;
    hovered_ = armed_ = -1;
    Reveal(selected_);
    Invalidate(&rect);
}

int CListView::AddItem(const std::vector<std::string>& values) {
    std::vector<std::string>& item = items_.emplace_back().values;
    for (const std::string& value : values) item.push_back(Utf8::Clean(value));
    Invalidate(&rect);
    return GetCount() - 1;
}

void CListView::DimItem(int index, const std::string& why) {
    if (index < 0 || index >= GetCount()) return;
    Item& item = items_[static_cast<size_t>(index)];
    item.dimmed = true;
    item.why = Utf8::Clean(why);
    Invalidate(&rect);
}

void CListView::Clear() {
    items_.clear();
    selected_ = hovered_ = armed_ = -1;
    Arrange();
    Invalidate(&rect);
}

int CListView::GetCount() const {
    return static_cast<int>(items_.size());
}

const std::vector<std::string>& CListView::GetItem(int index) const {
    static const std::vector<std::string> kNone;
    return index >= 0 && index < GetCount() ? items_[static_cast<size_t>(index)].values : kNone;
}

void CListView::SetPlaceholder(const std::string& utf8) {
    placeholder_ = Utf8::Clean(utf8);
    Invalidate(&rect);
}

void CListView::SetSelected(int index) {
    selected_ = index >= 0 && index < GetCount() ? index : -1;
    Reveal(selected_);
    Invalidate(&rect);
}

int CListView::GetSelected() const {
    return selected_;
}

void CListView::SetEnabled(bool value) {
    enabled = value;
    hovered_ = armed_ = -1;
    scroll_->StopDragging();
    Invalidate(&rect);
}

}  // namespace Lx
