// The key for menus, and Shift+F10, show the menu of a table's selected row at that row; the
// library shows one only for the mouse. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

namespace vx {

// True once the menu that the key showed has gone again; false for any other key, and where there
// is no row or no menu.
bool showMenuForKey(NSEvent *event);

}  // namespace vx
