// A view that puts its visible subviews below each other, each as wide as itself. A text field that
// cannot be edited is as high as its wrapped text, an empty one has no place; every other
// subview keeps its height.
//
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface StackedView : NSView

// After a subview was hidden, shown, or got another text.
- (void)layOut;

@end
