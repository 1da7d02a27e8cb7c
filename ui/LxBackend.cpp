#include "ui/LxBackend.h"

namespace Lx {

bool CAppBackend::OpenAddress(const std::string& /*address*/) {
    return false;
}
void CAppBackend::ShowInFolder(const std::string& /*path*/) {}
void CAppBackend::AskAppearance(std::function<void(ThemeSet)> /*told*/) {}

Size CWindowImpl::WorkArea() const {
    return {};
}

}  // namespace Lx
