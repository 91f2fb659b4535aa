// Waits for the end of the export's worker thread, which the engine does not announce: the
// thread is named by its first question to the sink, and Foundation tells when it exits.
//
// Made before the export starts, released after wait has returned.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {
class Completion;
}

@interface ExportWorkerEnd : NSObject {
    vx::Completion *_ended;  // owned
    NSThread *_worker;
}

// On the worker thread, as often as it likes.
- (void)noteWorker;

// Returns when the worker thread has done its last work.
- (void)wait;

@end
