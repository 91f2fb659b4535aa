// The look's settings under GNUstep: the theme in the bundle, menus inside the window, no dock
// tile, current fonts, the desktop's dark colours. They are registered, the weakest place that a
// setting can come from, so that whatever the user has set for this program or for all programs
// stays in force. Main thread only; registerLook() before the application object exists,
// registerFonts() once its display connection is up, because only then can it be known which fonts
// there are.
#pragma once

namespace vx {

void registerLook();
void registerFonts();

}  // namespace vx
