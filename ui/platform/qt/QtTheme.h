// What Qt draws by itself (menus, tool tips, dialogs of its own) in the colours of the theme.
#pragma once

#include <QHelpEvent>

namespace Lx {

class CQtView;

// Before such a thing is shown: the palette follows the set in force.
void FollowTheme();
// Texts of Qt's own in Spanish.
void SpeakSpanish();

// The tool tip of the control under the pointer; none hides what is shown.
void ShowToolTip(CQtView& view, const QHelpEvent& e);

}  // namespace Lx
