// The cell of a button with an amber face, rounded corners and a black title in every state.
//
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface ColorButtonCell : NSButtonCell
@end
