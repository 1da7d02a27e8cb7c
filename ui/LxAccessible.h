// What a control tells assistive technology about itself. The backend asks when it is asked, and carries actions back.
#pragma once

#include <string>
#include <vector>

#include "ui/LxTypes.h"

namespace Lx {

enum class AccessibleRole {
    None,
    Button,
    ToggleButton,
    Label,
    Edit,
    PasswordEdit,
    ComboBox,
    List,
    Document,
    Notification
};

struct AccessibleItem {
    std::string name;  // all texts of the row
    bool selected = false;
    std::string description{};  // may be empty
    Rect rect{};                // in client coordinates; empty where it isn't drawn by itself
};

struct AccessibleInfo {
    AccessibleRole role = AccessibleRole::None;
    std::string name;         // a button's text; an edit's placeholder or the label that stands before it
    std::string description;  // may be empty
    std::string value;        // an edit's text, a combo box's choice; always empty for a masked edit
    bool checked = false;
    bool expanded = false;              // the combo box's list is open
    int caret = -1;                     // Edit: offsets in code points, -1 when it doesn't apply
    int selectionStart = -1;            // Edit: the same, without selection both equal the caret
    int selectionEnd = -1;              // one past the last
    int maxLength = -1;                 // Edit: in code points, -1 without a limit
    std::vector<AccessibleItem> items;  // List and ComboBox
};

enum class AccessibleAction {
    Press,       // Button; opens or closes a ComboBox
    SetText,     // Edit: `text`
    SelectItem,  // List, ComboBox: `index`
};

}  // namespace Lx
