#include "ui/viewer/LxSidePane.h"

namespace Lx {

struct CSidePane::Inside {};

void CSidePane::OnPaint(CCanvas*) {}

void CSidePane::OnEvent(Event&) {}

AccessibleInfo CSidePane::Accessibility() const {
    return {};
}

bool CSidePane::DoAccessibleAction(AccessibleAction, const std::string&, int) {
    return {};
}

std::string CSidePane::ToolTip(const Point&) const {
    return {};
}

void CSidePane::Show(Tab) {}

CSidePane::Tab CSidePane::Shown() const {
    return {};
}

void CSidePane::Rebuild() {}

void CSidePane::Follow(int) {}

CSidePane::CSidePane(CDocView*) {}
CSidePane::~CSidePane() = default;

}  // namespace Lx
