// The sink of an export on the command line: follows the planned files, draws the progress, passes
// on a request to stop, and lets the arrivals place the files.
//
// Ownership: borrows the arrivals and the line, which must outlive the export.
// Threads: the sink's operations on the worker thread; the queries once the worker has ended.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

#import "ExportPlacing.h"
#import "ExportWorkerEnd.h"

namespace vx {
class Arrivals;
class ProgressLine;
}

@interface ExportProgressDelegate : NSObject <ExportPlacing> {
    vx::Arrivals *_arrivals;
    vx::ProgressLine *_line;
    ExportWorkerEnd *_workerEnd;
    Z5FindData *_current;
    int64_t _doneBytes;
    int64_t _fileBytes;
    int32_t _state;
    BOOL _wasStopped;
}

- (id)initWithArrivals:(vx::Arrivals *)arrivals line:(vx::ProgressLine *)line;

// Returns when the worker thread has done its last work.
- (void)waitForWorker;

// Whether the worker was asked to stop before the end.
- (BOOL)wasStopped;

@end
