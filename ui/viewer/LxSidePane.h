// What stands beside the document: small pictures of its pages, its outline, the files inside it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ui/LxControl.h"
#include "ui/LxPages.h"

namespace Lx {

class CDocView;

class CSidePane : public CControl {
  public:
    enum class Tab { Thumbnails, Outline, Attachments };

    // `view` outlives the pane.
    explicit CSidePane(CDocView* view);
    ~CSidePane() override;

    void OnPaint(CCanvas* canvas) override;
    void OnEvent(Event& ev) override;
    [[nodiscard]] AccessibleInfo Accessibility() const override;
    bool DoAccessibleAction(AccessibleAction action, const std::string& text, int index) override;
    [[nodiscard]] std::string ToolTip(const Point& pt) const override;

    void Show(Tab tab);
    [[nodiscard]] Tab Shown() const;
    // The view has another document, or none.
    void Rebuild();
    // The view shows this page.
    void Follow(int page);

    // The file of that number is to be saved.
    std::function<void(int index, const Pdf::Attachment& attachment)> onSave;

  private:
    struct Inside;
    std::unique_ptr<Inside> in_;
};

}  // namespace Lx
