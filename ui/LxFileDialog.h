// Asks the user for an existing file, with the desktop's own dialog where it has one.
#pragma once

#include <string>

#include "ui/LxWindow.h"

namespace Lx {

class CFileDialog {
  public:
    explicit CFileDialog(CWindow* owner);

    void SetTitle(const std::string& utf8);
    // Patterns joined by ";", matched in either letter case: "*.pfx;*.p12". Empty: every file.
    void SetFilter(const std::string& patterns);
    // The file or folder that is offered first; may be empty.
    void SetInitialPath(const std::string& path);
    // Asks for the name of a file that is to be written.
    void SetSave(bool save);
    // A DialogResult: kAccepted when a file was chosen.
    [[nodiscard]] int DoModal();
    // The whole path of what was chosen.
    [[nodiscard]] const std::string& GetPath() const { return path_; }

  private:
    CWindow* owner_;
    std::string title_;
    std::string filter_;
    std::string initial_;
    std::string path_;
    bool save_ = false;
};

}  // namespace Lx
