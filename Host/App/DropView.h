// The content of a window on which files can be dropped, anywhere.
//
// Ownership: the target is not retained. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface DropView : NSView {
    id _target;
    SEL _action;
    BOOL _isClosed;
}

// action: takes an NSArray of stored paths (HostTexts.h), one at least.
- (void)setTarget:(id)target action:(SEL)action;
// While it is closed, the pointer shows that nothing can be dropped.
- (void)setClosed:(BOOL)isClosed;

@end
