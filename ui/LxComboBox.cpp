#include "ui/LxComboBox.h"

#include <algorithm>

#include "ui/Drawing.h"
#include "ui/ListKeys.h"
#include "ui/LxTheme.h"
#include "ui/LxWindow.h"
#include "ui/ScrollBar.h"
#include "ui/Utf8.h"

namespace Lx {

namespace {

constexpr int kPadding = 9;
constexpr int kChevronRoom = 26;
constexpr int kItemHeight = 28;
constexpr int kListPadding = 4;
constexpr int kListGap = 3;
constexpr int kMostItems = 9;   // seen at once
constexpr int kCheckRoom = 24;  // for the mark of the chosen item

void DrawChevron(CCanvas& canvas, const Rect& box, const Color& color, bool up) {
    const Point middle{box.x + box.w - kChevronRoom / 2 - 2, box.y + box.h / 2};
    const int tip = up ? -2 : 3;
    const int ends = up ? 2 : -1;
    canvas.DrawLine({middle.x - 4, middle.y + ends}, {middle.x, middle.y + tip}, color, 1.6F);
    canvas.DrawLine({middle.x, middle.y + tip}, {middle.x + 4, middle.y + ends}, color, 1.6F);
}

void DrawCheck(CCanvas& canvas, const Point& middle, const Color& color) {
    canvas.DrawLine({middle.x - 4, middle.y}, {middle.x - 1, middle.y + 3}, color, 1.8F);
    canvas.DrawLine({middle.x - 1, middle.y + 3}, {middle.x + 5, middle.y - 4}, color, 1.8F);
}

// ASCII letters in either case are the same.
bool BeginsWith(const std::string& text, const std::string& head) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return text.size() >= head.size() &&
           std::equal(head.begin(), head.end(), text.begin(), [&](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace

CComboBox::CComboBox() : scroll_(std::make_unique<ScrollBar>()) {}

CComboBox::~CComboBox() = default;

bool CComboBox::IsOverlayPaint() const {
    return open_;
}

void CComboBox::OnEvent(Event& ev) {
    CloseIfLost();
    if (!enabled) return;
    switch (ev.type) {
        case EventType::MouseMove:
        case EventType::MouseDown:
        case EventType::MouseUp:
        case EventType::MouseDoubleClick:
        case EventType::MouseWheel:
            return open_ ? OnMouseOpen(ev) : OnMouse(ev);
        case EventType::KeyDown:
            return OnKey(ev);
        case EventType::Char:
            if ((ev.modifiers & (kControl | kOption | kCommand)) != 0) return;
            ev.handled = true;
            return OnLetter(std::string(1, static_cast<char>(ev.key)));
        case EventType::Text:
            ev.handled = true;
            return OnLetter(ev.text);
        case EventType::SetFocus:
        case EventType::KillFocus:
            ev.handled = true;
            if (ev.type == EventType::KillFocus) Close();
            return Invalidate(nullptr);
        default:
            return;
    }
}

void CComboBox::OnMouse(Event& ev) {
    const bool inside = rect.Contains(ev.pt);
    if (ev.type == EventType::MouseMove) {
        if (inside != hovered_) Invalidate(&rect);
        hovered_ = ev.handled = inside;
        return;
    }
    const bool press = ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick;
    if (!press || ev.button != kLeftButton || !inside) return;
    ev.handled = true;
    Open();
}

// The window offers every mouse event while the list is open, and what is left over once more to the control hit, which
// may be the box itself: nothing here may happen twice.
void CComboBox::OnMouseOpen(Event& ev) {
    Arrange();
    const bool press = ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick;
    const bool inList = ListRect().Contains(ev.pt);
    const bool inBar = scroll_->OnMouse(ev);
    ev.handled = inList || inBar || press;
    if (inBar) return Invalidate(nullptr);
    if (press && !inList) return Close();
    if (!inList) return;
    if (ev.type == EventType::MouseWheel) scroll_->SetPosition(scroll_->Position() - ev.wheelDelta * 2 * kItemHeight);
    const int item = ItemAt(ev.pt);
    if (ev.type == EventType::MouseUp && item >= 0 && ev.button == kLeftButton) return Choose(item);
    Highlight(item >= 0 ? item : highlighted_, false);
}

void CComboBox::OnKey(Event& ev) {
    if ((ev.modifiers & (kControl | kCommand)) != 0) return;
    const auto key = static_cast<KeyCode>(ev.key);
    const bool alt = (ev.modifiers & kOption) != 0;
    ev.handled = true;
    const bool toggles = key == KeyCode::F4 || (alt && (key == KeyCode::Down || key == KeyCode::Up));
    if (toggles) return open_ ? Close() : Open();
    const int count = static_cast<int>(items_.size());
    const int from = open_ ? highlighted_ : selected_;
    switch (key) {
        case KeyCode::Escape:
            ev.handled = open_;
            return Close();
        case KeyCode::Enter:
            ev.handled = open_;
            if (open_) Choose(highlighted_);
            return;
        default:
            break;
    }
    const int page = std::max(1, ItemsRect().h / kItemHeight - 1);
    const auto to = ItemByKey(key, from, page, count);
    ev.handled = to.has_value();
    if (!to) return;
    if (open_) return Highlight(*to, true);
    Choose(*to);
}

void CComboBox::OnLetter(const std::string& utf8) {
    if (utf8.empty()) return;
    if (utf8 == " ") return open_ ? Choose(highlighted_) : Open();
    const int count = static_cast<int>(items_.size());
    const int from = open_ ? highlighted_ : selected_;
    for (int step = 1; step <= count; ++step) {
        const int index = (from + step) % count;
        if (!BeginsWith(items_[static_cast<size_t>(index)], utf8)) continue;
        if (open_) return Highlight(index, true);
        return Choose(index);
    }
}

void CComboBox::Open() {
    CWindow* window = WindowOf(this);
    if (open_ || items_.empty() || window == nullptr) return;
    CCanvas* canvas = MeasuringCanvas();
    const FieldLook look = LookOf(style_, true);
    int widest = 0;
    for (const std::string& item : items_)
        widest = std::max(widest, canvas == nullptr ? 0 : Measure(*canvas, item, look).cx);
    listWidth_ = std::max(rect.w, widest + 2 * (kListPadding + kPadding) + kCheckRoom + ScrollBar::kWidth);
    open_ = true;
    highlighted_ = selected_;
    window->SetOverlayControl(this);
    Arrange();
    Highlight(std::max(0, selected_), true);
}

void CComboBox::Close() {
    if (!open_) return;
    open_ = hovered_ = false;
    scroll_->StopDragging();
    CWindow* window = WindowOf(this);
    if (window != nullptr && window->overlay == this) window->SetOverlayControl(nullptr);
    Invalidate(nullptr);
}

// Flags are public and the window has one overlay: the list may have lost its ground since the last call.
void CComboBox::CloseIfLost() {
    const CWindow* window = WindowOf(this);
    if (!enabled || !visible || window == nullptr || window->overlay != this) Close();
}

void CComboBox::Choose(int index) {
    Close();
    if (index < 0 || index == selected_) return;
    selected_ = index;
    Invalidate(nullptr);
    if (!onSelectionChanged) return;
    const auto handler = onSelectionChanged;
    handler(index);
}

void CComboBox::Highlight(int index, bool reveal) {
    highlighted_ = index;
    Arrange();
    if (reveal) scroll_->Reveal(index * kItemHeight, kItemHeight);
    Invalidate(nullptr);
}

Rect CComboBox::ListRect() const {
    const CWindow* window = WindowOf(this);
    const Size client = window == nullptr ? Size{} : Size{window->rect.w, window->rect.h};
    const int most = std::min(static_cast<int>(items_.size()), kMostItems) * kItemHeight + 2 * kListPadding;
    const int below = client.cy < 1 ? most : client.cy - (rect.y + rect.h) - kListGap;
    const int above = rect.y - kListGap;
    const bool up = below < most && above > below;
    // Whole items only, and one at least.
    const int room = std::max(kItemHeight, std::min(most, up ? above : below) - 2 * kListPadding);
    const int height = room / kItemHeight * kItemHeight + 2 * kListPadding;
    const int width = client.cx < 1 ? listWidth_ : std::max(rect.w, std::min(listWidth_, client.cx - 4));
    const int x = client.cx < 1 ? rect.x : std::max(0, std::min(rect.x, client.cx - width - 2));
    return {x, up ? rect.y - kListGap - height : rect.y + rect.h + kListGap, width, height};
}

Rect CComboBox::ItemsRect() const {
    return Inset(ListRect(), kListPadding);
}

void CComboBox::Arrange() {
    const Rect items = ItemsRect();
    scroll_->Arrange({items.x + items.w - ScrollBar::kWidth, items.y, ScrollBar::kWidth, items.h},
                     static_cast<int>(items_.size()) * kItemHeight);
}

int CComboBox::ItemAt(const Point& pt) const {
    const Rect items = ItemsRect();
    if (!items.Contains(pt)) return -1;
    const int index = (pt.y - items.y + scroll_->Position()) / kItemHeight;
    return index < static_cast<int>(items_.size()) ? index : -1;
}

void CComboBox::OnPaint(CCanvas* canvas) {
    CloseIfLost();
    const FieldLook look = LookOf(style_, enabled);
    DrawField(*canvas, rect, look, enabled && (open_ || HasFocus()), enabled && hovered_);
    const Rect box{rect.x + kPadding, rect.y, TextRoom(), rect.h};
    if (selected_ >= 0) DrawLineOfText(*canvas, items_[static_cast<size_t>(selected_)], box, look);
    DrawChevron(*canvas, rect, enabled ? ThemeColor(ColorRole::QuietText) : look.text, open_);
    if (open_) DrawList(*canvas, look);
}

void CComboBox::DrawList(CCanvas& canvas, const FieldLook& look) {
    Arrange();
    const Rect list = ListRect();
    for (int spread = 1; spread <= 4; ++spread) {
        const Rect shade{list.x - spread, list.y - spread + 2, list.w + 2 * spread, list.h + 2 * spread};
        canvas.FillRoundRect(shade, look.radius + static_cast<float>(spread), ThemeColor(ColorRole::PopupShadow));
    }
    canvas.FillRoundRect(list, look.radius, look.background);
    canvas.DrawRoundRect(list, look.radius, ThemeColor(ColorRole::PopupBorder), 1);
    const CCanvasState saved(canvas);
    const Rect items = ItemsRect();
    canvas.ClipRect(items);
    const int bar = scroll_->Needed() ? ScrollBar::kWidth + 2 : 0;
    for (int i = scroll_->Position() / kItemHeight; i < static_cast<int>(items_.size()); ++i) {
        const Rect row{items.x, items.y + i * kItemHeight - scroll_->Position(), items.w - bar, kItemHeight};
        if (row.y >= items.y + items.h) break;
        if (i == highlighted_) canvas.FillRoundRect(row, 4.0F, ThemeColor(ColorRole::Selection));
        const Rect text{row.x + kPadding - kListPadding, row.y, ItemTextRoom(), row.h};
        DrawLineOfText(canvas, items_[static_cast<size_t>(i)], text, look);
        if (i == selected_) DrawCheck(canvas, {row.x + row.w - kCheckRoom / 2, row.y + row.h / 2}, look.focus);
    }
    scroll_->Paint(canvas);
}

int CComboBox::TextRoom() const {
    return std::max(0, rect.w - kPadding - kChevronRoom);
}

int CComboBox::ItemTextRoom() const {
    const int bar = scroll_->Needed() ? ScrollBar::kWidth + 2 : 0;
    return ItemsRect().w - bar - kPadding - kCheckRoom;
}

std::string CComboBox::ToolTip(const Point& pt) const {
    CCanvas* canvas = MeasuringCanvas();
    const int item = open_ ? ItemAt(pt) : selected_;
    if (canvas == nullptr || item < 0) return {};
    const std::string& text = items_[static_cast<size_t>(item)];
    const bool fits = Measure(*canvas, text, LookOf(style_, enabled)).cx <= (open_ ? ItemTextRoom() : TextRoom());
    return fits ? std::string() : text;
}

AccessibleInfo CComboBox::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::ComboBox;
    info.name = LabelBefore(this);
    info.expanded = open_;
    if (selected_ >= 0) info.value = items_[static_cast<size_t>(selected_)];
    for (size_t i = 0; i < items_.size(); ++i) info.items.push_back({items_[i], static_cast<int>(i) == selected_});
    return info;
}

bool CComboBox::DoAccessibleAction(AccessibleAction action, const std::string& /*text*/, int index) {
    if (!enabled) return false;
    if (action == AccessibleAction::Press) {
        open_ ? Close() : Open();
        return true;
    }
    if (action != AccessibleAction::SelectItem || index < 0 || index >= static_cast<int>(items_.size())) return false;
    Choose(index);
    return true;
}

void CComboBox::SetItems(const std::vector<std::string>& items) {
    Close();
    items_.clear();
    for (const std::string& item : items) items_.push_back(Utf8::Clean(item));
    selected_ = -1;
    Invalidate(nullptr);
}

const std::vector<std::string>& CComboBox::GetItems() const {
    return items_;
}

void CComboBox::SetSelected(int index) {
    selected_ = index >= 0 && index < static_cast<int>(items_.size()) ? index : -1;
    if (open_) highlighted_ = selected_;
    Invalidate(nullptr);
}

int CComboBox::GetSelected() const {
    return selected_;
}

void CComboBox::SetEnabled(bool value) {
    enabled = value;
    hovered_ = false;
    if (!enabled) Close();
    Invalidate(nullptr);
}

void CComboBox::SetStyle(const std::string& css) {
    style_ = CStyleSheet::Parse(css);
    Invalidate(nullptr);
}

bool CComboBox::IsOpen() const {
    return open_;
}

}  // namespace Lx
