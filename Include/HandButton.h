// A button that shows the pointing hand while the mouse is over it.
//
// The area watched is the button's bounds at the moment it enters a window; it does not follow a
// later resize, so a button of this class keeps its size.
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface HandButton : NSButton
@end
