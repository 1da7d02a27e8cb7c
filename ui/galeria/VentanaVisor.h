// The document view and its pane in a window of their own, with the keys that a program gives them.
#pragma once

#include <string>

#include "ui/LxWindow.h"
#include "ui/viewer/LxDocView.h"
#include "ui/viewer/LxSidePane.h"

namespace Lx {

class CVentanaVisor : public CWindow {
  public:
    explicit CVentanaVisor(const std::string& documento);
    bool OnInit() override;
    void OnSize(unsigned flags, const Size& size) override;
    void OnKeyDown(KeyCode key, unsigned modifiers) override;
    void OnShortcut(char letter, unsigned modifiers) override;

  private:
    void Colocar();

    std::string documento_;
    CDocView* vista_ = nullptr;
    CSidePane* panel_ = nullptr;
};

}  // namespace Lx
