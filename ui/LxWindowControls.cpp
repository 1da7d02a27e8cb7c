// Apart from the window's core, so that a program without these controls links without them.
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxListView.h"
#include "ui/LxPdfView.h"
#include "ui/LxWindow.h"

namespace Lx {

CEdit* CWindow::AddEdit(const std::string& text, const Rect& where) {
    auto* edit = new CEdit;
    edit->rect = where;
    edit->SetText(text);
    AddControl(edit);
    return edit;
}

CComboBox* CWindow::AddComboBox(const std::vector<std::string>& items, const Rect& where) {
    auto* combo = new CComboBox;
    combo->rect = where;
    combo->SetItems(items);
    AddControl(combo);
    return combo;
}

CListView* CWindow::AddListView(const Rect& where) {
    auto* list = new CListView;
    list->rect = where;
    AddControl(list);
    return list;
}

CPdfView* CWindow::AddPdfView(const Rect& where) {
    auto* view = new CPdfView;
    view->rect = where;
    AddControl(view);
    return view;
}

}  // namespace Lx
