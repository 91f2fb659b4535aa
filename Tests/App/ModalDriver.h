// Acts while the main thread is inside a modal session or a run loop, and waits there for
// conditions; every wait has a deadline. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include <functional>

namespace apptest {

constexpr NSTimeInterval kDeadline = 20.0;  // seconds

// Calls the action, once, from the run loop in any of its modes, as soon as the condition holds.
// After the deadline the test fails and any modal session is aborted.
void When(std::function<bool()> condition, std::function<void()> action);

// Serves the run loop's default mode until the condition holds; false after the deadline.
bool ServeUntil(const std::function<bool()> &condition, NSString *mode = NSDefaultRunLoopMode);

// The first view of a class below a view whose test holds, or nil.
NSView *FindView(NSView *view, const std::function<bool(NSView *)> &matches);
NSButton *ButtonTitled(NSWindow *window, NSString *title);
bool ShowsText(NSWindow *window, NSString *text);
bool ShowsImage(NSWindow *window, NSImage *image);

}  // namespace apptest
