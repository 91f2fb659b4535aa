// A sink that shows nothing, and says when the worker thread has ended.
//
// Threads: made and waited for on the main thread; the worker calls the rest.
#pragma once

#import "ExportWorkerEnd.h"
#import "ExportingUIDelegate.h"

@interface SilentDelegate : NSObject <ExportingUIDelegate> {
    ExportWorkerEnd *_workerEnd;
}

// Returns when the export's thread has ended; call it once, after the export was started.
- (void)waitForTheEnd;

@end
