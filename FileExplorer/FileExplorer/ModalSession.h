// Ends modal sessions of the application's loop from wherever it is asked for. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include <cstdint>

// The run-loop modes in which the main thread must serve a worker that waits for it: also while
// a modal session runs or the mouse is tracked.
NSArray *ModesServedWhileModal();

// Stops the session of this window with the code. Returns false, and stops nothing, if the session
// that runs is another window's or there is none.
bool StopModalSession(NSWindow *window, int64_t code);
