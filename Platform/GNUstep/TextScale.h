// Larger or smaller text, as textScale() says, in every window of the program.
//
// The sources and interface files state sizes as for ordinary text. Every font of the system's is
// made larger on the way, and so are the frames, row heights and column widths that an interface
// file states; code that lays out a window asks scaled(). A window is never larger than the screen.
// Icons keep their size. Where the scale is 1 nothing is changed.
// Threads: main thread only; installed once the fonts are registered, before a window is loaded.
#pragma once

#import <AppKit/AppKit.h>

namespace vx {

void installTextScale();

// The attributes of an element of an interface file, enlarged by `scale`; others unchanged. The
// contents of a window are no larger than those of a window of that screen can be.
NSDictionary *scaledAttributes(NSString *element, NSDictionary *attributes, CGFloat scale,
                               NSSize screen);

// The views below this one, whose own frame is left alone.
void scaleSubviews(NSView *view, CGFloat scale);

}  // namespace vx
