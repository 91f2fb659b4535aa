// Ends modal sessions of the application's loop, and names the modes in which it runs.
#pragma once

#import <AppKit/AppKit.h>

#include <cstdint>

// The run-loop modes in which the main thread must serve a worker that waits for it: also while
// a modal session runs or the mouse is tracked. Any thread.
NSArray *ModesServedWhileModal();

// Stops the session of this window with the code. Returns false, and stops nothing, if the session
// that runs is another window's or there is none. Main thread.
bool StopModalSession(NSWindow *window, int64_t code);
