// The sink of an export for tests: records the calls of the worker in order, and answers as set.
//
// Threads: the worker calls the protocol; the queries are for after the worker has ended.
#pragma once

#import <Foundation/Foundation.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#import "ExportingUIDelegate.h"
#include "Mutex.h"

struct DelegateCall {
    std::string operation;  // the selector
    std::string text;       // UpdateInformation:
    double number = 0;      // UpdateProgress: and UpdateTotalSize:
    std::string type;       // the number's Objective-C type
    std::thread::id thread;
};

@interface RecordingDelegate : NSObject <ExportingUIDelegate> {
    vx::Mutex _mutex;
    std::vector<DelegateCall> _calls VX_GUARDED_BY(_mutex);
    std::atomic<bool> _cancelled;
    std::atomic<int32_t> _state;
    std::atomic<int64_t> _questionsBeforeCancel;
    std::atomic<int64_t> _statesBeforeStop;
}

// From any thread: Continued is NO from now on.
- (void)cancel;
// Continued is YES this many times and NO after that.
- (void)cancelAfter:(int64_t)questions;
// GetState gives 1 this many times and 2 after that.
- (void)stopAfter:(int64_t)questions;

- (std::vector<DelegateCall>)calls;
// The operations in order, "Continued GetState …".
- (std::string)operations;
- (std::vector<int>)percents;
- (std::vector<std::string>)paths;
- (std::vector<double>)totals;

@end
