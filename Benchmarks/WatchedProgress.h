// The progress window of an export, which can also be waited for until the worker thread has
// ended: the window goes with the last byte, the last file is closed after that.
//
// Threads: made and waited for on the main thread; the worker calls the sink's operations.
#pragma once

#import "CopyingFileWindow.h"
#import "ExportWorkerEnd.h"

@interface WatchedProgress : CopyingFileWindow {
    ExportWorkerEnd *_workerEnd;
}

// Returns when the export's thread has ended; call it once, after the window has closed at 100
// percent: until then the worker waits for the main thread.
- (void)waitForTheEnd;

@end
