// Acts while the main thread is inside a modal session or a run loop, and waits there for
// conditions; every wait has a deadline. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include <functional>

#include "ServeUntil.h"

namespace apptest {

constexpr NSTimeInterval kDeadline = 20.0;  // seconds

// Calls the action, once, from the run loop in any of its modes, as soon as the condition holds.
// After the deadline the test fails and any modal session is aborted.
void When(std::function<bool()> condition, std::function<void()> action);

using vxtest::ServeUntil;

// The first view of a class below a view whose test holds, or nil.
NSView *FindView(NSView *view, const std::function<bool(NSView *)> &matches);
NSButton *ButtonTitled(NSWindow *window, NSString *title);
bool ShowsText(NSWindow *window, NSString *text);
bool ShowsImage(NSWindow *window, NSImage *image);

}  // namespace apptest
