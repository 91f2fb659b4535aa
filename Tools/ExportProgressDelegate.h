// The sink of an export on the command line: follows the planned files, draws the progress and
// passes on a request to stop.
//
// Ownership: retains the plan, borrows the line, which must outlive the export.
// Threads: the sink's operations on the worker thread; the queries once the worker has ended.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

#import "ExportWorkerEnd.h"
#import "ExportingUIDelegate.h"

namespace vx {
class ProgressLine;
}

@interface ExportProgressDelegate : NSObject <ExportingUIDelegate> {
    NSArray *_plan;
    vx::ProgressLine *_line;
    ExportWorkerEnd *_workerEnd;
    NSUInteger _next;
    int64_t _doneBytes;
    int64_t _fileBytes;
    int32_t _state;
    BOOL _wasStopped;
}

// plan: the entries that the engine copies, in its order.
- (id)initWithPlan:(NSArray *)plan line:(vx::ProgressLine *)line;

// Returns when the worker thread has done its last work.
- (void)waitForWorker;

// How many entries of the plan the worker had come to.
- (NSUInteger)reachedCount;
// Whether the worker was told to stop; what it had come to last may be incomplete.
- (BOOL)wasStopped;

@end
