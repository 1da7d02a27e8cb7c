#include "ui/ScrollBar.h"

#include <algorithm>
#include <cstdint>

#include "ui/LxTheme.h"

namespace Lx {

namespace {

constexpr int kShortestThumb = 24;

}  // namespace

void ScrollBar::Arrange(const Rect& track, int content) {
    track_ = track;
    content_ = content;
    SetPosition(position_);
}

void ScrollBar::SetPosition(int position) {
    position_ = std::clamp(position, 0, Last());
}

void ScrollBar::Reveal(int top, int height) {
    if (top + height > position_ + track_.h) SetPosition(top + height - track_.h);
    if (top < position_) SetPosition(top);
}

Rect ScrollBar::Thumb() const {
    if (!Needed() || track_.h < 1) return {};
    const auto share = static_cast<int>(int64_t{track_.h} * track_.h / content_);
    const int height = std::min(track_.h, std::max(kShortestThumb, share));
    const auto down = static_cast<int>(int64_t{position_} * (track_.h - height) / Last());
    return {track_.x + 2, track_.y + down, track_.w - 4, height};
}

bool ScrollBar::OnMouse(const Event& ev) {
    if (ev.type == EventType::MouseUp) {
        const bool mine = dragging_;
        dragging_ = false;
        return mine;
    }
    const Rect thumb = Thumb();
    if (ev.type == EventType::MouseMove) {
        if (!dragging_) return false;
        const int64_t way = track_.h - thumb.h;
        if (way > 0) SetPosition(static_cast<int>((int64_t{ev.pt.y} - grab_ - track_.y) * Last() / way));
        return true;
    }
    const bool press = ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick;
    if (!press || !Needed() || !track_.Contains(ev.pt)) return false;
    if (ev.pt.y >= thumb.y && ev.pt.y < thumb.y + thumb.h) {
        dragging_ = true;
        grab_ = ev.pt.y - thumb.y;
    } else {
        const int page = std::max(1, track_.h * 4 / 5);
        SetPosition(position_ + (ev.pt.y < thumb.y ? -page : page));
    }
    return true;
}

void ScrollBar::Paint(CCanvas& canvas) const {
    if (!Needed()) return;
    canvas.FillRoundRect(track_, 6.0F, ThemeColor(ColorRole::Track));
    canvas.FillRoundRect(Thumb(), 4.0F, ThemeColor(dragging_ ? ColorRole::ThumbDragged : ColorRole::Thumb));
}

}  // namespace Lx
