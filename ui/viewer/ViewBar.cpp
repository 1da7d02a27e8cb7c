#include "ui/viewer/ViewBar.h"

#include <algorithm>
#include <cmath>

#include "ui/LxTheme.h"

namespace Lx {

namespace {

constexpr int kShortestThumb = 24;

}  // namespace

void ViewBar::Arrange(const Rect& track, int64_t content, int64_t seen, int64_t position) {
    track_ = track;
    content_ = content;
    seen_ = seen;
    position_ = std::clamp<int64_t>(position, 0, std::max<int64_t>(0, content - seen));
}

Rect ViewBar::Thumb() const {
    if (!Needed()) return {};
    const int track = Length(track_);
    const double share = static_cast<double>(seen_) / static_cast<double>(content_);
    const int length = std::min(track, std::max(kShortestThumb, static_cast<int>(track * share)));
    const double down = static_cast<double>(position_) / static_cast<double>(content_ - seen_);
    const int at = static_cast<int>(std::lround((track - length) * down));
    if (upright_) return {track_.x + 1, track_.y + at, track_.w - 2, length};
    return {track_.x + at, track_.y + 1, length, track_.h - 2};
}

bool ViewBar::OnMouse(const Event& ev) {
    if (ev.type == EventType::MouseUp) {
        const bool mine = dragging_;
        dragging_ = false;
        return mine;
    }
    const Rect thumb = Thumb();
    const int64_t room = content_ - seen_;
    if (ev.type == EventType::MouseMove) {
        if (!dragging_) return false;
        const double way = Length(track_) - Length(thumb);
        const double at = static_cast<double>(Along(ev.pt)) - grab_ - Start(track_);
        if (way > 0) position_ = std::llround(std::clamp(at / way, 0.0, 1.0) * static_cast<double>(room));
        return true;
    }
    const bool press = ev.type == EventType::MouseDown || ev.type == EventType::MouseDoubleClick;
    if (!press || ev.button != kLeftButton || !Needed() || !track_.Contains(ev.pt)) return false;
    if (thumb.Contains(ev.pt)) {
        dragging_ = true;
        grab_ = Along(ev.pt) - Start(thumb);
        return true;
    }
    const int64_t step = Along(ev.pt) < Start(thumb) ? -seen_ * 4 / 5 : seen_ * 4 / 5;
    position_ = std::clamp<int64_t>(position_ + step, 0, room);
    return true;
}

void ViewBar::Paint(CCanvas& canvas) const {
    if (!Needed()) return;
    canvas.FillRect(track_, ThemeColor(ColorRole::Track));
    canvas.FillRoundRect(Thumb(), 5.0F, ThemeColor(dragging_ ? ColorRole::ThumbDragged : ColorRole::Thumb));
}

}  // namespace Lx
