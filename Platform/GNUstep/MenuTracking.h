// How menus answer while one is open: a click on another title of a window's bar opens that title's
// menu; Escape closes what is open, in a menu that was put up by itself the arrow keys go from
// command to command and Return carries one out, and no key goes to the window below. The library
// closes on every click and leaves the keys for later. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

namespace vx {

void installMenuTracking();

// The kinds of events to wait for instead of these; the same unless a menu is open.
NSUInteger maskWhileTracking(NSUInteger mask);

// What the tracking of the menus gets for the next event: the event itself, another one in its
// place, or nil if it is to wait for the one after.
NSEvent *eventForTracking(NSEvent *event);

}  // namespace vx
