// What the pointer and the keyboard do to a view.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "ui/LxApp.h"
#include "ui/LxWindow.h"
#include "ui/viewer/DocViewInside.h"

namespace Lx {

namespace {

constexpr double kLine = 40;  // client pixels: an arrow key, a notch of the wheel
constexpr double kZoomPerPixel = 0.0025;
constexpr float kNear = 10;          // client pixels: a press so near to text selects it
constexpr int kClickSlack = 4;       // client pixels that a click may be dragged
constexpr double kSpaceShare = 0.9;  // of the view
constexpr unsigned kCreepMs = 40;
constexpr double kCreepShare = 0.4;  // of how far the pointer is outside

}  // namespace

CDocView::Inside::Spot CDocView::Inside::SpotAt(const Point& pt) const {
    Spot spot;
    if (!Has() || !laidOut.Contains(pt)) return spot;
    const auto [x, y] = InContent(pt);
    const int32_t page = layout.PageAt(y);
    if (Cut(Cut(layout.PageArea(page), Seen()), {x, y, 1, 1}).Empty()) return spot;
    spot.page = page;
    std::tie(spot.x, spot.y) = layout.PointOn(page, x, y);
    if (const std::vector<Pdf::Link>* const links = texts.LinksOf(page)) {
        for (const Pdf::Link& link : *links) {
            const Pdf::Box& box = link.box;
            if (link.target.kind == Pdf::Target::Kind::None) continue;
            if (spot.x >= box.left && spot.x < box.right && spot.y >= box.top && spot.y < box.bottom) spot.link = &link;
        }
    }
    if (const Pdf::PageText* const text = texts.TextOf(page)) {
        const auto [glyph, away] = NearestGlyph(*text, spot.x, spot.y);
        spot.text = glyph >= 0 && away * layout.ZoomOf(page) * 96 / 72 <= static_cast<double>(kNear);
    }
    return spot;
}

void CDocView::OnEvent(Event& ev) {
    in_->Sync();
    switch (ev.type) {
        case EventType::MouseDown:
        case EventType::MouseDoubleClick:
            return in_->OnPress(ev);
        case EventType::MouseMove:
            return in_->OnMove(ev);
        case EventType::MouseUp:
            return in_->OnRelease(ev);
        case EventType::MouseWheel:
        case EventType::Scroll:
        case EventType::Zoom:
            return in_->OnScroll(ev);
        case EventType::KeyDown:
            return in_->OnKey(ev);
        case EventType::Char:
        case EventType::KeyUp:
            return in_->OnSpace(ev);
        case EventType::Command:
            return in_->OnCommand(ev);
        case EventType::ContextMenu:
            if (!onContextMenu) return;
            ev.handled = true;
            return in_->Tell(onContextMenu, Point{ev.pt});
        case EventType::SetFocus:
        case EventType::KillFocus:
            in_->tabbed.reset();
            in_->spaces = 0;
            return in_->Repaint();
        default:
            return;
    }
}

bool CDocView::Inside::OnBars(Event& ev) {
    ArrangeBars();
    const bool was = downBar.Dragging() || acrossBar.Dragging();
    if (!downBar.OnMouse(ev) && !acrossBar.OnMouse(ev)) return false;
    ev.handled = true;
    if (ev.type != EventType::MouseUp) ScrollTo(acrossBar.Position(), downBar.Position());
    if (was != (downBar.Dragging() || acrossBar.Dragging())) Repaint();
    return true;
}

void CDocView::Inside::OnPress(Event& ev) {
    if (ev.button == kRightButton) {
        ev.handled = view.onContextMenu != nullptr;
        return;
    }
    if (!Has() || OnBars(ev)) return;
    ev.handled = true;
    clicks = ev.type == EventType::MouseDoubleClick ? clicks + 1 : 1;
    pressed = pannedTo = ev.pt;
    spaces = 0;
    tabbed.reset();
    dragged = false;
    drag = Drag::Pan;
    const Spot spot = SpotAt(ev.pt);
    const bool chooses = ev.button == kLeftButton && (ev.modifiers & kSpaceHeld) == 0;
    if (!chooses || spot.page < 0) {
        if (chooses && !selection.Empty()) {
            selection.Clear();
            Repaint();
        }
        return;
    }
    if (spot.link && clicks == 1) {
        drag = Drag::Link;
        return;
    }
    if (spot.text) {
        drag = Drag::Select;
        const Pdf::PageText& text = *texts.TextOf(spot.page);
        const bool extend = (ev.modifiers & kShift) != 0 && !selection.Empty() && clicks == 1;
        constexpr Selection::Unit kUnits[] = {Selection::Unit::Glyph, Selection::Unit::Word, Selection::Unit::Line};
        if (extend)
            selection.MoveTo(spot.page, text, spot.x, spot.y);
        else
            selection.Begin(spot.page, text, spot.x, spot.y, kUnits[(clicks - 1) % 3]);
    } else {
        selection.Clear();
    }
    Repaint();
}

void CDocView::Inside::OnMove(Event& ev) {
    pointer = ev.pt;
    spaceHeld = (ev.modifiers & kSpaceHeld) != 0;
    if (OnBars(ev) || drag == Drag::None) return;
    ev.handled = true;
    const int far = std::max(std::abs(ev.pt.x - pressed.x), std::abs(ev.pt.y - pressed.y));
    dragged = dragged || far > kClickSlack;
    if (drag == Drag::Link && dragged) {
        // A link that is pulled is text like any other, or paper.
        const Spot spot = SpotAt(pressed);
        drag = spot.text ? Drag::Select : Drag::Pan;
        if (spot.text) selection.Begin(spot.page, *texts.TextOf(spot.page), spot.x, spot.y, Selection::Unit::Glyph);
    }
    if (drag == Drag::Pan) {
        const Point before = std::exchange(pannedTo, ev.pt);
        if (!setup.single)
            ScrollBy(before.x - ev.pt.x, before.y - ev.pt.y);
        else
            ScrollTo(scrollX + std::llround((before.x - ev.pt.x) * setup.scale),
                     scrollY + std::llround((before.y - ev.pt.y) * setup.scale));
    }
    if (drag != Drag::Select) return;
    SelectTo(ev.pt);
    if (!creeping && (ev.pt.y < laidOut.y || ev.pt.y >= laidOut.y + laidOut.h))
        creeping = Later(kCreepMs, [this] { Creep(); });
}

// While the pointer is held outside, the view goes on towards it.
void CDocView::Inside::Creep() {
    creeping = false;
    const int over = pointer.y - (laidOut.y + laidOut.h - 1);
    const int under = pointer.y - laidOut.y;
    const int way = over > 0 ? over : under < 0 ? under : 0;
    if (drag != Drag::Select || way == 0) return;
    ScrollBy(0, way * kCreepShare + (way > 0 ? 4 : -4));
    SelectTo(pointer);
    creeping = Later(kCreepMs, [this] { Creep(); });
}

void CDocView::Inside::SelectTo(const Point& pt) {
    const auto [x, y] = InContent(pt);
    const int32_t page = layout.PageAt(std::clamp(y, scrollY, scrollY + height - 1));
    const Pdf::PageText* const text = texts.TextOf(page);
    if (!text) return;
    const auto [px, py] = layout.PointOn(page, x, y);
    selection.MoveTo(page, *text, px, py);
    Repaint();
}

void CDocView::Inside::OnRelease(Event& ev) {
    if (ev.button == kRightButton) {
        if (!view.onContextMenu || !laidOut.Contains(ev.pt)) return;
        ev.handled = true;
        return Tell(view.onContextMenu, Point{ev.pt});
    }
    if (OnBars(ev) || drag == Drag::None) return;
    ev.handled = true;
    const Drag was = std::exchange(drag, Drag::None);
    Repaint();
    const Spot spot = SpotAt(ev.pt);
    if (was == Drag::Link && spot.link) Follow(Pdf::Target(spot.link->target));
}

void CDocView::Inside::Follow(const Pdf::Target& target) {
    if (target.kind == Pdf::Target::Kind::Page) return view.GoTo(target);
    if (target.kind == Pdf::Target::Kind::Address) Tell(view.onAddress, std::string(target.address));
}

void CDocView::Inside::OnScroll(Event& ev) {
    if (!Has()) return;
    ev.handled = true;
    double dx = static_cast<double>(ev.scrollX), dy = static_cast<double>(ev.scrollY);
    if (ev.type == EventType::MouseWheel) {
        const int delta = ev.wheelDelta;
        int steps = delta >= -100 && delta <= 100 ? delta : delta / 120;
        if (steps == 0) steps = delta < 1 ? -1 : 1;
        dy = kLine * std::clamp(steps, -3, 3);
    }
    if (ev.type == EventType::Zoom || (ev.modifiers & kControl) != 0) {
        const double factor =
            ev.type == EventType::Zoom ? static_cast<double>(ev.factor) : std::exp(dy * kZoomPerPixel);
        const auto [x, y] = InContent(ev.pt);
        if (!(factor > 0) || factor == 1) return;
        return ZoomTo(layout.ZoomOf(layout.PageAt(y)) * factor, x - scrollX, y - scrollY);
    }
    if ((ev.modifiers & kShift) != 0 && dx == 0) std::swap(dx, dy);
    ScrollBy(-dx, -dy);
}

void CDocView::Inside::OnKey(Event& ev) {
    const auto key = static_cast<KeyCode>(ev.key);
    if ((ev.modifiers & kOption) != 0 && (key == KeyCode::Left || key == KeyCode::Right)) {
        ev.handled = true;
        (void)(key == KeyCode::Left ? view.GoBack() : view.GoForward());
        return;
    }
    if ((ev.modifiers & (kOption | kControl | kCommand)) != 0) return;
    if (key == KeyCode::Tab) {
        ev.handled = Has() && TabLinks((ev.modifiers & kShift) != 0);
    } else if (key == KeyCode::Enter && Tabbed()) {
        ev.handled = true;
        Follow(Pdf::Target(Tabbed()->target));
    } else {
        ev.handled = OnPlainKey(key);
    }
}

// A tap of the space bar goes on by a view; held down it pulls the page.
void CDocView::Inside::OnSpace(Event& ev) {
    if (ev.type == EventType::Char) {
        ev.handled = ev.key == ' ';
        spaces = ev.handled ? spaces + 1 : 0;
        return;
    }
    if (ev.key != static_cast<uint16_t>(KeyCode::Unknown) || std::exchange(spaces, 0) != 1) return;
    const double way = kSpaceShare * static_cast<double>(height) / setup.scale;
    ScrollBy(0, (ev.modifiers & kShift) != 0 ? -way : way);
}

// From link to link of what is seen, and on to the next control behind the last.
bool CDocView::Inside::TabLinks(bool backwards) {
    std::vector<std::pair<int32_t, size_t>> links;
    const auto [first, last] = layout.PagesBetween(scrollY, scrollY + height);
    for (int32_t page = first; page <= last; ++page) {
        const std::vector<Pdf::Link>* const of = texts.LinksOf(page);
        for (size_t i = 0; of && i < of->size(); ++i) {
            const bool seen = !Cut(layout.BoxArea(page, (*of)[i].box), Seen()).Empty();
            if (seen && (*of)[i].target.kind != Pdf::Target::Kind::None) links.emplace_back(page, i);
        }
    }
    if (backwards) std::reverse(links.begin(), links.end());
    const auto at = tabbed ? std::find(links.begin(), links.end(), *tabbed) : links.end();
    const auto to = at == links.end() ? links.begin() : std::next(at);
    tabbed = to == links.end() ? std::nullopt : std::optional(*to);
    Repaint();
    return tabbed.has_value();
}

const Pdf::Link* CDocView::Inside::Tabbed() const {
    const std::vector<Pdf::Link>* const of = tabbed ? texts.LinksOf(tabbed->first) : nullptr;
    return of && tabbed->second < of->size() ? &(*of)[tabbed->second] : nullptr;
}

bool CDocView::Inside::OnPlainKey(KeyCode key) {
    const int32_t page = Current();
    switch (key) {
        case KeyCode::Up:
            ScrollBy(0, -kLine);
            return true;
        case KeyCode::Down:
            ScrollBy(0, kLine);
            return true;
        case KeyCode::Left:
        case KeyCode::Right:
            if (!wide) return false;
            ScrollBy(key == KeyCode::Left ? -kLine : kLine, 0);
            return true;
        case KeyCode::Home:
            (void)view.SetCurrentPage(0);
            return true;
        case KeyCode::End:
            (void)view.SetCurrentPage(view.GetPageCount() - 1);
            return true;
        case KeyCode::PageUp:
            (void)view.SetCurrentPage(page - 1);
            return true;
        case KeyCode::PageDown:
            (void)view.SetCurrentPage(page + 1);
            return true;
        default:
            return false;
    }
}

void CDocView::Inside::OnCommand(Event& ev) {
    if (ev.command == EditCommand::SelectAll && Has()) {
        ev.handled = true;
        return view.SelectAll();
    }
    if (ev.command != EditCommand::Copy || selection.Empty()) return;
    ev.handled = true;
    if (const std::optional<std::string> text = Selected()) {
        ev.text = *text;
        return;
    }
    view.CopySelection([](const std::string& text) {
        if (LxApp::s_pApp && LxApp::s_pApp->backend && !text.empty()) LxApp::s_pApp->backend->SetClipboard(text);
    });
}

CursorShape CDocView::Cursor() const {
    if (in_->drag == Inside::Drag::Pan) return CursorShape::ClosedHand;
    if (in_->drag == Inside::Drag::Select) return CursorShape::Text;
    if (in_->spaceHeld) return CursorShape::OpenHand;
    const Inside::Spot spot = in_->SpotAt(in_->pointer);
    if (spot.link) return CursorShape::Hand;
    return spot.text ? CursorShape::Text : CursorShape::Arrow;
}

std::string CDocView::ToolTip(const Point& pt) const {
    const Inside::Spot spot = in_->SpotAt(pt);
    if (!spot.link) return {};
    const Pdf::Target& target = spot.link->target;
    if (target.kind == Pdf::Target::Kind::Address) return target.address;
    return "Página " + std::to_string(target.page + 1);
}

AccessibleInfo CDocView::Accessibility() const {
    AccessibleInfo info;
    info.role = AccessibleRole::Document;
    if (!HasDocument()) {
        info.name = GetLastError().empty() ? "Sin documento PDF cargado." : GetLastError();
        return info;
    }
    const int page = GetCurrentPage();
    const std::string& path = GetPath();
    info.name = path.substr(path.find_last_of('/') + 1);
    info.description = "Página " + std::to_string(page + 1) + " de " + std::to_string(GetPageCount());
    if (const Pdf::PageText* const text = in_->texts.TextOf(page)) {
        info.value = TextBetween(*text, 0, INT32_MAX);
    } else if (in_->spoken != page) {
        in_->spoken = page;
        in_->Later(0, [inside = in_.get()] { inside->AskTexts(); });
    }
    return info;
}

bool CDocView::DoAccessibleAction(AccessibleAction /*action*/, const std::string& /*text*/, int /*index*/) {
    return false;
}

}  // namespace Lx
