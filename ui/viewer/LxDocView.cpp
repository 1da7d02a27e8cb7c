#include "ui/viewer/LxDocView.h"

namespace Lx {

struct CDocView::Inside {};

void CDocView::OnPaint(CCanvas*) {}

void CDocView::OnEvent(Event&) {}

AccessibleInfo CDocView::Accessibility() const {
    return {};
}

bool CDocView::DoAccessibleAction(AccessibleAction, const std::string&, int) {
    return {};
}

CursorShape CDocView::Cursor() const {
    return {};
}

std::string CDocView::ToolTip(const Point&) const {
    return {};
}

void CDocView::Open(const std::string&, const ViewPlace*) {}

void CDocView::Reload() {}

void CDocView::Replace(const std::string&) {}

void CDocView::Unlock(const std::string&) {}

void CDocView::Close() {}

bool CDocView::HasDocument() const {
    return {};
}

bool CDocView::IsOpening() const {
    return {};
}

const std::string& CDocView::GetPath() const {
    static const std::string empty;
    return empty;
}

const std::string& CDocView::GetLastError() const {
    static const std::string empty;
    return empty;
}

Pdf::IPages* CDocView::Pages() const {
    return {};
}

int CDocView::GetPageCount() const {
    return {};
}

int CDocView::GetCurrentPage() const {
    return {};
}

bool CDocView::SetCurrentPage(int) {
    return {};
}

void CDocView::GoTo(const Pdf::Target&) {}

bool CDocView::GoBack() {
    return {};
}

bool CDocView::GoForward() {
    return {};
}

ViewPlace CDocView::GetPlace() const {
    return {};
}

void CDocView::SetPlace(const ViewPlace&) {}

void CDocView::Reveal(int, const Pdf::Box&) {}

bool CDocView::IsInSight(int, const Pdf::Box&) const {
    return {};
}

Rect CDocView::RectOf(int, const Pdf::Box&) const {
    return {};
}

void CDocView::Flash(int, const Pdf::Box&) {}

double CDocView::GetZoom() const {
    return {};
}

void CDocView::SetZoom(double) {}

void CDocView::ZoomBy(int, const Point*) {}

void CDocView::SetFit(ViewPlace::Fit) {}

ViewPlace::Fit CDocView::GetFit() const {
    return {};
}

void CDocView::Turn(int) {}

void CDocView::SetSingle(bool) {}

bool CDocView::IsSingle() const {
    return {};
}

void CDocView::Search(const std::string&, bool) {}

void CDocView::SearchNext() {}

void CDocView::SearchPrevious() {}

const SearchState& CDocView::GetSearch() const {
    static const SearchState state;
    return state;
}

bool CDocView::HasSelection() const {
    return {};
}

std::string CDocView::SelectedText() const {
    return {};
}

void CDocView::CopySelection(std::function<void(const std::string&)>) {}

void CDocView::SelectAll() {}

void CDocView::Shrink() {}

CDocView::CDocView() = default;
CDocView::~CDocView() = default;

}  // namespace Lx
