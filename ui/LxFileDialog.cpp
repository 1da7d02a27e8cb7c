#include "ui/LxFileDialog.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace Lx {

namespace {

std::vector<std::string> SplitPatterns(std::string_view text) {
    std::vector<std::string> patterns;
    while (!text.empty()) {
        const size_t end = text.find(';');
        std::string_view one = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        while (!one.empty() && one.front() == ' ') one.remove_prefix(1);
        while (!one.empty() && one.back() == ' ') one.remove_suffix(1);
        if (!one.empty()) patterns.emplace_back(one);
    }
    return patterns;
}

}  // namespace

CFileDialog::CFileDialog(CWindow* owner) : owner_(owner) {}

void CFileDialog::SetTitle(const std::string& utf8) {
    title_ = utf8;
}

void CFileDialog::SetFilter(const std::string& patterns) {
    filter_ = patterns;
}

void CFileDialog::SetInitialPath(const std::string& path) {
    std::error_code failed;
    const std::string whole = path.empty() ? path : std::filesystem::absolute(path, failed).string();
    initial_ = failed ? path : whole;
}

void CFileDialog::SetSave(bool save) {
    save_ = save;
}

int CFileDialog::DoModal() {
    path_.clear();
    // The release of a press that opened the dialog never reaches the owner.
    if (owner_) owner_->capture = nullptr;
    std::string chosen;
    const bool accepted = RunPlatformFileDialog({owner_, title_, SplitPatterns(filter_), initial_, save_}, chosen);
    if (owner_) owner_->InvalidateRect(nullptr);
    if (!accepted || chosen.empty()) return kCancelled;
    path_ = chosen;
    return kAccepted;
}

}  // namespace Lx
