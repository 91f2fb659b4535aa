// Windows are redrawn at most sixty times a second, the rate of current desktops. The library
// redraws what has changed after every turn of the run loop: an export of small files then spends
// most of its time on drawing reports too fast to see. A change is drawn at once when the
// window has rested; what is displayed by an explicit call is not touched. Main thread.
#pragma once

namespace vx {

void installPacedDisplay();

}  // namespace vx
