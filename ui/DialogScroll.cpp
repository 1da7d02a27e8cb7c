#include "ui/DialogScroll.h"

#include <algorithm>

#include "ui/LxButton.h"
#include "ui/LxDialog.h"

namespace Lx {

namespace {

constexpr int kGap = 8;  // above the row of buttons, and around what is brought into sight

Rect Moved(const Rect& rect, const Point& by) {
    return {rect.x + by.x, rect.y + by.y, rect.w, rect.h};
}

}  // namespace

void DialogScroll::Begin(const Size& made) {
    made_ = made;
    line_ = left_ = 0;
    bar_ = ScrollBar();
    placed_.clear();
}

Size DialogScroll::Client() const {
    return {dialog_.rect.w, dialog_.rect.h};
}

bool DialogScroll::Active() const {
    return made_.cx > dialog_.rect.w || made_.cy > dialog_.rect.h;
}

int DialogScroll::FindLine() const {
    const auto madeOf = [this](const CControl* control) {
        const auto it = placed_.find(control);
        return it == placed_.end() ? control->rect : it->second.made;
    };
    Rect lowest;
    for (const CControl* control : dialog_.controls) {
        const Rect made = madeOf(control);
        const bool lower = made.y + made.h > lowest.y + lowest.h;
        if (control->visible && lower && dynamic_cast<const CButton*>(control) != nullptr) lowest = made;
    }
    const int line = dialog_.footer > 0 ? made_.cy - dialog_.footer : lowest.h > 0 ? lowest.y - kGap : made_.cy;
    return made_.cy - line <= Client().cy / 2 ? line : made_.cy;
}

Rect DialogScroll::View() const {
    return {0, 0, Client().cx, std::max(0, Client().cy - (made_.cy - line_))};
}

Rect DialogScroll::Footer() const {
    const int top = View().h;
    return {0, top, Client().cx, Client().cy - top};
}

Point DialogScroll::Shift(bool below) const {
    return {-left_, below ? Client().cy - made_.cy : -bar_.Position()};
}

void DialogScroll::Arrange() {
    if (!Active()) return End();
    std::erase_if(placed_, [this](const auto& one) {
        return std::find(dialog_.controls.begin(), dialog_.controls.end(), one.first) == dialog_.controls.end();
    });
    for (const CControl* control : dialog_.controls) {
        Placed& placed = placed_[control];
        if (control->rect != placed.shown) placed.made = control->rect;
    }
    line_ = FindLine();
    left_ = std::clamp(left_, 0, std::max(0, made_.cx - Client().cx));
    const Rect view = View();
    bar_.Arrange({view.w - ScrollBar::kWidth, 0, ScrollBar::kWidth, view.h}, line_);
    for (CControl* control : dialog_.controls) {
        Placed& placed = placed_[control];
        control->rect = placed.shown = Moved(placed.made, Shift(IsBelow(placed.made)));
    }
}

void DialogScroll::End() {
    for (CControl* control : dialog_.controls) {
        const auto it = placed_.find(control);
        if (it != placed_.end() && control->rect == it->second.shown) control->rect = it->second.made;
    }
    placed_.clear();
}

Rect DialogScroll::ClipOf(const CControl& control) const {
    const auto it = placed_.find(&control);
    if (it == placed_.end()) return {0, 0, Client().cx, Client().cy};
    return IsBelow(it->second.made) ? Footer() : View();
}

void DialogScroll::ScrollBy(int dx, int dy) {
    left_ += dx;
    bar_.SetPosition(bar_.Position() + dy);
    Arrange();
}

void DialogScroll::Reveal(const CControl& control) {
    Arrange();
    const auto it = placed_.find(&control);
    if (it == placed_.end()) return;
    const Rect& made = it->second.made;
    if (!IsBelow(made)) bar_.Reveal(made.y - kGap, made.h + 2 * kGap);
    const int right = made.x + made.w + kGap - Client().cx;
    left_ = std::min(std::max(left_, right), std::max(0, made.x - kGap));
    Arrange();
}

bool DialogScroll::OnMouse(const Event& ev) {
    if (!bar_.Needed() || !bar_.OnMouse(ev)) return false;
    Arrange();
    return true;
}

}  // namespace Lx
