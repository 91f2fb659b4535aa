// A sink that shows nothing, and tells when the worker thread has ended.
//
// Threads: made and waited for on the main thread; the worker calls the rest.
#pragma once

#import "ExportingUIDelegate.h"

@interface SilentDelegate : NSObject <ExportingUIDelegate> {
    NSCondition *_condition;
    BOOL _ended;
}

// Returns when the export's thread has ended; call it once, after the export was started.
- (void)waitForTheEnd;

@end
