// One control, or one row of a list or combo box, as assistive tools see it.
#pragma once

#include <QAccessible>

namespace Lx {

class CControl;
class CQtAccessibleTree;

// For registering with Qt, which then owns it. Row -1 is the control itself. The object stays harmless when its control
// is gone: it is no longer valid then.
[[nodiscard]] QAccessibleInterface* NewAccessible(CQtAccessibleTree& tree, CControl* control, int row);

}  // namespace Lx
