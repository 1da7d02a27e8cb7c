#include "ui/LxBackend.h"

namespace Lx {

unsigned CAppBackend::Watch(int /*fd*/, std::function<void()> /*ready*/) {
    return 0;
}
void CAppBackend::Unwatch(unsigned /*id*/) {}
void CAppBackend::SetClipboard(const std::string& /*utf8*/) {}
bool CAppBackend::OpenAddress(const std::string& /*address*/) {
    return false;
}
void CAppBackend::ShowInFolder(const std::string& /*path*/) {}
void CAppBackend::AskAppearance(std::function<void(ThemeSet)> /*told*/) {}

void CWindowImpl::SetFullScreen(bool /*full*/) {}
bool CWindowImpl::IsFullScreen() const {
    return false;
}
Size CWindowImpl::WorkArea() const {
    return {};
}

void CCanvas::DrawPixels(const unsigned char* /*rows*/, int /*width*/, int /*height*/, int /*stride*/,
                         const Rect& /*source*/, const Rect& /*device*/) {}
void CCanvas::FillDevice(const Rect& /*device*/, const Color& /*color*/) {}

}  // namespace Lx
