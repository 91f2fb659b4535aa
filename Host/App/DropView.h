// The content of a window on which a file can be dropped, anywhere.
//
// Sends its target the action with the path; of several files, with the first one's.
// Ownership: the target is not retained. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface DropView : NSView {
    id _target;
    SEL _action;
}

// action: takes an NSString.
- (void)setTarget:(id)target action:(SEL)action;

@end
