// Waits for the end of the export's worker thread, which the engine does not announce: the thread
// is known from its first call of the sink, and Foundation posts a notification when it exits.
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

// On the worker thread; may be repeated.
- (void)noteWorker;

// Returns when the worker thread has done its last work.
- (void)wait;

@end
