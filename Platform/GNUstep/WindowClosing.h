// What a window manager's request to close a window does. Main thread only.
//
// The library lets a window be asked only if it has a button for that, and a window manager cuts
// the connection of a program whose window it cannot ask: the program would die without a word. So
// every window with a title can be asked. A panel that runs modally is given up; the window below
// a sheet gives the sheet up and closes; any other window stays while a modal one is up.
#pragma once

namespace vx {

// For every window that is made from now on; a second call does nothing.
void installWindowClosing();

}  // namespace vx
